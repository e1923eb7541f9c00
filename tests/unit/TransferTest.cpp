#include "support/ModelFixture.h"
#include "support/TemporaryFolder.h"

namespace ternvault {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using Lines = std::vector<std::string>;

/// A queue over a faked volume; rsync succeeds unless the test says otherwise.
struct Transfers : test::ModelFixture {
    Transfers() {
        fake.locations.support = support.path();
        std::filesystem::create_directory(support / "Tern Vault");
        fake.files.entries = {
            {"/Volumes/MOSSBOX1", true}, {"/s/a", false}, {"/s/b", false}, {"/s/dir", true}};
        fake.processes.executables = {u"/usr/bin/rsync"_s};
    }
    TransferManager& queue() { return start().transfers; }
    /// Both programs refuse the folder, so that each attempt makes two calls.
    void failFolderCopies() {
        fake.processes.respond = [](const QStringList& call) {
            const bool refused = call.back().startsWith(u"/Volumes/MOSSBOX1/dir"_s);
            return ProcessResult{std::nullopt, refused ? 1 : 0, {}, "refused\n"};
        };
    }
    std::size_t copies() const {
        const auto& calls = fake.processes.calls;
        return static_cast<std::size_t>(
            std::count_if(calls.begin(), calls.end(), [](const QStringList& call) {
                return call[0] == u"/usr/bin/rsync"_s || call[0] == u"/usr/bin/ditto"_s;
            }));
    }
    /// The log without its time stamps, which are checked here.
    Lines log() const {
        std::ifstream file(support / "Tern Vault/transfer.log");
        Lines lines;
        for (std::string line; std::getline(file, line);) {
            EXPECT_EQ(line.substr(0, 12), "[2026-08-05T");
            EXPECT_EQ(line.substr(20, 3), "Z] ");
            lines.push_back(line.substr(23));
        }
        return lines;
    }
    test::TemporaryFolder support;
};

TEST_F(Transfers, FindsTheVolumeInOrder) {
    TransferManager& transfers = queue();
    fake.files.entries = {{"/Volumes/Films", true}, {"/Volumes/MOSS BOX", true}, {"/Volumes/MOSSBOX1", true}};
    EXPECT_EQ(transfers.resolveMountRoot(u""_s), "/Volumes/MOSSBOX1");
    fake.files.entries.erase("/Volumes/MOSSBOX1");
    EXPECT_EQ(transfers.resolveMountRoot(u"Films"_s), "/Volumes/MOSS BOX");
    fake.files.entries.erase("/Volumes/MOSS BOX");
    EXPECT_EQ(transfers.resolveMountRoot(u"Films"_s), "/Volumes/Films");
    EXPECT_EQ(transfers.resolveMountRoot(u""_s), std::nullopt);
}

TEST_F(Transfers, CopiesJobsInOrderAndTellsSo) {
    TransferManager& transfers = queue();
    EXPECT_EQ(transfers.progressLabel(), u"No transfers"_s);
    transfers.enqueue({"/s/x/../a", "/s/dir/"}, "/Volumes/MOSSBOX1");
    EXPECT_EQ(*transfers.statusLine, u"Queued 2 item(s) — app rsync starting"_s);
    EXPECT_EQ(transfers.progressLabel(), u"0/2"_s);
    transfers.enqueue({"/s/b"}, "/Volumes/MOSSBOX1");
    fake.time.run();
    EXPECT_EQ(copies(), 3u) << "the second call started no second worker";
    EXPECT_EQ(*transfers.statusLine, u"Done — 3/3 copied by the app (not Finder)"_s);
    EXPECT_FALSE(transfers.isTransferring);
    EXPECT_EQ(log(), (Lines{"Queued 2 item(s) — app rsync starting", "Queued 1 item(s) — app rsync starting",
                            "Copying a…", "OK a (0 bytes)", "Copying dir…", "OK dir (0 bytes)", "Copying b…",
                            "OK b (0 bytes)", "Done — 3/3 copied by the app (not Finder)"}));
}

TEST_F(Transfers, ReportsWhatItLeavesOutWithoutCountingIt) {
    TransferManager& transfers = queue();
    transfers.enqueue({}, "/Volumes/MOSSBOX1");
    EXPECT_FALSE(transfers.isTransferring);
    transfers.enqueue({"/s/lost+found", "/s/gone\nfile"}, "/Volumes/MOSSBOX1");
    EXPECT_EQ(*transfers.statusLine, u"Nothing to transfer"_s);
    EXPECT_EQ(*transfers.lastError, u"Missing: gone\nfile"_s);
    EXPECT_TRUE(transfers.isTransferring);
    fake.time.run();
    EXPECT_EQ(*transfers.statusLine, u"Idle"_s);
    EXPECT_EQ(transfers.totalCount + transfers.errorCount, 0);
    EXPECT_EQ(log(), (Lines{"ERROR Skipped system folder: lost+found", "ERROR Missing: gone\\nfile",
                            "Nothing to transfer", "Idle"}));
    EXPECT_EQ(fake.log.messages.front(),
              u"space.larkspur.ternvault/transfer: Skipped system folder: lost+found"_s);
}

TEST_F(Transfers, TriesFourTimesWithGrowingPausesAndGoesOn) {
    failFolderCopies();
    TransferManager& transfers = queue();
    transfers.enqueue({"/s/dir", "/s/b"}, "/Volumes/MOSSBOX1");
    const auto attempts = [this] { return copies() / 2; };
    fake.time.run();
    EXPECT_EQ(attempts(), 1u);
    fake.time.advance(699ms);
    EXPECT_EQ(attempts(), 1u);
    fake.time.advance(1ms);
    EXPECT_EQ(attempts(), 2u);
    fake.time.advance(1400ms);
    EXPECT_EQ(attempts(), 3u);
    fake.time.advance(2099ms);
    EXPECT_EQ(attempts(), 3u);
    EXPECT_EQ(*transfers.lastError, u"dir: refused"_s);
    fake.time.advance(1ms);
    EXPECT_EQ(transfers.completedCount, 1);
    EXPECT_EQ(transfers.errorCount, 1);
    EXPECT_EQ(*transfers.statusLine,
              u"Finished with errors — 1/2 · 1 error(s). See Add Files status / transfer.log"_s);
    const Lines lines = log();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "FAIL attempt 4: dir: refused"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "ERROR dir: refused"), 1);
    EXPECT_EQ(fake.log.messages.front(),
              u"space.larkspur.ternvault/transfer: attempt 1 failed: dir: refused"_s);
}

TEST_F(Transfers, ACopyThatSucceededOntoSomethingElseIsAFailure) {
    TransferManager& transfers = queue();
    fake.processes.respond = [this](const QStringList&) {
        ++fake.files.identity.mountId;
        return ProcessResult{};
    };
    transfers.enqueue({"/s/a"}, "/Volumes/MOSSBOX1");
    fake.time.advance(5s);
    EXPECT_EQ(transfers.errorCount, 1);
    EXPECT_TRUE((*transfers.lastError)->contains(u"went away"_s));
}

TEST_F(Transfers, MountsOnDemandBeforeAJobAndBetweenAttempts) {
    TransferManager& transfers = startWithAccount().transfers;
    fake.files.entries.erase("/Volumes/MOSSBOX1");
    letMountsSucceed();
    transfers.enqueue({"/s/a"}, "/Volumes/MOSSBOX1");
    fake.time.run();
    EXPECT_EQ(transfers.completedCount, 1);
    EXPECT_EQ(mounts() + copies(), 2u);

    fake.files.entries.erase("/Volumes/MOSSBOX1");
    transfers.enqueue({"/s/a"});
    fake.time.run();
    EXPECT_EQ(transfers.completedCount, 2);

    fake.files.entries.erase("/Volumes/MOSSBOX1");
    letProgramsFail("off");
    transfers.enqueue({"/s/a"});
    fake.time.run();
    EXPECT_EQ(*transfers.statusLine, u"Volume not mounted — click Mount first"_s);
    EXPECT_EQ(transfers.totalCount, 2);

    TransferManager alone(fake.platform);
    alone.enqueue({"/s/a"});
    fake.time.run();
    EXPECT_EQ(*alone.lastError, u"Volume not mounted"_s);
    EXPECT_EQ(*alone.statusLine, u"Mount Tern Vault first"_s);
}

TEST_F(Transfers, CancelLetsTheCopyInFlightEndAndTakesEachJobOnce) {
    TransferManager& transfers = queue();
    fake.securityScope.grant = true;
    fake.time.holdBackground = true;
    transfers.enqueue({"/s/a", "/s/b"}, "/Volumes/MOSSBOX1");
    fake.time.run();
    EXPECT_EQ(*transfers.currentFileName, u"a"_s);
    transfers.resetCounters();
    EXPECT_EQ(transfers.totalCount, 2) << "no reset while transferring";
    EXPECT_EQ(fake.securityScope.open.size(), 2u);
    transfers.cancel();
    EXPECT_TRUE(fake.securityScope.open.empty());
    EXPECT_EQ(*transfers.statusLine, u"Cancelled"_s);

    transfers.enqueue({"/s/dir", "/s/b"}, "/Volumes/MOSSBOX1");
    fake.time.run();
    EXPECT_EQ(fake.time.backgroundCount(), 2u) << "the old loop's copy and the new loop's first";
    fake.time.holdBackground = false;
    fake.time.run();
    EXPECT_EQ(transfers.completedCount, 3);
    EXPECT_EQ(transfers.totalCount, 4);
    EXPECT_EQ(copies(), 3u);

    fake.time.holdBackground = true;
    transfers.enqueue({"/s/a", "/s/b"}, "/Volumes/MOSSBOX1");
    fake.time.run();
    transfers.cancel();
    transfers.resetCounters();
    fake.time.holdBackground = false;
    fake.time.run();
    EXPECT_EQ(*transfers.statusLine, u"Cancelled — No transfers"_s);
}

TEST_F(Transfers, CancelDuringAPauseEndsTheJobAsAnError) {
    failFolderCopies();
    TransferManager& transfers = queue();
    transfers.enqueue({"/s/dir"}, "/Volumes/MOSSBOX1");
    fake.time.run();
    transfers.cancel();
    fake.time.advance(10s);
    EXPECT_EQ(copies(), 2u);
    EXPECT_EQ(transfers.errorCount, 1);
    EXPECT_EQ(*transfers.statusLine, u"Cancelled — 0/1 · 1 error(s)"_s);
}

TEST_F(Transfers, GoOnWithoutALog) {
    for (const auto& folder : {std::optional<std::filesystem::path>("/dev/null/x"), {}}) {
        fake.locations.support = folder;
        TransferManager& transfers = queue();
        transfers.enqueue({"/s/a"}, "/Volumes/MOSSBOX1");
        fake.time.run();
        EXPECT_EQ(transfers.completedCount, 1);
    }
}

TEST_F(Transfers, TheFilePanelQueuesWhatWasChosenAndNothingElse) {
    TransferManager& transfers = queue();
    transfers.pickAndEnqueueFiles();
    fake.filePanel.pending(std::nullopt);
    fake.time.run();
    EXPECT_EQ(transfers.totalCount, 0);
    transfers.pickAndEnqueueFiles();
    fake.filePanel.pending(std::vector<std::filesystem::path>{"/s/a"});
    fake.time.run();
    EXPECT_EQ(transfers.completedCount, 1);
    transfers.resetCounters();
    EXPECT_EQ(transfers.progressLabel(), u"No transfers"_s);
}

} // namespace
} // namespace ternvault
