#include "transfer/CopyEngines.h"
#include "platform/linux/LinuxFileManager.h"
#include "support/FakePlatform.h"
#include "support/TemporaryFolder.h"
#include "transfer/ChunkedCopy.h"
#include "transfer/TransferError.h"

#include <gtest/gtest.h>

namespace ternvault::test {

/// Real files, faked programs.
struct CopyEnginesTest : testing::Test {
    CopyEnginesTest() { processes.executables = {u"/usr/bin/rsync"_s}; }

    TemporaryFolder folder;
    fs::path source = folder.path() / "from" / "a";
    fs::path target = folder.path() / "root" / "volume" / "a";
    LinuxFileManager files{folder.path() / "root"};
    FakeProcesses processes;
    CopyEngines engines{files, processes};

    void SetUp() override {
        fs::create_directories(source.parent_path());
        fs::create_directories(target.parent_path());
        writeFile(source, "content");
    }
    static QString text(const fs::path& path) { return QString::fromStdString(path.string()); }
    void failEverything(const char* reason = "") {
        processes.respond = [reason](const QStringList&) {
            return ProcessResult{std::nullopt, 5, {}, reason};
        };
    }
    int errorCode(bool isDirectory) {
        return codeOf([&] { engines.rsyncCopy(source, target, isDirectory); });
    }
    /// Of the error that it ends with: ours, or the negative one of the system.
    int codeOf(const std::function<void()>& copy) {
        try {
            copy();
        } catch (const TransferError& error) {
            message = error.what();
            return error.code();
        } catch (const std::system_error& error) {
            message = error.what();
            return -error.code().value();
        }
        return 0;
    }
    std::string message;
};

TEST_F(CopyEnginesTest, RunsTheFirstRsyncAndSpellsFoldersWithASlash) {
    processes.executables.insert(u"/opt/homebrew/bin/rsync"_s);
    for (const bool isDirectory : {false, true}) {
        const fs::path from = isDirectory ? source.parent_path() / "" : source;
        engines.rsyncCopy(from, target, isDirectory);
        const QStringList& call = processes.calls.back();
        EXPECT_EQ(call.first(), u"/opt/homebrew/bin/rsync"_s);
        EXPECT_EQ(call.mid(call.size() - 2),
                  (QStringList{text(from), text(isDirectory ? target / "" : target)}));
        EXPECT_EQ(fs::is_directory(target), isDirectory) << "made before rsync runs";
    }
}

TEST_F(CopyEnginesTest, FallsFromRsyncToTheCopyToolToChunks) {
    writeFile(target, "partial from rsync");
    processes.respond = [this](const QStringList& call) {
        if (call[0] != u"/usr/bin/ditto"_s)
            return ProcessResult{std::nullopt, 23, {}, {}};
        EXPECT_FALSE(fs::exists(target)) << "the copy tool starts afresh";
        writeFile(target, "from ditto");
        return ProcessResult{};
    };
    EXPECT_EQ(engines.rsyncCopy(source, target, false), 10);

    failEverything();
    EXPECT_EQ(engines.rsyncCopy(source, target, false), 7);
    EXPECT_EQ(readFile(target), "content");

    processes.executables.clear();
    writeFile(source, "");
    EXPECT_EQ(engines.rsyncCopy(source, target, false), 0);
    EXPECT_TRUE(fs::exists(target));
}

TEST_F(CopyEnginesTest, AFolderThatNoToolCopiesIsAnErrorOfTheCopyTool) {
    source = source.parent_path();
    writeFile(target.parent_path() / "kept", "x");
    failEverything(" no room \n");
    EXPECT_EQ(errorCode(true), 5);
    EXPECT_EQ(message, "no room");
    processes.respond = [](const QStringList&) { return ProcessResult{u"cannot start"_s, 0, {}, {}}; };
    EXPECT_EQ(errorCode(true), 127);
    EXPECT_EQ(readFile(target.parent_path() / "kept"), "x");
}

TEST_F(CopyEnginesTest, NeverMakesAnEntryDirectlyUnderTheVolumesRoot) {
    fs::remove_all(target.parent_path());
    EXPECT_EQ(errorCode(false), -ENOENT);
    EXPECT_EQ(errorCode(true), -ENOENT);
    EXPECT_TRUE(processes.calls.empty());
    EXPECT_FALSE(fs::exists(target.parent_path()));
}

TEST_F(CopyEnginesTest, WhatIsOnTheVolumeOutlivesACopyThatCannotSucceed) {
    writeFile(target, "earlier copy");
    failEverything();
    fs::remove(source);
    EXPECT_EQ(errorCode(false), -ENOENT);
    ASSERT_EQ(::mkfifo(source.c_str(), 0600), 0);
    EXPECT_EQ(errorCode(false), -ENOTSUP);
    EXPECT_EQ(readFile(target), "earlier copy");

    fs::remove(target);
    fs::create_directories(target / "folder of that name");
    processes.calls.clear();
    EXPECT_EQ(errorCode(false), -EISDIR);
    source = source.parent_path() / "no text \xff";
    EXPECT_EQ(errorCode(false), -EILSEQ);
    EXPECT_TRUE(processes.calls.empty());
    EXPECT_TRUE(fs::exists(target / "folder of that name"));
}

TEST_F(CopyEnginesTest, AnItemCopiedOntoItselfIsKept) {
    target = source;
    failEverything();
    EXPECT_EQ(errorCode(false), -EEXIST);
    EXPECT_EQ(readFile(source), "content");
}

TEST_F(CopyEnginesTest, ChunksFailWithTheirOwnErrorsAndReplaceWhatIsThere) {
    writeFile(source, std::string(3 * 1024 * 1024 + 5, 'x'));
    writeFile(target, "old");
    chunkedCopy(files, source, target);
    EXPECT_EQ(readFile(target), readFile(source));

    const fs::path nowhere = target.parent_path() / "no" / "a";
    EXPECT_EQ(codeOf([&] { chunkedCopy(files, source, nowhere); }), 1);
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(codeOf([&] { chunkedCopy(files, folder / "pipe", target); }), -ENOTSUP)
        << "and at once, though nobody writes to it";
}

} // namespace ternvault::test
