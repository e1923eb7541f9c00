#include "platform/linux/programs/CopyTool.h"

#include "base/UnfinishedTime.h"
#include "support/RestlessFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <tuple>
#include <unistd.h>

namespace ternvault::test {

namespace {

ProcessResult ditto(const fs::path& from, const fs::path& to) {
    return runCopyTool({QString::fromStdString(from.native()), QString::fromStdString(to.native())});
}

struct stat statusOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

auto modeAndTime(const fs::path& path) {
    const struct stat status = statusOf(path);
    return std::tuple(status.st_mode, status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
}

class CopyTool : public testing::Test {
protected:
    TemporaryFolder folder;
    const fs::path from = folder / "from";
    const fs::path to = folder / "to";
};

} // namespace

TEST_F(CopyTool, CopiesATreeWithModesTimesAttributesLinksAndHoles) {
    fs::create_directories(from / "sub/empty");
    writeFiles(from,
               {{"sub/plain", std::string(3 << 20, 'x') + "end"}, {"setuid", "#!"}, {"sparse", "head"}});
    fs::create_symlink("nowhere/at all", from / "dangling");
    constexpr off_t sparseSize = off_t{5} << 30;
    ASSERT_EQ(::truncate((from / "sparse").c_str(), sparseSize), 0);
    std::fstream(from / "sparse").seekp((off_t{3} << 30) + 17) << "middle";
    ASSERT_EQ(::setxattr((from / "sub/plain").c_str(), "user.origin", "here", 4, 0), 0);
    ASSERT_EQ(::chmod((from / "sub/plain").c_str(), 0451), 0);
    ASSERT_EQ(::chmod((from / "setuid").c_str(), 04755), 0);
    ASSERT_EQ(::chmod((from / "sub").c_str(), 0750), 0);
    const timespec times[] = {{1000000000, 1}, {1234567890, 123456789}};
    for (const char* name : {"sub/plain", "sub/empty", "sub", "dangling", "sparse", ""})
        ASSERT_EQ(::utimensat(AT_FDCWD, (from / name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);

    const ProcessResult result = ditto(from, to);
    EXPECT_EQ(result.exitStatus, 0) << result.standardError.toStdString();
    for (const char* name : {"sub/plain", "sub/empty", "sub", "dangling", "sparse", ""})
        EXPECT_EQ(modeAndTime(from / name), modeAndTime(to / name)) << name;
    EXPECT_EQ(readFile(from / "sub/plain"), readFile(to / "sub/plain"));
    EXPECT_EQ(statusOf(to / "setuid").st_mode & 07777, 0755U);
    EXPECT_EQ(fs::read_symlink(to / "dangling"), "nowhere/at all");
    std::string origin(4, '?');
    EXPECT_EQ(::getxattr((to / "sub/plain").c_str(), "user.origin", origin.data(), 4), 4);
    EXPECT_EQ(origin, "here");
    EXPECT_EQ(fs::file_size(to / "sparse"), std::uintmax_t{sparseSize});
    EXPECT_LT(statusOf(to / "sparse").st_blocks * 512, 1 << 20);
    std::ifstream copied(to / "sparse", std::ios::binary);
    std::string part(8, '?');
    copied.seekg((off_t{3} << 30) + 16).read(part.data(), 8);
    EXPECT_EQ(part, std::string("\0middle\0", 8));
}

TEST_F(CopyTool, MergesAndReplacesFilesOfTheSameNameOnly) {
    writeFiles(folder.path(), {{"from/sub/same", "new"},
                               {"from/sub/link", "a file now"},
                               {"to/sub/same", "old and longer"},
                               {"to/sub/foreign", "kept"},
                               {"outside", "kept"}});
    fs::create_symlink(folder / "outside", to / "sub/link");
    ASSERT_EQ(::chmod((to / "sub/same").c_str(), 0400), 0);
    EXPECT_EQ(ditto(from, to).exitStatus, 0);
    EXPECT_EQ(readFile(to / "sub/same"), "new");
    EXPECT_EQ(readFile(to / "sub/foreign"), "kept");
    EXPECT_EQ(readFile(folder / "outside"), "kept");
    EXPECT_EQ(readFile(to / "sub/link"), "a file now");
}

TEST_F(CopyTool, DoesNotLeaveAFileThatChangedForWhole) {
    writeFile(from, std::string(8 << 20, 'x'));
    const RestlessFile changing(from);
    std::string said;
    for (int copies = 0; said.empty() && copies < RestlessFile::copiesAtMost; ++copies)
        said = ditto(from, to).standardError.toStdString();
    EXPECT_EQ(said, from.native() + ": Changed while it was copied\n");
    EXPECT_EQ(statusOf(to).st_mtim.tv_sec, unfinishedTime.tv_sec);
}

TEST_F(CopyTool, NamesEachItemItCouldNotCopyAndCopiesTheRest) {
    fs::create_directories(from / "folder");
    writeFiles(from, {{"file", "in the way of a folder"}, {"link/item", "x"}, {"z last", "copied"}});
    writeFiles(to, {{"folder", "in the way of a file"}, {"file/precious", "kept"}});
    fs::create_directory(folder / "elsewhere");
    fs::create_directory_symlink(folder / "elsewhere", to / "link");
    ASSERT_EQ(::mkfifo((from / "pipe").c_str(), 0600), 0);
    const ProcessResult result = ditto(from, to);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError.toStdString(),
              (to / "file").native() + ": Is a directory\n" + (to / "folder").native() + ": File exists\n" +
                  (to / "link").native() + ": File exists\n" + (from / "pipe").native() +
                  ": Not a file, folder or symbolic link\n");
    EXPECT_EQ(readFile(to / "z last"), "copied");
    EXPECT_EQ(readFile(to / "file/precious"), "kept");
    EXPECT_EQ(readFile(to / "folder"), "in the way of a file");
    EXPECT_TRUE(fs::is_empty(folder / "elsewhere"));

    const ProcessResult refusal = ditto(to, to / "folder2");
    EXPECT_EQ(refusal.exitStatus, 1);
    EXPECT_EQ(refusal.standardError.toStdString(),
              (to / "folder2").native() + ": A folder cannot be copied into itself\n");
}

TEST_F(CopyTool, FailsOnAnUnreadableSourceAndAFullDestination) {
    fs::create_directories(from / "closed");
    fs::create_directory(to);
    writeFiles(from, {{"big", std::string(4 << 20, 'x')}, {"secret", "x"}});
    for (const char* name : {"secret", "closed"})
        fs::permissions(from / name, fs::perms::none);
    for (const fs::path& open : {folder.path(), to})
        fs::permissions(open, fs::perms::all);
    // In a process of its own: without the superuser's rights, and with a limit in place of a full disk.
    const pid_t child = ::fork();
    if (child == 0) {
        if (::getuid() == 0 && ::setuid(65534) != 0)
            ::_exit(2);
        const rlimit limit{1 << 20, 1 << 20};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::signal(SIGXFSZ, SIG_IGN);
        const ProcessResult result = ditto(from, to / "copy");
        writeFile(to / "said", result.standardError.toStdString());
        ::_exit(result.exitStatus);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(readFile(to / "said"), (to / "copy/big").native() + ": File too large\n" +
                                         (from / "closed").native() + ": Permission denied\n" +
                                         (from / "secret").native() + ": Permission denied\n");
    fs::permissions(from / "closed", fs::perms::owner_all);
}

} // namespace ternvault::test
