#include "platform/linux/programs/LaunchControl.h"
#include "platform/PropertyList.h"
#include "platform/linux/LinuxProcessLauncher.h"
#include "support/TemporaryFolder.h"

#include <QTest>

#include <gtest/gtest.h>

#include <unistd.h>

namespace ternvault::test {

using namespace Qt::StringLiterals;

namespace {

QString text(const fs::path& path) {
    return QString::fromStdString(path.native());
}

/// One user's service manager.
class LaunchControlTest : public testing::Test {
protected:
    QVariantMap agent(const fs::path& application) const {
        return {
            {u"Label"_s, u"space.larkspur.ternvault.autoconnect"_s},
            {u"ProgramArguments"_s, QVariantList{u"/usr/bin/open"_s, u"-a"_s, text(application), u"--args"_s,
                                                 u"--auto-mount"_s, u"%f \"$HOME\" `x` \\ 'ä'"_s, u""_s}},
            {u"RunAtLoad"_s, true}};
    }
    ProcessResult load(const QVariant& content) const {
        writeFile(folder / "agent.plist", writePropertyList(content).toStdString());
        return launchctl({u"bootstrap"_s, domain, text(folder / "agent.plist")});
    }
    bool hasEntry() const {
        return fs::exists(folder / "config/autostart") && !fs::is_empty(folder / "config/autostart");
    }

    TemporaryFolder folder;
    const QString domain = u"gui/"_s + QString::number(::getuid());
    const QString service = domain + u"/space.larkspur.ternvault.autoconnect"_s;
    const fs::path entry = folder / "config/autostart/space.larkspur.ternvault.autoconnect.desktop";
    const LaunchControl launchctl{folder / "config"};
};

} // namespace

TEST_F(LaunchControlTest, TheEntryIsValidAndStartsTheVeryArguments) {
    const fs::path started = folder / "started";
    for (const char* name : {"plain", "My \"Größe\" $HOME `x` \\ 'q'", "100%"}) {
        const fs::path application = folder / name / "ternvault";
        fs::create_directory(application.parent_path());
        writeFile(application, "#!/bin/sh\nprintf '%s\\n' \"$0\" \"$@\" >\"" + started.native() +
                                   ".new\"\nmv \"" + started.native() + ".new\" \"" + started.native() +
                                   "\"\n");
        fs::permissions(application, fs::perms::owner_all);
        for (int twice = 0; twice < 2; ++twice)
            EXPECT_EQ(load(agent(application)).exitStatus, 0);
        EXPECT_FALSE(fs::exists(started)) << "loading starts nothing";
        const auto entries = fs::directory_iterator(entry.parent_path());
        EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);

        LinuxProcessLauncher launcher({});
        const ProcessResult valid = launcher.run(u"/usr/bin/desktop-file-validate"_s, {text(entry)});
        EXPECT_TRUE(valid.succeeded() && valid.standardOutput.isEmpty()) << valid.standardOutput.data();
        EXPECT_TRUE(launcher.run(u"/usr/bin/gio"_s, {u"launch"_s, text(entry)}).succeeded());
        EXPECT_TRUE(QTest::qWaitFor([&] { return fs::exists(started); }, 10'000));
        EXPECT_EQ(readFile(started), application.native() + "\n--auto-mount\n%f \"$HOME\" `x` \\ 'ä'\n\n");
        fs::remove(started);

        EXPECT_EQ(launchctl({u"bootout"_s, service}).exitStatus, 0);
        EXPECT_FALSE(hasEntry());
        EXPECT_EQ(launchctl({u"bootout"_s, service}).exitStatus, 3);
    }
}

TEST_F(LaunchControlTest, RefusesWhatWouldStartSomethingElse) {
    const auto with = [&](const QString& key, const QVariant& value) {
        QVariantMap changed = agent("/opt/ternvault");
        changed[key] = value;
        return changed;
    };
    const QVariantList injecting{u"/usr/bin/open"_s, u"-a"_s, u"/opt/ternvault"_s, u"--args"_s,
                                 u"a\nExec=evil"_s};
    for (const QVariant& content :
         {QVariant(u"no dictionary"_s), QVariant(with(u"Label"_s, u"../evil"_s)),
          QVariant(with(u"RunAtLoad"_s, false)), QVariant(with(u"ProgramArguments"_s, injecting))})
        EXPECT_EQ(load(content).exitStatus, 1) << writePropertyList(content).toStdString();
    for (const fs::path& file : {folder / "none.plist", fs::path("/dev/zero")})
        EXPECT_EQ(launchctl({u"bootstrap"_s, domain, text(file)}).exitStatus, 1) << file;
    EXPECT_EQ(launchctl({u"bootout"_s, domain + u"/../agent"_s}).exitStatus, 64);
    EXPECT_FALSE(hasEntry());
}

TEST_F(LaunchControlTest, SaysWhenTheEntryCannotBeKept) {
    fs::create_directories(entry / "in the way");
    EXPECT_EQ(load(agent("/opt/ternvault")).exitStatus, 1);
    EXPECT_EQ(launchctl({u"bootout"_s, service}).exitStatus, 1);
    EXPECT_EQ(LaunchControl(std::nullopt)({u"bootout"_s, service}).exitStatus, 1);
}

} // namespace ternvault::test
