#include "intake/PasteBoardFiles.h"
#include "platform/linux/finder/FinderScripts.h"
#include "support/TemporaryFolder.h"

#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

namespace ternvault::test {

using namespace Qt::StringLiterals;

/// A real file manager that shows a folder, watched while another thread asks about it.
class FinderTest : public testing::Test {
protected:
    FinderTest() {
        fs::create_directory(shown);
        watch.start();
        fileManager.start(u"thunar"_s, {QString::fromStdString(shown)});
    }
    ~FinderTest() override {
        fileManager.kill();
        fileManager.waitForFinished();
    }
    std::optional<QString> folder() {
        return frontmost.bundleIdentifier() == u"com.apple.finder"_s
                   ? PasteBoardFiles::finderFrontFolderPOSIX(scripts)
                   : std::nullopt;
    }
    bool comesToShow(const std::optional<QString>& wanted) {
        return QTest::qWaitFor([&] { return folder() == wanted; }, 30'000);
    }
    static void press(const QString& key) { QProcess::execute(u"xdotool"_s, {u"key"_s, key}); }

    const TemporaryFolder home;
    const fs::path shown = home / "MOSSBOX1";
    finder::FrontFolderWatch watch;
    finder::FrontWindow front;
    finder::X11FrontmostApplication frontmost{front};
    finder::FinderScripts scripts{watch, front};
    QProcess fileManager;
};

TEST_F(FinderTest, FollowsTheFolderAndTheFocus) {
    EXPECT_TRUE(comesToShow(QString::fromStdString(shown)));
    EXPECT_EQ(scripts.run(u"tell application \"Finder\" to quit"_s), std::nullopt);
    press(u"ctrl+l"_s);
    EXPECT_TRUE(comesToShow(std::nullopt)) << "the location has the focus";
    press(u"alt+Up"_s);
    EXPECT_TRUE(comesToShow(QString::fromStdString(home.path())));
    fileManager.kill();
    EXPECT_TRUE(comesToShow(std::nullopt));
}

} // namespace ternvault::test
