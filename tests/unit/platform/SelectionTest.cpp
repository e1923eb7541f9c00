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

/// Completes on a thread of its own.
struct ThreadedItem : ItemProvider {
    explicit ThreadedItem(std::vector<std::jthread>& loads) : threads(loads) {}
    void load(const QString& type, Completion completion) override {
        threads.emplace_back([type, done = std::move(completion)] { done(QUrl(u"file:///s/"_s + type)); });
    }
    std::vector<std::jthread>& threads;
};

TEST(Drop, LoadsOfManyThreadsAreHandedOverOnceOnTheMainThread) {
    QtMainLoop mainLoop;
    std::vector<std::size_t> handOvers;
    {
        std::vector<std::jthread> threads;
        std::vector<std::unique_ptr<ItemProvider>> items;
        for (int i = 0; i < 50; ++i)
            items.push_back(std::make_unique<ThreadedItem>(threads));
        EXPECT_TRUE(
            handleDrop(items, mainLoop, [&, main = std::this_thread::get_id()](std::vector<QUrl> urls) {
                EXPECT_EQ(std::this_thread::get_id(), main);
                handOvers.push_back(urls.size());
            }));
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(handOvers, std::vector<std::size_t>{50});
}

} // namespace
} // namespace ternvault::test
