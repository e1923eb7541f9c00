#include "transfer/CopyEngines.h"
#include "base/FileState.h"
#include "base/UnfinishedTime.h"
#include "platform/linux/LinuxFileManager.h"
#include "support/FakePlatform.h"
#include "support/RestlessFile.h"
#include "support/TemporaryFolder.h"
#include "transfer/ChunkedCopy.h"
#include "transfer/TransferError.h"

#include <gtest/gtest.h>

namespace ternvault::test {

/// Real files, faked programs.
struct CopyEnginesTest : testing::Test {
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
    static void setTime(const fs::path& file, timespec time) {
        const timespec times[] = {time, time};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }
    static bool isUnfinished(const fs::path& file) {
        struct stat status {};
        EXPECT_EQ(::lstat(file.c_str(), &status), 0) << file;
        return isSameTime(status.st_mtim, unfinishedTime);
    }
    std::string message;
};

TEST_F(CopyEnginesTest, WhatRsyncOverwritesInPlaceSaysThatItIsUnfinished) {
    const fs::path sub = target / "sub";
    const std::tuple<const char*, const char*, timespec, bool> rows[] = {
        {"same", "CONTENT", {1'600'000'000, 123'456'000}, false},
        {"same second", "CONTENT", {1'600'000'000, 123'455'000}, true},
        {"cut to 10 ms", "CONTENT", {1'600'000'000, 120'000'000}, false},
        {"whole seconds", "CONTENT", {1'600'000'000, 0}, false},
        {"other second", "CONTENT", {1'600'000'001, 123'456'000}, true},
        {"other length", "CON", {1'600'000'000, 0}, false},
        {"._left out", "CONTENT", {1'500'000'000, 0}, false},
        {"lost+found", "CONTENT", {1'500'000'000, 0}, false},
    };
    source = source.parent_path();
    fs::create_directories(source / "sub");
    fs::create_directories(sub);
    for (const auto& [name, content, time, isMarked] : rows) {
        writeFile(source / "sub" / name, "content");
        setTime(source / "sub" / name, {1'600'000'000, 123'456'789});
        writeFile(sub / name, content);
        setTime(sub / name, time);
    }
    writeFile(source / "sub/fresh", "content");
    fs::create_symlink(source / "sub/same second", source / "sub/link");
    writeFile(sub / "link", "content");
    writeFile(folder / "outside", "content");
    fs::create_symlink(folder / "outside", sub / "fresh");
    processes.respond = [&](const QStringList&) {
        for (const auto& [name, content, time, isMarked] : rows)
            EXPECT_EQ(isUnfinished(sub / name), isMarked) << name;
        return ProcessResult{};
    };
    engines.rsyncCopy(source, target, true);
    EXPECT_FALSE(isUnfinished(sub / "link") || isUnfinished(folder / "outside"));

    setTime(sub / "same second", {1'600'000'000, 5'000});
    processes.respond = {};
    source = source / "sub/same second";
    target = sub / "same second";
    EXPECT_EQ(errorCode(false), TransferError::notCopied) << "rsync, which is faked, left it as it was";
    EXPECT_TRUE(isUnfinished(target));
}

TEST_F(CopyEnginesTest, AFileCutShortIsNotCopiedAndOneSavedMeanwhileIsAsRsyncHasIt) {
    const std::tuple<const char*, timespec, timespec, int> rows[] = {
        {"content", {1'600'000'000, 1}, {1'600'000'000, 0}, 0},
        {"CONTENT", {1'600'000'000, 2}, {1'600'000'000, 0}, 0},
        {"longer content", {1'600'000'000, 2}, {1'600'000'000, 0}, 0},
        {"content", {1'600'000'000, 1}, unfinishedTime, TransferError::notCopied},
    };
    for (const auto& [saved, time, arrived, expected] : rows) {
        writeFile(source, "content");
        setTime(source, {1'600'000'000, 1});
        processes.respond = [&](const QStringList&) {
            writeFile(target, "content");
            setTime(target, arrived);
            writeFile(source, saved);
            setTime(source, time);
            return ProcessResult{};
        };
        EXPECT_EQ(errorCode(false), expected) << saved << time.tv_sec;
    }
    processes.respond = [&](const QStringList&) {
        writeFile(target, "cut");
        return ProcessResult{};
    };
    EXPECT_EQ(errorCode(false), TransferError::notCopied);
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
    EXPECT_EQ(codeOf([&] { engines.rsyncCopy(target, target, false); }), -EEXIST) << "onto itself";
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

TEST_F(CopyEnginesTest, ChunksFailWithTheirOwnErrorsAndReplaceWhatIsThere) {
    writeFile(source, std::string(3 * 1024 * 1024 + 5, 'x'));
    writeFile(target, "old");
    chunkedCopy(files, source, target);
    EXPECT_EQ(readFile(target), readFile(source));

    {
        const RestlessFile changing(source);
        int code = 0;
        for (int copies = 0; code == 0 && copies < RestlessFile::copiesAtMost; ++copies)
            code = codeOf([&] { chunkedCopy(files, source, target); });
        EXPECT_EQ(code, TransferError::notCopied);
        EXPECT_TRUE(isUnfinished(target));
    }
    fs::remove(target);
    fs::create_symlink(folder / "elsewhere", target);
    chunkedCopy(files, source, target);
    EXPECT_FALSE(fs::exists(folder / "elsewhere") || fs::is_symlink(target));

    const fs::path nowhere = target.parent_path() / "no" / "a";
    EXPECT_EQ(codeOf([&] { chunkedCopy(files, source, nowhere); }), 1);
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(codeOf([&] { chunkedCopy(files, folder / "pipe", target); }), -ENOTSUP)
        << "and at once, though nobody writes to it";
}

} // namespace ternvault::test
