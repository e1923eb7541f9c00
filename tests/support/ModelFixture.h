#pragma once

#include "model/AppModel.h"
#include "support/FakePlatform.h"

#include <gtest/gtest.h>

namespace ternvault::test {

/// A model over faked ports; `start` runs its start sequence on whatever was stored before.
class ModelFixture : public testing::Test {
protected:
    AppModel& start() {
        model_.emplace(fake.platform);
        return *model_;
    }
    AppModel& startWithAccount() {
        AppModel& model = start();
        model.serverIP = u"10.0.0.5"_s;
        model.smbUser = u"anna"_s;
        model.smbPassword = u"secret"_s;
        return model;
    }
    void perform(Task<> operation) {
        scope_.spawn(std::move(operation));
        fake.time.run();
    }
    /// The mount program makes the share's entry appear, unless told otherwise.
    void letMountsSucceed() {
        fake.processes.respond = [this](const QStringList& call) {
            if (isMount(call))
                fake.files.entries["/Volumes/MOSSBOX1"] = true;
            else if (call[0].endsWith(u"diskutil"_s))
                fake.files.entries.erase(call.back().toStdString());
            return ProcessResult{};
        };
    }
    void letProgramsFail(const char* message) {
        fake.processes.respond = [message](const QStringList&) {
            return ProcessResult{std::nullopt, 1, {}, message};
        };
    }

    static bool isMount(const QStringList& call) { return call.back().startsWith(u"mount volume"_s); }
    std::size_t mounts() const {
        const auto& calls = fake.processes.calls;
        return static_cast<std::size_t>(std::count_if(calls.begin(), calls.end(), isMount));
    }

    FakePlatform fake;

private:
    std::optional<AppModel> model_;
    TaskScope scope_{fake.time, [](std::exception_ptr) { ADD_FAILURE() << "an exception escaped"; }};
};

} // namespace ternvault::test
