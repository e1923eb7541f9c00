#include "platform/linux/LinuxProcessLauncher.h"
#include "support/ModelFixture.h"
#include "support/TemporaryFolder.h"

namespace ternvault {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using Calls = std::vector<QStringList>;
using Names = std::vector<QString>;

const char* const agentFile = "/home/anna/Library/LaunchAgents/space.larkspur.ternvault.autoconnect.plist";

/// What the model does at its start and later to the desktop icon and to the login entry.
struct SystemSwitches : test::ModelFixture {
    /// Ends every program but the mounting one, which makes `appearing` appear, in this way.
    void letProgramsEnd(const ProcessResult& ending, const Names& appearing) {
        fake.processes.respond = [this, ending, appearing](const QStringList& call) {
            if (!isMount(call))
                return ending;
            show(appearing);
            return ProcessResult{};
        };
    }
    void show(const Names& volumes) {
        for (const QString& name : volumes)
            fake.files.entries[(u"/Volumes/"_s + name).toStdString()] = true;
    }
    /// The starts of these programs since the last question, in order.
    Calls takeCalls(const QStringList& programs) {
        Calls found;
        for (const QStringList& call : std::exchange(fake.processes.calls, {})) {
            if (programs.contains(call.front()) && !isMount(call))
                found.push_back(call);
        }
        return found;
    }
    Calls takeIconCalls() {
        return takeCalls(
            {u"/usr/bin/chflags"_s, u"/usr/bin/defaults"_s, u"/usr/bin/osascript"_s, u"/usr/bin/killall"_s});
    }
    Calls takeAgentCalls() { return takeCalls({u"/bin/launchctl"_s}); }
};

Calls iconCalls(bool shown, const Names& flagged, const std::vector<bool>& restarts) {
    Calls calls;
    for (const bool restart : restarts) {
        for (const QString& name : flagged)
            calls.push_back(
                {u"/usr/bin/chflags"_s, shown ? u"nohidden"_s : u"hidden"_s, u"/Volumes/"_s + name});
        calls.push_back({u"/usr/bin/defaults"_s, u"write"_s, u"com.apple.finder"_s,
                         u"ShowMountedServersOnDesktop"_s, u"-bool"_s, shown ? u"true"_s : u"false"_s});
        calls.push_back({u"/usr/bin/osascript"_s, u"-e"_s,
                         u"tell application \"Finder\"\n  try\n    update every item of desktop\n"
                         "  end try\nend tell"_s});
        if (restart)
            calls.push_back({u"/usr/bin/killall"_s, u"Finder"_s});
    }
    return calls;
}

Calls agentCalls(std::optional<bool> enabled) {
    const QString label = u"space.larkspur.ternvault.autoconnect"_s;
    Calls calls;
    if (enabled)
        calls.push_back({u"/bin/launchctl"_s, u"bootout"_s, u"gui/501/"_s + label});
    if (enabled == true)
        calls.push_back({u"/bin/launchctl"_s, u"bootstrap"_s, u"gui/501"_s, QString::fromUtf8(agentFile)});
    return calls;
}

const ProcessResult endings[] = {{}, {std::nullopt, 1, {}, "failing"}, {u"no such program"_s, 0, {}, {}}};

TEST_F(SystemSwitches, EveryCallerAppliesTheIconInOneOrderWhateverTheProgramsDo) {
    enum Volumes { none, atStart, later, afterAnother };
    using Restarts = std::vector<bool>;
    Names names;
    const auto change = [](AppModel& model) { model.showDesktopIcon = bool(model.showDesktopIcon); };
    const auto refresh = [&](AppModel& model) {
        show(names);
        model.refreshMounted();
    };
    const auto mount = [&](AppModel& model) { perform(model.mountSelected(true)); };
    const auto setUp = [&](AppModel& model) {
        model.authMode = AuthMode::login;
        perform(model.completeAuthFlow());
    };
    const auto open = [](AppModel& model) { model.openMountedVolumeInFinder(); };
    const struct {
        const char* name;
        /// None: the start alone.
        std::function<void(AppModel&)> act;
        Volumes volumes;
        /// One entry per application of the setting: whether it restarts the file manager.
        Restarts whenHidden, whenShown;
    } callers[] = {
        {"launch", {}, none, {}, {}},
        {"launch", {}, atStart, {true, true}, {false, false}},
        {"change", change, none, {true}, {true}},
        {"change", change, atStart, {true}, {true}},
        {"refresh", refresh, atStart, {}, {}},
        {"refresh", refresh, later, {true}, {false}},
        {"refresh", refresh, afterAnother, {false}, {false}},
        {"mount", mount, later, {true, true}, {false, false}},
        {"setUp", setUp, later, {true, true}, {false, false}},
        {"setUp", setUp, atStart, {true}, {false}},
        {"open", open, atStart, {false}, {}},
    };
    // "MOSS BOX" alone: the mounter does not know it, so that the mount fails and the volume is there.
    const Names sets[] = {
        {u"Tern Vault"_s}, {u"MOSSBOX1"_s}, {u"MOSS BOX"_s}, {u"MOSSBOX1"_s, u"MOSS BOX"_s}};
    for (int row = 0; row < 3 * 4 * 2; ++row) {
        const bool shown = row % 2 == 1;
        names = sets[row / 2 % 4];
        for (const auto& caller : callers) {
            fake.files.entries.clear();
            fake.defaults.values = {{u"ternvault.showDesktopIcon"_s, shown},
                                    {u"ternvault.selectedShare"_s, u"Films"_s}};
            letProgramsEnd(endings[row / 8], names);
            if (caller.volumes == afterAnother)
                show({u"Films"_s});
            if (caller.volumes == atStart)
                show(names);
            AppModel& model = startWithAccount();
            if (caller.act) {
                takeIconCalls();
                caller.act(model);
                fake.time.advance(1s);
            }
            Names flagged;
            for (const QString& name : {u"MOSSBOX1"_s, u"MOSS BOX"_s}) {
                if (fake.files.entries.contains((u"/Volumes/"_s + name).toStdString()))
                    flagged.push_back(name);
            }
            EXPECT_EQ(takeIconCalls(),
                      iconCalls(shown, flagged, shown ? caller.whenShown : caller.whenHidden))
                << caller.name << ", volumes " << caller.volumes << ", row " << row;
        }
    }
}

TEST_F(SystemSwitches, TheIconSettingIsReadAgainForThePreference) {
    AppModel& model = start();
    show({u"MOSSBOX1"_s, u"MOSS BOX"_s});
    fake.processes.respond = [&](const QStringList&) {
        model.showDesktopIcon.storeWithoutHandler(true);
        return ProcessResult();
    };
    takeIconCalls();
    model.applyDesktopIconVisibility(false);
    Calls expected = iconCalls(true, {u"MOSSBOX1"_s, u"MOSS BOX"_s}, {false});
    expected[0][1] = expected[1][1] = u"hidden"_s;
    EXPECT_EQ(takeIconCalls(), expected);
}

TEST_F(SystemSwitches, EveryCallerBringsTheLoginEntryInLine) {
    const auto withSettings = [&](bool complete, bool connects) -> AppModel& {
        fake.defaults.values = {{u"ternvault.setupComplete"_s, complete},
                                {u"ternvault.autoConnect"_s, connects}};
        return start();
    };
    const auto startWith = [&](bool complete, bool connects) -> AppModel& {
        AppModel& model = withSettings(complete, connects);
        model.serverIP = u"pc"_s;
        model.smbUser = u"anna"_s;
        model.smbPassword = u"secret"_s;
        model.authMode = AuthMode::login;
        takeAgentCalls();
        return model;
    };
    const struct {
        const char* name;
        std::function<void()> act;
        /// Nothing: the entry is left alone.
        std::optional<bool> enabled;
    } callers[] = {
        {"start, both", [&] { withSettings(true, true); }, true},
        {"start, not set up", [&] { withSettings(false, true); }, false},
        {"start, not wanted", [&] { withSettings(true, false); }, false},
        {"switched on", [&] { startWith(true, false).autoConnect = true; }, true},
        {"on again", [&] { startWith(true, true).autoConnect = true; }, true},
        {"on, not set up", [&] { startWith(false, false).autoConnect = true; }, false},
        {"switched off", [&] { startWith(true, true).autoConnect = false; }, false},
        {"complete", [&] { startWith(false, true).setupComplete = true; }, std::nullopt},
        {"set up", [&] { perform(startWith(false, true).completeAuthFlow()); }, true},
        {"set up, not wanted", [&] { perform(startWith(false, false).completeAuthFlow()); }, false},
        {"reset", [&] { startWith(true, true).resetSetup(); }, false},
        {"mounted to stay", [&] { perform(startWith(false, true).mountSelected(true)); }, true},
        {"mounted", [&] { perform(startWith(true, true).mountSelected(false)); }, std::nullopt},
        {"mounted, not wanted", [&] { perform(startWith(true, false).mountSelected(true)); }, std::nullopt},
    };
    for (const ProcessResult& ending : endings) {
        for (const auto& caller : callers) {
            fake.files.entries.clear();
            letProgramsEnd(ending, {u"MOSSBOX1"_s});
            caller.act();
            EXPECT_EQ(takeAgentCalls(), agentCalls(caller.enabled)) << caller.name;
            if (caller.enabled) {
                EXPECT_EQ(fake.files.entries.contains(agentFile), *caller.enabled) << caller.name;
            }
        }
    }
}

TEST_F(SystemSwitches, WithoutAHomeTheLoginEntryIsUnloadedAndNothingWritten) {
    fake.locations.homeFolder = std::nullopt;
    fake.defaults.values = {{u"ternvault.setupComplete"_s, true}, {u"ternvault.autoConnect"_s, true}};
    start().autoConnect = false;
    EXPECT_EQ(takeAgentCalls(), (Calls{agentCalls(false)[0], agentCalls(false)[0]}));
    EXPECT_TRUE(fake.files.entries.empty());
}

TEST_F(SystemSwitches, TheAgentFileIsThereBeforeItIsLoadedAndReadsAsItShouldElsewhere) {
    fake.locations.bundle = "/opt/My \"Größe\" & <Tern>/ternvault";
    std::vector<std::size_t> sizes;
    fake.processes.respond = [&](const QStringList& call) {
        if (call[0] == u"/bin/launchctl"_s)
            sizes.push_back(fake.files.contents[agentFile].size());
        return ProcessResult();
    };
    fake.defaults.values = {{u"ternvault.setupComplete"_s, true}, {u"ternvault.autoConnect"_s, true}};
    start();
    const std::string& content = fake.files.contents[agentFile];
    EXPECT_EQ(sizes, (std::vector<std::size_t>{content.size(), content.size()}));

    const test::TemporaryFolder folder;
    test::writeFile(folder / "agent.plist", content);
    const ProcessResult parsed = LinuxProcessLauncher({}).run(
        u"/usr/bin/python3"_s, {u"-c"_s,
                                u"import plistlib, sys\n"
                                "root = plistlib.load(open(sys.argv[1], 'rb'))\n"
                                "print(type(root).__name__)\n"
                                "for key in sorted(root): print(key, ascii(root[key]))"_s,
                                QString::fromStdString((folder / "agent.plist").native())});
    EXPECT_EQ(parsed.standardOutput.toStdString(),
              "dict\n"
              "KeepAlive False\n"
              "Label 'space.larkspur.ternvault.autoconnect'\n"
              "ProgramArguments ['/usr/bin/open', '-a', '/opt/My \"Gr\\xf6\\xdfe\" & <Tern>/ternvault', "
              "'--args', '--auto-mount']\n"
              "RunAtLoad True\n"
              "ThrottleInterval 5\n")
        << parsed.standardError.toStdString();
}

} // namespace
} // namespace ternvault
