#include "support/ModelFixture.h"
#include "support/TemporaryFolder.h"

namespace ternvault::test {

using Lines = std::vector<std::string>;

/// A queue over a faked volume; rsync succeeds unless the test says otherwise.
struct Transfers : ModelFixture {
    TransferManager& prepare() {
        fake.locations.support = support.path();
        std::filesystem::create_directory(support / "Tern Vault");
        fake.files.entries = {
            {"/Volumes/MOSSBOX1", true}, {"/s/a", false}, {"/s/b", false}, {"/s/dir", true}};
        return startWithAccount().transfers;
    }
    void copy(const std::vector<fs::path>& files) {
        transfers.enqueue(files, "/Volumes/MOSSBOX1");
        fake.time.run();
    }
    std::size_t copies() const {
        const auto isCopy = [](const QStringList& call) {
            return call[0].endsWith(u"rsync") || call[0].endsWith(u"ditto");
        };
        return static_cast<std::size_t>(std::ranges::count_if(fake.processes.calls, isCopy));
    }
    /// The log without its time stamps.
    Lines log() const {
        std::ifstream file(support / "Tern Vault/transfer.log");
        Lines lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line.substr(std::string("[2026-08-05T14:03:27Z] ").size()));
        return lines;
    }

    TemporaryFolder support;
    TransferManager& transfers = prepare();
};

TEST_F(Transfers, CopiesJobsInOrderAndTellsSo) {
    transfers.enqueue({"/s/x/../a", "/s/dir/"}, "/Volumes/MOSSBOX1");
    EXPECT_EQ(transfers.progressLabel(), u"0/2"_s);
    copy({"/s/b"});
    EXPECT_EQ(copies(), 3u) << "the second call started no second worker";
    EXPECT_FALSE(transfers.isTransferring);
    EXPECT_EQ(log(), (Lines{"Queued 2 item(s) — app rsync starting", "Queued 1 item(s) — app rsync starting",
                            "Copying a…", "OK a (0 bytes)", "Copying dir…", "OK dir (0 bytes)", "Copying b…",
                            "OK b (0 bytes)", "Done — 3/3 copied by the app (not Finder)"}));
}

TEST_F(Transfers, ReportsWhatItLeavesOutWithoutCountingIt) {
    transfers.enqueue({"/s/lost+found", "/s/gone\nfile"}, "/Volumes/MOSSBOX1");
    EXPECT_EQ(*transfers.lastError, u"Missing: gone\nfile"_s);
    fake.time.run();
    EXPECT_EQ(transfers.totalCount + transfers.errorCount, 0);
    EXPECT_EQ(log(), (Lines{"ERROR Skipped system folder: lost+found", "ERROR Missing: gone\\nfile",
                            "Nothing to transfer", "Idle"}));
}

TEST_F(Transfers, TriesFourTimesWithGrowingPausesAndGoesOn) {
    // Both programs refuse the folder, so that each attempt makes two calls.
    fake.processes.respond = [](const QStringList& call) {
        const bool refused = call.back().startsWith(u"/Volumes/MOSSBOX1/dir"_s);
        return ProcessResult{std::nullopt, refused ? 1 : 0, {}, "refused\n"};
    };
    transfers.enqueue({"/s/dir", "/s/b"}, "/Volumes/MOSSBOX1");
    const auto attempts = [this] { return copies() / 2; };
    fake.time.run();
    for (const std::size_t expected : {1u, 2u, 3u}) {
        fake.time.advance(700ms * expected - 1ms);
        EXPECT_EQ(attempts(), expected);
        fake.time.advance(1ms);
    }
    EXPECT_EQ(attempts(), 4u);
    EXPECT_EQ(*transfers.lastError, u"dir: refused"_s);
    EXPECT_EQ(transfers.completedCount, 1);
    EXPECT_EQ(transfers.errorCount, 1);
    EXPECT_EQ(*transfers.statusLine,
              u"Finished with errors — 1/2 · 1 error(s). See Add Files status / transfer.log"_s);
    const Lines lines = log();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "FAIL attempt 4: dir: refused"), 1);
}

TEST_F(Transfers, ACopyThatSucceededOntoSomethingElseIsAFailure) {
    fake.processes.respond = [this](const QStringList&) {
        ++fake.files.identity.mountId;
        return ProcessResult{};
    };
    transfers.enqueue({"/s/a"}, "/Volumes/MOSSBOX1");
    fake.time.advance(5s);
    EXPECT_EQ(transfers.errorCount, 1);
    EXPECT_TRUE((*transfers.lastError)->contains(u"went away"_s));
}

TEST_F(Transfers, AnAttemptWaitsForItsTurnAndSaysSo) {
    QStringList notes;
    const Subscription watch =
        transfers.objectWillChange.subscribe([&] { notes += transfers.waitingNote->value_or(QString()); });
    fake.copyTurns.busy = 3;
    copy({"/s/a"});
    EXPECT_EQ(transfers.completedCount, 1);
    EXPECT_EQ(fake.copyTurns.asked, std::vector<fs::path>(4, "/Volumes/MOSSBOX1"));
    EXPECT_TRUE(notes.contains(u"Another copy onto this volume is under way; waiting for it to end"_s));
    EXPECT_EQ(*transfers.waitingNote, std::nullopt);
    EXPECT_EQ(log(), (Lines{"Queued 1 item(s) — app rsync starting", "Copying a…", "OK a (0 bytes)",
                            "Done — 1/1 copied by the app (not Finder)"}));

    fake.copyTurns.busy = 2;
    fake.copyTurns.onBusy = [this] { transfers.cancel(); };
    copy({"/s/a"});
    EXPECT_EQ(transfers.errorCount, 1);
    EXPECT_EQ(*transfers.statusLine, u"Cancelled — 1/2 · 1 error(s)"_s);
    EXPECT_EQ(fake.copyTurns.asked.size(), 5u);
}

TEST_F(Transfers, NoWayToTheDestinationMeansNoCopy) {
    using enum EntryKind;
    const std::tuple<const char*, EntryKind, const char*, const char*> rows[] = {
        {".", link, "/s/a", "a: The volume: a link is in the way"},
        {"sub/dir", link, "/s/dir", "dir: sub/dir: a link is in the way"},
        {"sub/dir", elsewhere, "/s/dir", "dir: sub/dir: something else is mounted there"},
        {"sub", link, "/s/a", "a: sub: a link is in the way"},
        {"sub", none, "/s/a", "a: sub: the folder is not there any more"},
    };
    for (const auto& [part, kind, item, error] : rows) {
        fake.files.kinds = {{part, kind}};
        transfers.enqueue({item}, "/Volumes/MOSSBOX1", "sub");
        fake.time.advance(5s);
        EXPECT_EQ(*transfers.lastError, QString::fromUtf8(error));
        EXPECT_FALSE(fake.files.entries.contains("/Volumes/MOSSBOX1/sub"));
    }
    EXPECT_EQ(copies(), 0u);
    fake.files.kinds = {{"sub/a", link}};
    transfers.enqueue({"/s/a"}, "/Volumes/MOSSBOX1", "sub");
    fake.time.run();
    EXPECT_EQ(fake.processes.calls.back().back(), u"/Volumes/MOSSBOX1/sub/a"_s) << "it replaces a link";
}

TEST_F(Transfers, MountsOnDemandBeforeAJobAndBetweenAttempts) {
    fake.files.entries.erase("/Volumes/MOSSBOX1");
    letMountsSucceed();
    copy({"/s/a"});
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
}

TEST_F(Transfers, CancelLetsTheCopyInFlightEndAndTakesEachJobOnce) {
    fake.securityScope.grant = true;
    fake.time.holdBackground = true;
    copy({"/s/a", "/s/b"});
    transfers.resetCounters();
    EXPECT_EQ(transfers.totalCount, 2) << "no reset while transferring";
    EXPECT_EQ(fake.securityScope.open.size(), 2u);
    transfers.cancel();
    EXPECT_TRUE(fake.securityScope.open.empty());
    copy({"/s/dir", "/s/b"});
    EXPECT_EQ(fake.time.backgroundCount(), 2u) << "the old loop's copy and the new loop's first";
    fake.time.holdBackground = false;
    fake.time.run();
    EXPECT_EQ(transfers.completedCount, 3);
    EXPECT_EQ(transfers.totalCount, 4);
    EXPECT_EQ(copies(), 3u);
}

TEST_F(Transfers, GoOnWithoutALog) {
    for (const auto& folder : {std::optional<std::filesystem::path>("/dev/null/x"), {}}) {
        fake.locations.support = folder;
        TransferManager& unlogged = start().transfers;
        unlogged.enqueue({"/s/a"}, "/Volumes/MOSSBOX1");
        fake.time.run();
        EXPECT_EQ(unlogged.completedCount, 1);
    }
}

} // namespace ternvault::test
