#pragma once

#include "model/AppModel.h"
#include "support/FakePlatform.h"

#include <gtest/gtest.h>

#include <string>

namespace ternvault::test {

struct RecordingLaunchAgent : LaunchAgentManager {
    void setEnabled(bool enabled) override { calls.push_back(enabled); }
    std::vector<bool> calls;
};

struct RecordingDesktopIcon : DesktopIcon {
    void apply(bool show, bool restartFinder) override {
        calls.push_back(std::string(show ? "show" : "hide") + (restartFinder ? " restart" : ""));
    }
    std::vector<std::string> calls;
};

/// A model over faked ports; `start` runs its start sequence on whatever was stored before.
class ModelFixture : public testing::Test {
protected:
    AppModel& start() {
        model_.emplace(fake.platform, launchAgent, desktopIcon);
        return *model_;
    }
    AppModel& startWithAccount() {
        AppModel& model = start();
        model.serverIP = QStringLiteral("10.0.0.5");
        model.smbUser = QStringLiteral("anna");
        model.smbPassword = QStringLiteral("secret");
        return model;
    }
    void perform(Task<> operation) {
        scope_.spawn(std::move(operation));
        fake.time.run();
    }
    /// The mount program makes the share's entry appear, unless told otherwise.
    void letMountsSucceed() {
        fake.processes.respond = [this](const QStringList& call) {
            if (call[0].endsWith(QStringLiteral("osascript")))
                fake.files.entries["/Volumes/MOSSBOX1"] = true;
            else
                fake.files.entries.erase(call.back().toStdString());
            return ProcessResult{};
        };
    }
    void letProgramsFail(const char* message) {
        fake.processes.respond = [message](const QStringList&) {
            return ProcessResult{std::nullopt, 1, {}, message};
        };
    }

    FakePlatform fake;
    RecordingLaunchAgent launchAgent;
    RecordingDesktopIcon desktopIcon;

private:
    std::optional<AppModel> model_;
    TaskScope scope_{fake.time, [](std::exception_ptr) { ADD_FAILURE() << "an exception escaped"; }};
};

} // namespace ternvault::test
