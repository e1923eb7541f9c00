#include "support/ModelFixture.h"

namespace ternvault::test {

struct ReconnectMonitor : ModelFixture {
    AppModel& startConnected() {
        AppModel& model = startWithAccount();
        model.setupComplete = true;
        model.autoConnect = true;
        return model;
    }
};

TEST_F(ReconnectMonitor, TriesAFailingShareOnEverySecondTick) {
    letProgramsFail("unreachable");
    startConnected();
    const std::size_t expected[] = {1, 1, 2, 2, 3};
    fake.time.advance(11999ms);
    EXPECT_EQ(mounts(), 0u);
    fake.time.advance(1ms);
    for (const std::size_t count : expected) {
        EXPECT_EQ(mounts(), count);
        fake.time.advance(12s);
    }
}

TEST_F(ReconnectMonitor, RepairsAStaleFailure) {
    letMountsSucceed();
    AppModel& model = startConnected();
    fake.time.advance(12s);
    model.status = u"Mount failed: earlier"_s;
    fake.time.advance(12s);
    EXPECT_FALSE(model.status->contains(u"failed"_s));
}

TEST_F(ReconnectMonitor, NothingMountsByItselfUnlessEverythingIsSetUp) {
    AppModel& model = startConnected();
    const std::function<void(bool)> gates[] = {
        [&](bool open) { model.setupComplete = open; },
        [&](bool open) { model.autoConnect = open; },
        [&](bool open) { model.isBusy = !open; },
        [&](bool open) { model.smbUser = open ? u"anna"_s : u""_s; },
        [&](bool open) { model.smbPassword = open ? u"x"_s : u""_s; },
        [&](bool open) { model.serverIP = open ? u"h"_s : u""_s; },
    };
    for (const auto& gate : gates) {
        gate(false);
        if (!model.isBusy)
            perform(model.autoMountIfNeeded());
        fake.time.advance(24s);
        EXPECT_EQ(mounts(), 0u);
        gate(true);
    }
    model.setupComplete = false;
    fake.files.entries["/Volumes/MOSSBOX1"] = true;
    fake.time.advance(12s);
    EXPECT_EQ(*model.mountedVolumeName, u"MOSSBOX1"_s);
}

} // namespace ternvault::test
