#include "model/AppModel.h"
#include "platform/linux/NoUserInterface.h"
#include "platform/linux/programs/DesktopPreference.h"
#include "platform/linux/programs/DesktopRefresh.h"
#include "platform/linux/programs/FileFlags.h"
#include "platform/linux/programs/MountPoints.h"
#include "support/FakePlatform.h"
#include "support/PrivateBus.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <thread>

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;
using test::readFile;
using test::TemporaryFolder;
using test::writeFile;

namespace {

QString text(const fs::path& path) {
    return QString::fromStdString(path.native());
}

int chflags(const QString& flag, const fs::path& path) {
    const ProcessResult result = runFileFlags({flag, text(path)});
    EXPECT_EQ(result.standardError.isEmpty(), result.exitStatus == 0);
    return result.exitStatus;
}

ino_t inodeOf(const fs::path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

ProcessResult writePreference(const QStringList& arguments) {
    return DesktopPreference().write(arguments);
}

ProcessResult setPreference(const QString& value) {
    return writePreference(
        {u"write"_s, u"com.apple.finder"_s, u"ShowMountedServersOnDesktop"_s, u"-bool"_s, value});
}

QString printed(const QString& command) {
    const QStringList words = command.split(u' ');
    const ProcessResult result = LinuxProcessLauncher({}).run(u"/usr/bin/"_s + words[0], words.mid(1));
    return QString::fromUtf8(result.standardOutput).trimmed();
}

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
    EXPECT_EQ(chflags(u"nohidden"_s, root / "MOSS BOX"), 0);

    writeFile(list, "foreign\n\nMOSS BOX 2\nno line break");
    EXPECT_EQ(chflags(u"hidden"_s, root / "MOSSBOX1"), 0);
    EXPECT_EQ(readFile(list), "foreign\n\nMOSS BOX 2\nno line break\nMOSSBOX1\n");
    const ino_t before = inodeOf(list);
    EXPECT_EQ(chflags(u"hidden"_s, root / "MOSSBOX1"), 0);
    EXPECT_EQ(chflags(u"nohidden"_s, root / "MOSS BOX"), 0);
    EXPECT_EQ(inodeOf(list), before) << "written although nothing changed";
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
        writers.emplace_back([entry = text(root / name)] {
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

TEST(FileFlags, EndWithTheVolume) {
    const TemporaryFolder folder;
    const fs::path volume = folder / "Volumes/MOSSBOX1";
    fs::create_directories(volume);
    fs::create_directory(folder / "state");
    fs::permissions(volume, fs::perms::none);
    ASSERT_TRUE(isPlaceholder(volume));
    EXPECT_EQ(chflags(u"hidden"_s, volume), 0);
    removeMountPoint(folder / "state", volume);
    EXPECT_TRUE(fs::is_empty(folder / "Volumes"));
}

TEST(DesktopIconPrograms, RefuseWhatTheyDoNotKnow) {
    const std::pair<StandIn, QString> calls[] = {
        {runFileFlags, u""_s},
        {runFileFlags, u"hidden"_s},
        {runFileFlags, u"uchg|/tmp"_s},
        {runFileFlags, u"hidden|relative"_s},
        {runFileFlags, u"hidden|/tmp/a\nb"_s},
        {runFileFlags, u"hidden|/a|/b"_s},
        {writePreference, u""_s},
        {writePreference, u"write|com.apple.finder|ShowMountedServersOnDesktop|-bool"_s},
        {writePreference, u"write|com.apple.finder|ShowMountedServersOnDesktop|-bool|1"_s},
        {writePreference, u"write|com.apple.finder|ShowMountedServersOnDesktop|-bool|true|true"_s},
        {writePreference, u"read|com.apple.finder|ShowMountedServersOnDesktop|-bool|true"_s},
        {runKillAll, u""_s},
        {runKillAll, u"-9|Finder"_s},
        {runKillAll, u"xfdesktop"_s},
    };
    for (const auto& [program, words] : calls) {
        const ProcessResult refusal = program(words.split(u'|', Qt::SkipEmptyParts));
        EXPECT_EQ(refusal.exitStatus, 64) << words.toStdString();
        EXPECT_EQ(refusal.standardError.count('\n'), 1) << words.toStdString();
    }
    EXPECT_EQ(runKillAll({u"Finder"_s}).exitStatus, 0);
}

TEST(DesktopPreference, GoesToTheSettingOfTheRunningDesktop) {
    const TemporaryFolder folder;
    std::string schemas;
    for (const std::string id : {"org.gnome.shell.extensions.ding"})
        schemas += "<schema id='" + id + "' path='/" + id +
                   "/'>"
                   "<key name='volumes-visible' type='b'><default>true</default></key>"
                   "<key name='show-network-volumes' type='b'><default>false</default></key></schema>";
    writeFile(folder / "test.gschema.xml", "<schemalist>" + schemas + "</schemalist>");
    ASSERT_EQ(
        LinuxProcessLauncher({}).run(u"/usr/bin/glib-compile-schemas"_s, {text(folder.path())}).exitStatus,
        0);
    for (const char* variable : {"XDG_CONFIG_HOME", "HOME", "GSETTINGS_SCHEMA_DIR"})
        qputenv(variable, text(folder.path()).toUtf8());
    qputenv("GSETTINGS_BACKEND", "keyfile");
    test::PrivateBus bus(folder.path(), "/usr/share/dbus-1/services");
    ASSERT_TRUE(bus.start());
    const struct {
        const char* desktop;
        QString question;
    } rows[] = {
        {"XFCE", u"xfconf-query -c xfce4-desktop -p /desktop-icons/file-icons/show-network-removable"_s},
        {"ubuntu:GNOME", u"gsettings get org.gnome.shell.extensions.ding show-network-volumes"_s},
    };
    for (const auto& row : rows) {
        qputenv("XDG_CURRENT_DESKTOP", row.desktop);
        for (const QString& value : {u"false"_s, u"true"_s, u"true"_s, u"false"_s}) {
            const ProcessResult result = setPreference(value);
            EXPECT_EQ(result.exitStatus, 0) << row.desktop << result.standardError.toStdString();
            EXPECT_EQ(printed(row.question), value) << row.desktop;
        }
    }
    fs::remove(folder / "gschemas.compiled");
    EXPECT_EQ(setPreference(u"true"_s).exitStatus, 1) << "GNOME without desktop icons";
}

/// In place of the desktop's own program.
TEST(DesktopPreference, IsWrittenOnlyWhenItDiffersAndNeverWaitedForLong) {
    const TemporaryFolder folder;
    const fs::path calls = folder / "calls";
    const auto install = [&](const std::string& script) {
        writeFile(folder / "gsettings", "#!/bin/sh\necho $1 $4 >>" + calls.native() + "\n" + script + "\n");
        fs::permissions(folder / "gsettings", fs::perms::owner_all);
        fs::remove(calls);
    };
    qputenv("PATH", text(folder.path()).toUtf8());
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    qputenv("XDG_CURRENT_DESKTOP", "GNOME");
    install("echo true");
    EXPECT_EQ(setPreference(u"true"_s).exitStatus, 0);
    EXPECT_EQ(readFile(calls), "get\n");
    EXPECT_EQ(setPreference(u"false"_s).exitStatus, 0);
    EXPECT_EQ(readFile(calls), "get\nget\nset false\n");

    install("exec /bin/sleep 60");
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(setPreference(u"true"_s).exitStatus, 1);
    EXPECT_LT(timer.elapsed(), 4000);

    const std::pair<const char*, const char*> noDesktop[] = {
        {"", "unix:path=/x"}, {"KDE", "unix:path=/x"}, {"GNOME", ""}};
    qunsetenv("XDG_RUNTIME_DIR");
    for (const auto& [desktop, bus] : noDesktop) {
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
        install("exit 1");
        EXPECT_EQ(setPreference(u"true"_s).exitStatus, 0);
        EXPECT_FALSE(fs::exists(calls)) << desktop;
    }
}

/// In place of Xfce's own programs.
TEST(DesktopPreference, HasXfceReadItsSettingsAgainOnceAfterAChangeWhereItRuns) {
    const TemporaryFolder folder;
    const fs::path calls = folder / "calls";
    const std::pair<const char*, const char*> programs[] = {
        {"xfconf-query", "echo false"}, {"gdbus", "cat owned"}, {"xfdesktop", "echo $* >>calls"}};
    for (const auto& [name, script] : programs) {
        writeFile(folder / name, "#!/bin/sh\ncd " + folder.path().native() + "\n" + script + "\n");
        fs::permissions(folder / name, fs::perms::owner_all);
    }
    qputenv("PATH", (text(folder.path()) + u":/bin"_s).toUtf8());
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    qputenv("XDG_CURRENT_DESKTOP", "XFCE");
    for (const std::string owned : {"(true,)\n", "(false,)\n"}) {
        writeFile(folder / "owned", owned);
        writeFile(calls, "");
        DesktopPreference desktop;
        for (const QString& value : {u"false"_s, u"true"_s}) {
            desktop.redraw();
            const QStringList preference{u"com.apple.finder"_s, u"ShowMountedServersOnDesktop"_s, u"-bool"_s,
                                         value};
            EXPECT_EQ(desktop.write(QStringList(u"write"_s) + preference).exitStatus, 0);
        }
        EXPECT_EQ(readFile(calls), "") << "nothing had changed";
        EXPECT_EQ(desktop.redraw().exitStatus, 0);
        EXPECT_EQ(desktop.redraw().exitStatus, 0);
        EXPECT_EQ(readFile(calls), owned == "(true,)\n" ? "--reload\n" : "");
    }
}

TEST(DesktopIconPrograms, TakeNoTimeWhereNoDesktopRuns) {
    const TemporaryFolder folder;
    const fs::path volumes = folder / "Volumes";
    fs::create_directories(volumes / "MOSSBOX1");
    for (const char* variable : {"XDG_CURRENT_DESKTOP", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR",
                                 "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"})
        qunsetenv(variable);
    qputenv("HOME", text(folder.path()).toUtf8());
    qputenv("TERNVAULT_VOLUMES_ROOT", text(volumes).toUtf8());
    ASSERT_EQ(LinuxServices::environmentProblem(), std::nullopt);
    LinuxServices services([](const QString& problem) { ADD_FAILURE() << problem.toStdString(); });
    NoUserInterface noUserInterface(services.mainLoop());
    AppModel model(services.platform(noUserInterface.services()));
    EXPECT_EQ(readFile(volumes / ".hidden"), "MOSSBOX1\n");
    for (const bool shown : {true, false}) {
        QElapsedTimer timer;
        timer.start();
        model.showDesktopIcon = shown;
        EXPECT_LT(timer.elapsed(), 100);
        EXPECT_EQ(fs::exists(volumes / ".hidden"), !shown);
    }

    const fs::path entry = folder / ".config/autostart/space.larkspur.ternvault.autoconnect.desktop";
    model.setupComplete = true;
    model.autoConnect = true;
    EXPECT_NE(readFile(entry).find("/ternvault\" \"--auto-mount\"\n"), std::string::npos) << readFile(entry);
    model.autoConnect = false;
    EXPECT_TRUE(fs::is_empty(entry.parent_path()));
    EXPECT_TRUE(fs::is_empty(folder / "Library/LaunchAgents"));

    for (const char* unusable : {"relative", "/nonexistent/folder", "/etc/passwd"}) {
        qputenv("TERNVAULT_VOLUMES_ROOT", unusable);
        const std::optional<QString> problem = LinuxServices::environmentProblem();
        EXPECT_TRUE(problem && problem->contains(QLatin1String(unusable))) << unusable;
    }
}

} // namespace ternvault
