#include "base/FileUrl.h"
#include "intake/DroppedFiles.h"
#include "intake/PasteboardURLs.h"
#include "platform/linux/QtMainLoop.h"
#include "platform/linux/SelectionPasteboard.h"
#include "support/FakePlatform.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <thread>

namespace ternvault::test {
namespace {

using Formats = QMap<QString, QByteArray>;
using Paths = std::vector<std::string>;

const QString uriList = u"text/uri-list"_s;
const QString gnome = u"x-special/gnome-copied-files"_s;
const QString kde = u"application/x-kde-cutselection"_s;

struct Selection : SelectionPasteboard {
    explicit Selection(Formats content) : formats(std::move(content)) {}
    QByteArray content(const QString& mimeType) const override { return formats.value(mimeType); }
    Formats formats;
};

Paths pathsOf(const std::vector<QUrl>& urls) {
    Paths paths;
    for (const QUrl& url : urls)
        paths.push_back(localPath(url).value_or("no file"));
    return paths;
}

/// What six file managers of Debian 12 put on the clipboard for six awkward names, recorded; those over GTK's
/// libraries and PCManFM-Qt differ only in line ends.
const QByteArray recorded = "file:///srv/files/a%20folder\r\n"
                            "file:///srv/files/100%25%20%5Ba%5D%20&%20%7Bb%7D.txt\r\n"
                            "file:///srv/files/it's%20%22q%22%3B%20$x.txt\r\n"
                            "file:///srv/files/n%FF.bin\r\n"
                            "file:///srv/files/%C3%9C%20ber%20%231%3F.txt";
const QByteArray recordedLines = QByteArray(recorded).replace("\r\n", "\n");
const Paths awkward{"/srv/files/a folder", "/srv/files/100% [a] & {b}.txt", "/srv/files/it's \"q\"; $x.txt",
                    "/srv/files/n\xff.bin", "/srv/files/Ü ber #1?.txt"};
const QByteArray zero(1, '\0');

TEST(FileSelection, HoldsTheFilesAsEachFileManagerWritesThem) {
    const std::tuple<const char*, Formats, Paths> rows[] = {
        {"Thunar, Nautilus", {{uriList, recorded + "\r\n"}, {gnome, "copy\n" + recordedLines}}, awkward},
        {"PCManFM",
         {{uriList, recorded + zero}, {gnome, "copy\n" + recordedLines + zero}, {kde, ""}},
         awkward},
        {"PCManFM-Qt, cut",
         {{uriList, recorded + "\r\n"}, {gnome, "cut\n" + recordedLines + "\n"}, {kde, "1"}},
         awkward},
        {"Dolphin, which cannot tell a name that is no UTF-8",
         {{uriList, "file:///srv/files/100%25%20[a]%20&%20%7Bb%7D.txt\r\n"
                    "file:///srv/files/it's%20%22q%22;%20$x.txt\r\nfile:///srv/files/n%EF%BF%BD.bin\r\n"}},
         {awkward[1], awkward[2], "/srv/files/n\xef\xbf\xbd.bin"}},
        {"plain text", {{u"text/plain"_s, "file:///s/a"}, {u"UTF8_STRING"_s, "copy\nfile:///s/a"}}, {}},
        {"GNOME's form alone", {{gnome, "cut\nfile:///s/%C3%BC%20b\nfile:///s/c"}}, {"/s/ü b", "/s/c"}},
        {"an unknown verb", {{gnome, "link\nfile:///s/a"}}, {}},
        {"comments, places on the network, another PC, no URLs, a zero byte",
         {{uriList, "#file:///s/x\r\nsmb://pc/s/a\r\nhttp://pc/s/a\r\nfile://pc.invalid/s/a\r\n\r\n"
                    "/s/a\r\nfile:///s/a%00\r\nFILE://localhost/s/b\r\n"}},
         {"/s/b"}},
        {"nothing escaped",
         {{uriList, "file:///s/ü b 100%\nfile:/s/[c]{d}\n"}},
         {"/s/ü b 100%", "/s/[c]{d}"}},
    };
    for (const auto& [name, formats, paths] : rows) {
        const Selection selection(formats);
        EXPECT_EQ(pathsOf(fileURLsFromPasteboard(selection, AnyFileExists())), paths) << name;
        EXPECT_EQ(selection.holdsFileURLs(), !paths.empty()) << name;
    }
}

/// Completes when the test says so.
struct HeldItem : ItemProvider {
    explicit HeldItem(std::vector<Completion>& completions) : held(completions) {}
    void load(const QString&, Completion completion) override { held.push_back(std::move(completion)); }
    std::vector<Completion>& held;
};

TEST(Drop, IsHandedOverOnceOnTheMainThreadInTheOrderOfCompletion) {
    const ItemProvider::Item items[] = {QByteArray("file:///s/a"), QUrl(u"file:///s/c"_s),
                                        QByteArray("file:///s/\xff"), std::monostate()};
    QtMainLoop mainLoop;
    std::vector<ItemProvider::Completion> held;
    std::vector<std::unique_ptr<ItemProvider>> providers;
    for (int i = 0; i < 50; ++i)
        providers.push_back(std::make_unique<HeldItem>(held));
    std::vector<std::vector<QUrl>> handedOver;
    handleDrop(providers, mainLoop, [&, main = std::this_thread::get_id()](std::vector<QUrl> urls) {
        EXPECT_EQ(std::this_thread::get_id(), main);
        handedOver.push_back(std::move(urls));
    });
    providers.clear();
    for (std::size_t i = std::size(items); i-- > 0;)
        held[i](items[i]);
    std::vector<std::jthread> threads;
    for (std::size_t i = std::size(items); i < held.size(); ++i)
        threads.emplace_back([done = std::move(held[i])] { done(QUrl(u"file:///s/x"_s)); });
    threads.clear();
    EXPECT_TRUE(handedOver.empty()) << "only on a later turn";
    QCoreApplication::processEvents();
    std::vector<QUrl> expected(48, QUrl(u"file:///s/x"_s));
    expected[0] = QUrl(u"file:///s/c"_s);
    expected[1] = QUrl(u"file:///s/a"_s);
    EXPECT_EQ(handedOver, std::vector<std::vector<QUrl>>{expected});
}

} // namespace
} // namespace ternvault::test
