#include "platform/linux/LinuxProcessLauncher.h"
#include "platform/linux/programs/DesktopPreference.h"
#include "platform/linux/programs/FileFlags.h"
#include "support/PrivateBus.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

namespace ternvault::test {

namespace {

int chflags(const QString& flag, const fs::path& path) {
    return runFileFlags({flag, QString::fromStdString(path)}).exitStatus;
}

QStringList preference(const QString& value) {
    return {u"write"_s, u"com.apple.finder"_s, u"ShowMountedServersOnDesktop"_s, u"-bool"_s, value};
}

int show(const QString& value) {
    return DesktopPreference().write(preference(value)).exitStatus;
}

/// With scripts in place of the desktop's own programs.
class FakedDesktop : public testing::Test {
protected:
    FakedDesktop() {
        qputenv("PATH", (folder.path().native() + ":/bin").c_str());
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    }
    void install(const char* program, const std::string& script) const {
        writeFile(folder / program, "#!/bin/sh\ncd " + folder.path().native() + "\n" + script + "\n");
        fs::permissions(folder / program, fs::perms::owner_all);
    }

    const TemporaryFolder folder;
    const fs::path calls = folder / "calls";
};

} // namespace

TEST(FileFlags, HideAndShowInTheListOfTheFolderAndKeepTheLinesOfOthers) {
    const TemporaryFolder root;
    const fs::path list = root / ".hidden";
    fs::create_directories(root / "MOSS BOX");
    fs::create_directories(root / "MOSSBOX1");
    EXPECT_EQ(chflags(u"hidden"_s, root / "MOSS BOX/"), 0);
    EXPECT_EQ(readFile(list), "MOSS BOX\n");
    EXPECT_EQ(chflags(u"nohidden"_s, root / "MOSS BOX"), 0);
    EXPECT_FALSE(fs::exists(list)) << "nothing is left to say";

    writeFile(list, "foreign\n\nMOSS BOX 2\nno line break");
    EXPECT_EQ(chflags(u"hidden"_s, root / "MOSSBOX1"), 0);
    fs::create_hard_link(list, root / "before");
    EXPECT_EQ(chflags(u"hidden"_s, root / "MOSSBOX1"), 0);
    EXPECT_EQ(chflags(u"nohidden"_s, root / "MOSS BOX"), 0);
    EXPECT_TRUE(fs::equivalent(list, root / "before")) << "written although nothing changed";
    EXPECT_EQ(chflags(u"nohidden"_s, root / "MOSSBOX1"), 0);
    EXPECT_EQ(readFile(list), "foreign\n\nMOSS BOX 2\nno line break\n");

    EXPECT_EQ(chflags(u"hidden"_s, root / "gone"), 1) << "a name that is not there would stay for good";
    fs::rename(list, root / "real");
    fs::create_symlink("real", list);
    EXPECT_EQ(chflags(u"hidden"_s, root / "MOSSBOX1"), 1);
    EXPECT_TRUE(fs::is_symlink(list));
}

TEST(FileFlags, WritersAtTheSameTimeLoseNoName) {
    const TemporaryFolder root;
    writeFile(root / ".hidden", "foreign\n");
    std::vector<std::thread> writers;
    for (const char* name : {"a", "b", "c", "d"}) {
        fs::create_directory(root / name);
        writers.emplace_back([entry = QString::fromStdString(root / name)] {
            // A writer that had to wait for too long fails, which is its right.
            for (int round = 0; round < 41; ++round)
                while (runFileFlags({round % 2 == 0 ? u"hidden"_s : u"nohidden"_s, entry}).exitStatus != 0)
                    std::this_thread::yield();
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    std::string list = readFile(root / ".hidden");
    EXPECT_EQ(list.substr(0, 8), "foreign\n");
    std::sort(list.begin() + 8, list.end());
    EXPECT_EQ(list.substr(8), "\n\n\n\nabcd");
}

TEST(DesktopPreference, GoesToTheSettingOfXfce) {
    const TemporaryFolder folder;
    for (const char* variable : {"XDG_CONFIG_HOME", "HOME"})
        qputenv(variable, folder.path().c_str());
    const PrivateBus bus("/usr/share/dbus-1/services");
    qputenv("XDG_CURRENT_DESKTOP", "XFCE");
    for (const QString& value : {u"true"_s, u"false"_s}) {
        EXPECT_EQ(show(value), 0);
        const ProcessResult read = LinuxProcessLauncher({}).run(
            u"/usr/bin/xfconf-query"_s,
            {u"-c"_s, u"xfce4-desktop"_s, u"-p"_s, u"/desktop-icons/file-icons/show-network-removable"_s});
        EXPECT_EQ(QString::fromUtf8(read.standardOutput).trimmed(), value);
    }
}

TEST_F(FakedDesktop, IsWrittenToOnlyWhenItDiffersAndNeverWaitedForLong) {
    const auto answer = [&](const std::string& script) {
        install("gsettings", "echo $* >>calls\n" + script);
        fs::remove(calls);
    };
    qputenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
    const std::string key = " org.gnome.shell.extensions.ding show-network-volumes";
    answer("echo true");
    EXPECT_EQ(show(u"true"_s), 0);
    EXPECT_EQ(readFile(calls), "get" + key + "\n");
    EXPECT_EQ(show(u"false"_s), 0);
    EXPECT_EQ(readFile(calls), "get" + key + "\nget" + key + "\nset" + key + " false\n");

    answer("exec sleep 60");
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(show(u"true"_s), 1);
    EXPECT_LT(timer.elapsed(), 4000);

    qunsetenv("XDG_RUNTIME_DIR");
    for (const auto& [desktop, bus] : {std::pair("KDE", "unix:path=/x"), {"GNOME", ""}}) {
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
        answer("exit 1");
        EXPECT_EQ(show(u"true"_s), 0);
        EXPECT_FALSE(fs::exists(calls)) << desktop;
    }
}

TEST_F(FakedDesktop, ReadsItsSettingsAgainOnceAfterAChangeWhereXfceRuns) {
    install("xfconf-query", "echo false");
    install("gdbus", "cat owned");
    install("xfdesktop", "echo $* >>calls");
    qputenv("XDG_CURRENT_DESKTOP", "XFCE");
    for (const std::string owned : {"(true,)\n", "(false,)\n"}) {
        writeFile(folder / "owned", owned);
        writeFile(calls, "");
        DesktopPreference desktop;
        for (const QString& value : {u"false"_s, u"true"_s}) {
            desktop.redraw();
            EXPECT_EQ(desktop.write(preference(value)).exitStatus, 0);
        }
        EXPECT_EQ(readFile(calls), "") << "nothing had changed";
        EXPECT_EQ(desktop.redraw().exitStatus, 0);
        EXPECT_EQ(desktop.redraw().exitStatus, 0);
        EXPECT_EQ(readFile(calls), owned == "(true,)\n" ? "--reload\n" : "");
    }
}

} // namespace ternvault::test
