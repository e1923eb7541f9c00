#include "platform/linux/programs/DiskUtility.h"
#include "platform/linux/programs/MountPoints.h"
#include "platform/linux/programs/MountVolumeScript.h"
#include "support/RealPC.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ternvault::test {

constexpr std::time_t tooOldForAnyFile = 50'000'000;
/// volume/LostWrites.h
constexpr std::time_t unfinishedTime = 34'567'890;

class Volume : public RealPC {
protected:
    Volume() { fs::create_directory(state); }
    ~Volume() override { utility({u"unmount"_s, u"force"_s, path(volume())}); }

    ProcessResult mount(const std::string& share = "MOSSBOX1") const {
        auto url = QString::fromStdString("smb://" + read("user") + ":" + read("password") + "@" +
                                          read("address") + "/" + share);
        const MountVolumeScript script({QStringLiteral(TERNVAULT_VOLUME), volumes.path(), state});
        return script({u"-e"_s, u"mount volume \""_s + url.replace(u"\""_s, u"\\\""_s) + u"\""_s});
    }
    /// What the queue runs; the names of the items that were sent.
    std::string rsync(const fs::path& from, const fs::path& to, int wantedStatus = 0) const {
        const auto outcome =
            run(u"/usr/bin/rsync"_s, {u"-a"_s, u"--partial"_s, u"--inplace"_s, u"--no-owner"_s,
                                      u"--no-group"_s, u"--out-format=%i %n"_s, path(from), path(to)});
        EXPECT_EQ(outcome.status, wantedStatus) << outcome.errors;
        return outcome.output;
    }
    static std::time_t modified(const fs::path& file) {
        struct stat status {};
        return ::stat(file.c_str(), &status) == 0 ? status.st_mtime : -1;
    }
    static void setModified(const fs::path& file, std::time_t time) {
        const timespec times[] = {{time, 0}, {time, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    }
    static int errorOf(long result) { return result < 0 ? errno : 0; }

    const fs::path state = home / "state";
    const DiskUtility utility{state};
};

TEST_F(Volume, ALostWritePoisonsItsFileUntilItIsWrittenAnew) {
    ASSERT_EQ(mount().exitStatus, 0);
    const std::string bytes(3'000'000, 'x');
    writeFile(source / "item", bytes);
    const int file = ::open((volume() / "item").c_str(), O_WRONLY | O_CREAT, 0644);
    const int other = ::open((volume() / "item").c_str(), O_WRONLY);
    ASSERT_EQ(::write(file, bytes.data(), 1'000'000), 1'000'000);
    ASSERT_EQ(::ftruncate(file, 3'000'000), 0);
    ASSERT_EQ(::fsync(file), 0);
    server("pause");
    ASSERT_EQ(::write(file, bytes.data(), 1'000'000), 1'000'000);
    server("kill");
    const int reason = errorOf(::fsync(file));
    EXPECT_NE(reason, 0);
    server("start");
    ASSERT_TRUE(eventually([] { return modified(served("item")) < tooOldForAnyFile; }, 10s));

    const timespec times[] = {{modified(source / "item"), 0}, {modified(source / "item"), 0}};
    for (const int handle : {file, other}) {
        EXPECT_EQ(errorOf(::write(handle, bytes.data(), 10)), reason);
        EXPECT_EQ(errorOf(::futimens(handle, times)), reason);
        EXPECT_EQ(errorOf(::fsync(handle)), reason);
        EXPECT_EQ(errorOf(::close(handle)), reason);
    }
    EXPECT_EQ(errorOf(::utimensat(AT_FDCWD, (volume() / "item").c_str(), times, 0)), reason);
    EXPECT_LT(modified(served("item")), tooOldForAnyFile);
    EXPECT_LT(modified(volume() / "item"), tooOldForAnyFile);
    EXPECT_EQ(fs::file_size(served("item")), bytes.size());
    EXPECT_NE(rsync(source / "item", volume() / "item"), "");
    EXPECT_EQ(readFile(served("item")), bytes);
    EXPECT_EQ(rsync(source / "item", volume() / "item"), "");
}

/// Each time the source gets the very second that the server gave to what was cut short.
TEST_F(Volume, WhatIsCutShortInTheMidstOfAnOverwriteIsNeverTakenForComplete) {
    const std::string old(3'000'000, 'o'), fresh(3'000'000, 'n');
    const auto cutShort = [&](const char* what, bool isMarked, const std::function<void(int file)>& fault) {
        SCOPED_TRACE(what);
        ASSERT_EQ(mount().exitStatus, 0);
        writeFile(volume() / "item", old);
        if (isMarked)
            setModified(volume() / "item", unfinishedTime);
        const int file = ::open((volume() / "item").c_str(), O_WRONLY);
        ASSERT_GT(::pwrite(file, fresh.data(), fresh.size() / 2, 0), 0);
        ASSERT_TRUE(
            eventually([&] { return readFile(served("item")).starts_with(fresh.substr(0, 1'000'000)); }, 5s));
        fault(file);
        writeFile(source / "item", fresh);
        if (const auto stamp = modified(served("item")); stamp != unfinishedTime)
            setModified(source / "item", stamp);
        ASSERT_EQ(mount().exitStatus, 0);
        EXPECT_NE(rsync(source / "item", volume() / "item"), "");
        EXPECT_TRUE(readFile(served("item")) == fresh);
        EXPECT_EQ(rsync(source / "item", volume() / "item"), "");
        EXPECT_EQ(utility({u"unmount"_s, path(volume())}).exitStatus, 0);
    };
    const auto killed = [&](bool keepers) {
        return [&, keepers](int file) {
            for (const pid_t process : volumeProcesses(keepers))
                ::kill(process, SIGKILL);
            ::close(file);
            ASSERT_TRUE(eventually([] { return volumeProcesses(true).empty(); }, 5s) || !keepers);
            ASSERT_TRUE(eventually([] { return modified(served("item")) > tooOldForAnyFile; }, 5s));
        };
    };
    cutShort("daemon", false, killed(false));
    cutShort("daemon and keeper", false, killed(true));
    cutShort("both, of a marked file", true, killed(true));
    // What a copy program that is killed leaves to its volume: a file that was closed in good order.
    cutShort("who writes", true, [](int file) {
        ::close(file);
        EXPECT_TRUE(eventually([] { return modified(served("item")) == unfinishedTime; }, 5s));
    });
}

TEST_F(Volume, ARefusedTimeCostsNothingElse) {
    ASSERT_EQ(mount().exitStatus, 0);
    writeFile(served("foreign"), "of somebody else");
    fs::create_directory(volume() / "folder");
    const int file = ::open((volume() / "item").c_str(), O_WRONLY | O_CREAT, 0644);
    const timespec times[] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    for (int i = 0; i < 2; ++i) {
        EXPECT_NE(errorOf(::utimensat(AT_FDCWD, (volume() / "foreign").c_str(), times, 0)), 0);
        EXPECT_EQ(errorOf(::utimensat(AT_FDCWD, (volume() / "folder").c_str(), times, 0)), 0);
    }
    EXPECT_EQ(modified(served("folder")), 1'000'000'000);
    EXPECT_EQ(::write(file, "x", 1), 1);
    EXPECT_EQ(errorOf(::close(file)), 0);
}

TEST_F(Volume, ALossKeepsItsReason) {
    ASSERT_EQ(::mount("small", served().c_str(), "tmpfs", 0, "size=4m,mode=1777"), 0);
    ASSERT_EQ(mount().exitStatus, 0);
    const std::string bytes(9'000'000, 'x');
    const int file = ::open((volume() / "item").c_str(), O_WRONLY | O_CREAT, 0644);
    (void)!::write(file, bytes.data(), bytes.size());
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(errorOf(::fsync(file)), ENOSPC);
    EXPECT_EQ(errorOf(::write(file, "x", 1)), ENOSPC);
    EXPECT_EQ(errorOf(::close(file)), ENOSPC);
    EXPECT_EQ(utility({u"unmount"_s, path(volume())}).exitStatus, 0);
    EXPECT_EQ(::umount2(served().c_str(), MNT_DETACH), 0);
}

TEST_F(Volume, TwoHandlesOfOneFileWriteInOrder) {
    ASSERT_EQ(mount().exitStatus, 0);
    const int one = ::open((volume() / "item").c_str(), O_WRONLY | O_CREAT, 0644);
    const int other = ::open((volume() / "item").c_str(), O_WRONLY);
    server("pause");
    EXPECT_EQ(::pwrite(one, "first", 5, 100), 5);
    EXPECT_EQ(::pwrite(other, "older", 5, 0), 5);
    EXPECT_EQ(::pwrite(one, "newer", 5, 0), 5);
    server("resume");
    EXPECT_EQ(::close(one), 0);
    EXPECT_EQ(::close(other), 0);
    EXPECT_EQ(readFile(served("item")).substr(0, 5), "newer");
}

TEST_F(Volume, WhatWasForbiddenOnceWorksAgainWhenItIsAllowed) {
    ASSERT_EQ(mount().exitStatus, 0);
    ASSERT_TRUE(fs::create_directory(volume() / "folder"));
    const timespec times[] = {{1'500'000'000, 0}, {1'500'000'000, 0}};
    const auto setTimes = [&] {
        return errorOf(::utimensat(AT_FDCWD, (volume() / "folder").c_str(), times, 0));
    };
    ASSERT_EQ(::chmod(served().c_str(), 0), 0);
    EXPECT_NE(setTimes(), 0);
    ASSERT_EQ(::chmod(served().c_str(), 0777), 0);
    EXPECT_TRUE(eventually([&] { return setTimes() == 0; }, 10s));
    EXPECT_EQ(modified(served("folder")), 1'500'000'000);
}

TEST_F(Volume, RsyncSendsNothingTwice) {
    ASSERT_EQ(mount().exitStatus, 0);
    const fs::path tree = source / "tree";
    fs::create_directories(tree / "sub");
    writeFile(tree / "big", std::string(5'000'000, 'b'));
    writeFile(tree / "sub/changed", "old");
    fs::permissions(tree / "sub/changed", fs::perms::owner_read);
    fs::create_symlink("/nowhere", tree / "sub/dangling");
    rsync(tree / "", volume() / "copy/");
    EXPECT_EQ(difference(tree, volume() / "copy"), "");
    std::this_thread::sleep_for(3s); // nothing is remembered any more
    EXPECT_EQ(rsync(tree / "", volume() / "copy/"), "");
}

TEST_F(Volume, AnotherSpellingNeverOverwrites) {
    ASSERT_EQ(mount().exitStatus, 0);
    writeFile(volume() / "name", "one");
    writeFile(volume() / "other", "two");
    EXPECT_EQ(errorOf(::open((volume() / "NAME").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644)), EEXIST);
    EXPECT_EQ(errorOf(::rename((volume() / "other").c_str(), (volume() / "Name").c_str())), EEXIST);
    EXPECT_EQ(readFile(served("name")), "one");
    EXPECT_EQ(errorOf(::rename((volume() / "other").c_str(), (volume() / "name").c_str())), 0);
    EXPECT_EQ(errorOf(::rename((volume() / "name").c_str(), (volume() / "Name").c_str())), 0);
    EXPECT_EQ(readFile(served("Name")), "two");
}

TEST_F(Volume, NamesThatTheProtocolReservesAreNamesLikeOthers) {
    ASSERT_EQ(mount().exitStatus, 0);
    const std::set<std::string> names{"aux.h", "Con",         "prn.txt", "com1",
                                      "COM5",  "lpt4.tar.gz", "aux.",    "nul "};
    for (const char* round : {"one", "longer"}) {
        for (const auto& name : names) {
            writeFile(source / name, round + name);
            EXPECT_NE(rsync(source / name, volume() / name), "");
            EXPECT_EQ(readFile(volume() / name), round + name);
        }
        std::this_thread::sleep_for(3s); // nothing is remembered any more
    }
    writeFile(served("aux.c"), "of the PC's own");
    std::set<std::string> shown;
    for (const auto& entry : fs::directory_iterator(volume()))
        shown.insert(entry.path().filename());
    EXPECT_TRUE(std::ranges::includes(shown, names));
    EXPECT_EQ(shown.size(), names.size() + 1);
    for (const auto& name : shown)
        EXPECT_EQ(readFile(volume() / name), names.contains(name) ? "longer" + name : "of the PC's own");
}

TEST_F(Volume, AForcedUnmountStopsWritingAndLeavesNothing) {
    ASSERT_EQ(mount().exitStatus, 0);
    const int file = ::open((volume() / "item").c_str(), O_WRONLY | O_CREAT, 0644);
    const std::string bytes(4'000'000, 'x');
    ASSERT_GT(::write(file, bytes.data(), bytes.size()), 0);
    EXPECT_EQ(utility({u"unmount"_s, path(volume())}).exitStatus, 1);
    EXPECT_EQ(utility({u"unmount"_s, u"force"_s, path(volume())}).exitStatus, 0);
    EXPECT_TRUE(isVolumesRootEmpty());
    EXPECT_TRUE(readFile(served("item")) == bytes) << "what was written is let go to the server";
    EXPECT_TRUE(eventually([] { return volumeProcesses(true).empty(); }, 2s));
    EXPECT_NE(errorOf(::write(file, bytes.data(), bytes.size())), 0);
    ::close(file);
    EXPECT_EQ(utility({u"unmount"_s, path(volume())}).exitStatus, 1) << "there is none any more";
}

TEST_F(Volume, LeftoversAreRecognisedAndReapedButNothingOfOthers) {
    const auto killAll = [] {
        for (const pid_t process : volumeProcesses(true))
            ::kill(process, SIGKILL);
        return eventually([] { return volumeProcesses(true).empty(); }, 5s);
    };
    ASSERT_EQ(mount().exitStatus, 0);
    EXPECT_FALSE(isPlaceholder(volume()));
    ASSERT_TRUE(killAll());
    ASSERT_TRUE(isMountPoint(volume()));
    ASSERT_EQ(mount().exitStatus, 0) << "over a dead mount";
    const pid_t daemon = stopDaemonWithoutKeeper();
    EXPECT_EQ(utility({u"unmount"_s, path(volume())}).exitStatus, 1) << "its program does not end";
    EXPECT_EQ(utility({u"unmount"_s, u"force"_s, path(volume())}).exitStatus, 0);
    EXPECT_TRUE(isVolumesRootEmpty() && !ProcessIdentity::of(daemon).isAlive());
    ASSERT_EQ(mount().exitStatus, 0);
    ASSERT_TRUE(killAll());
    ASSERT_EQ(::umount2(volume().c_str(), MNT_DETACH), 0);
    EXPECT_TRUE(isPlaceholder(volume()));
    fs::create_directory(volumes / "READONLY");
    EXPECT_EQ(mount("READONLY").exitStatus, 1);
    EXPECT_FALSE(fs::exists(volume()));
    EXPECT_TRUE(fs::exists(volumes / "READONLY"));
}

TEST_F(Volume, AProcessThatEndedIsNotAliveEvenUnasked) {
    const pid_t child = ::fork();
    if (child == 0)
        ::pause();
    const auto identity = ProcessIdentity::of(child);
    EXPECT_TRUE(identity.isAlive() && !identity.awaitEnd(0ms));
    identity.signal(SIGKILL);
    EXPECT_TRUE(identity.awaitEnd(5s) && !identity.isAlive());
    ::waitpid(child, nullptr, 0);
}

} // namespace ternvault::test
