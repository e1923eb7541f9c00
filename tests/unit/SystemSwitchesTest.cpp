#include "support/ModelFixture.h"

namespace ternvault::test {
namespace {

const QString agentFile = u"/home/anna/Library/LaunchAgents/space.larkspur.ternvault.autoconnect.plist"_s;

/// What the model does at its start and later to the desktop icon and to the login entry.
struct SystemSwitches : ModelFixture {
    /// Ends every program but the mounting one, which makes `appearing` appear, in this way.
    void letProgramsEnd(const ProcessResult& ending, const QStringList& appearing) {
        fake.processes.respond = [this, ending, appearing](const QStringList& call) {
            if (!isMount(call))
                return ending;
            show(appearing);
            return ProcessResult{};
        };
    }
    void show(const QStringList& volumes) {
        for (const QString& name : volumes)
            fake.files.entries[(u"/Volumes/"_s + name).toStdString()] = true;
    }
    /// The starts of launchctl, or of all others but the mounting one, since the last question: their first
    /// lines.
    QStringList takeCalls(bool ofLaunchctl) {
        QStringList found;
        for (const QStringList& call : std::exchange(fake.processes.calls, {})) {
            if (!isMount(call) && (call[0] == u"/bin/launchctl"_s) == ofLaunchctl)
                found << call.join(u' ').section(u'\n', 0, 0);
        }
        return found;
    }
};

QStringList iconCalls(bool shown, const QStringList& flagged, const std::vector<bool>& restarts) {
    QStringList calls;
    for (const bool restart : restarts) {
        for (const QString& name : flagged)
            calls << u"/usr/bin/chflags "_s + (shown ? u"nohidden"_s : u"hidden"_s) + u" /Volumes/"_s + name;
        calls << u"/usr/bin/defaults write com.apple.finder ShowMountedServersOnDesktop -bool "_s +
                     (shown ? u"true"_s : u"false"_s)
              << u"/usr/bin/osascript -e tell application \"Finder\""_s;
        if (restart)
            calls << u"/usr/bin/killall Finder"_s;
    }
    return calls;
}

const ProcessResult endings[] = {{}, {std::nullopt, 1, {}, "failing"}, {u"no such program"_s, 0, {}, {}}};

TEST_F(SystemSwitches, EveryCallerAppliesTheIconWhateverTheProgramsDo) {
    enum Volumes { atStart, later, afterAnother };
    using Restarts = std::vector<bool>;
    QStringList names;
    const auto change = [](AppModel& model) { model.showDesktopIcon = bool(model.showDesktopIcon); };
    const auto refresh = [&](AppModel& model) {
        show(names);
        model.refreshMounted();
    };
    const auto mount = [&](AppModel& model) { perform(model.mountSelected(true)); };
    const struct {
        const char* name;
        /// None: the start alone.
        std::function<void(AppModel&)> act;
        Volumes volumes;
        /// One entry per application of the setting: whether it restarts the file manager.
        Restarts whenHidden, whenShown;
    } callers[] = {
        {"launch", {}, atStart, {true, true}, {false, false}},
        {"change", change, atStart, {true}, {true}},
        {"refresh", refresh, atStart, {}, {}},
        {"refresh", refresh, later, {true}, {false}},
        {"refresh", refresh, afterAnother, {false}, {false}},
        {"mount", mount, later, {true, true}, {false, false}},
        {"open", [](AppModel& model) { model.openMountedVolumeInFinder(); }, atStart, {false}, {}},
    };
    // "MOSS BOX" alone: the mounter does not know it, so that the mount fails and the volume is there.
    const QStringList sets[] = {{u"MOSS BOX"_s}, {u"MOSSBOX1"_s, u"MOSS BOX"_s}};
    for (int row = 0; row < 3 * 2 * 2; ++row) {
        const bool shown = row % 2 == 1;
        names = sets[row / 2 % 2];
        for (const auto& caller : callers) {
            fake.files.entries.clear();
            fake.defaults.values = {{u"ternvault.showDesktopIcon"_s, shown},
                                    {u"ternvault.selectedShare"_s, u"Films"_s}};
            letProgramsEnd(endings[row / 4], names);
            if (caller.volumes != later)
                show(caller.volumes == atStart ? names : QStringList(u"Films"_s));
            AppModel& model = startWithAccount();
            if (caller.act) {
                takeCalls(false);
                caller.act(model);
                fake.time.advance(1s);
            }
            EXPECT_EQ(takeCalls(false), iconCalls(shown, names, shown ? caller.whenShown : caller.whenHidden))
                << caller.name << ", volumes " << caller.volumes << ", row " << row;
        }
    }
}

TEST_F(SystemSwitches, EveryCallerBringsTheLoginEntryInLine) {
    using Act = std::function<void(AppModel&)>;
    const Act setUp = [&](AppModel& model) { perform(model.completeAuthFlow()); };
    const struct {
        const char* name;
        bool isComplete, connects;
        /// None: the start alone.
        Act act;
        /// Nothing: the entry is left alone.
        std::optional<bool> enabled;
    } callers[] = {
        {"start, both", true, true, {}, true},
        {"start, not set up", false, true, {}, false},
        {"switched on", true, false, [](AppModel& model) { model.autoConnect = true; }, true},
        {"on, not set up", false, false, [](AppModel& model) { model.autoConnect = true; }, false},
        {"switched off", true, true, [](AppModel& model) { model.autoConnect = false; }, false},
        {"set up", false, true, setUp, true},
        {"set up, not wanted", false, false, setUp, false},
        {"reset", true, true, [](AppModel& model) { model.resetSetup(); }, false},
        {"mounted to stay", false, true, [&](AppModel& model) { perform(model.mountSelected(true)); }, true},
        {"mounted", true, true, [&](AppModel& model) { perform(model.mountSelected(false)); }, {}},
    };
    const QString unload = u"/bin/launchctl bootout gui/501/space.larkspur.ternvault.autoconnect"_s;
    const QString load = u"/bin/launchctl bootstrap gui/501 "_s + agentFile;
    for (const ProcessResult& ending : endings) {
        for (const auto& caller : callers) {
            fake.files.entries.clear();
            letProgramsEnd(ending, {u"MOSSBOX1"_s});
            fake.defaults.values = {{u"ternvault.setupComplete"_s, caller.isComplete},
                                    {u"ternvault.autoConnect"_s, caller.connects}};
            start();
            if (caller.act) {
                AppModel& model = startWithAccount();
                model.authMode = AuthMode::login;
                takeCalls(true);
                caller.act(model);
            }
            const QStringList changes =
                caller.enabled == true ? QStringList{unload, load} : QStringList(unload);
            EXPECT_EQ(takeCalls(true), caller.enabled ? changes : QStringList()) << caller.name;
            const bool isThere = fake.files.entries.contains(agentFile.toStdString());
            EXPECT_TRUE(!caller.enabled || isThere == *caller.enabled) << caller.name;
        }
    }
}

TEST_F(SystemSwitches, TheLoginEntryFollowsWhatIsStoredWhenItIsMade) {
    auto& values = fake.defaults.values;
    for (const bool connects : {true, false}) {
        values = {{u"ternvault.setupComplete"_s, true}, {u"ternvault.autoConnect"_s, !connects}};
        // Another process, while the first program for the entry runs.
        fake.processes.respond = [&](const QStringList& call) {
            if (call[0] == u"/bin/launchctl"_s)
                values[u"ternvault.autoConnect"_s] = connects;
            return ProcessResult{};
        };
        start();
        EXPECT_EQ(fake.files.entries.contains(agentFile.toStdString()), connects);
        AppModel& model = start();
        values[u"ternvault.setupComplete"_s] = false;
        model.autoConnect = true;
        EXPECT_FALSE(fake.files.entries.contains(agentFile.toStdString()))
            << "another process has reset the setup";
    }
}

TEST_F(SystemSwitches, WithoutAHomeTheLoginEntryIsUnloadedAndNothingWritten) {
    fake.locations.homeFolder = std::nullopt;
    fake.defaults.values = {{u"ternvault.setupComplete"_s, true}, {u"ternvault.autoConnect"_s, true}};
    start().autoConnect = false;
    EXPECT_EQ(takeCalls(true).join(u' ').count(u"bootout"_s), 2);
    EXPECT_TRUE(fake.files.entries.empty());
}

} // namespace
} // namespace ternvault::test
