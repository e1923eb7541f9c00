#include "support/TemporaryFolder.h"
#include "volume/DirectoryCache.h"
#include "volume/LostWrites.h"
#include "volume/MountFailure.h"
#include "volume/MountUrl.h"
#include "volume/NameMapping.h"
#include "volume/OverwriteJournal.h"
#include "volume/SymlinkFile.h"
#include "volume/WriteBehind.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <random>
#include <stdexcept>
#include <system_error>

namespace ternvault::volume {

TEST(MountUrl, IsReadFromItsOuterSeparators) {
    const std::vector<std::string> cases[] = {
        {"smb://u:p@h/s", "u", "p", "h", "s"},
        {"smb://u:p@ss:w/o\"r\\d #%?@10.0.0.2/My Share", "u", "p@ss:w/o\"r\\d #%?", "10.0.0.2", "My Share"},
        {"smb://ü:@h/a@b", "ü", "", "h", "a@b"},
        {"smb://u:p@[fe80::1]/s", "u", "p", "fe80::1", "s"},
    };
    for (const auto& parts : cases) {
        const auto url = parseMountUrl(parts[0]);
        EXPECT_EQ((std::vector{parts[0], url.user, url.password, url.host, url.share}), parts);
    }
    const std::string tooLong = "smb://u:" + std::string(256, 'p') + "@h/s";
    for (const std::string text :
         {"", "smb://u:p@h", "smb://h/s", "smb://u:p@/s", "smb://:p@h/s", "smb://u:p@h/..", tooLong.c_str()})
        EXPECT_THROW(parseMountUrl(text), std::invalid_argument) << text;
}

TEST(NameMapping, KeepsEveryNameOrRefusesIt) {
    EXPECT_EQ(toServerName("a:b*?\"<>|\\"), "a\uF022b\uF021\uF025\uF020\uF023\uF024\uF027\uF026");
    EXPECT_EQ(toServerName("a. b. ."), "a. b. \uF029");
    for (const char* name :
         {"plain", ".hidden", "grüße — 東京", "👨‍👩‍👧", "a:b*?\"<>|\\\n ", "dots..", "\x01"})
        EXPECT_EQ(toLocalName(toServerName(name).value()), name);
    for (const char* name : {"\xff", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "cut\xe2\x82", "\uF022"})
        EXPECT_FALSE(toServerName(name)) << name;
    EXPECT_TRUE(equalIgnoringCase("Name", "nAME"));
}

TEST(NameMapping, KeepsDeviceNamesUnderAnotherFirstLetterAndNeverTwoNamesAsOne) {
    EXPECT_EQ(toServerName("aux.h"), "\uF061ux.h");
    EXPECT_EQ(toServerName("CON"), "\uF043ON");
    EXPECT_EQ(toServerName("aux."), "\uF061ux\uF029");
    for (const char* name : {"aux1", "auxiliary.h", "com5", "com0", "com", ".aux", "\uF061bc"})
        EXPECT_EQ(toServerName(name), name);
    EXPECT_FALSE(toServerName("\uF061ux.h"));
    EXPECT_EQ(toLocalName("A1B2~3.H"), "A1B2~3.H");

    std::mt19937 random(1);
    const std::string_view pieces[] = {"aux", "Con", "nUl", "prn", "com", "LPT", "1",      "5",      ".",
                                       "h",   ".",   " ",   ":",   "\n",  "é",   "\uF061", "\uF022", "/"};
    std::map<std::string, std::string> kept;
    for (int i = 0; i < 20'000; ++i) {
        std::string name;
        for (auto length = 1 + random() % 4; length > 0; --length)
            name += pieces[random() % std::size(pieces)];
        const auto onServer = toServerName(name);
        if (!onServer)
            continue;
        EXPECT_EQ(toLocalName(*onServer), name);
        EXPECT_EQ(kept.try_emplace(*onServer, name).first->second, name);
        EXPECT_TRUE(*onServer == name || !toServerName(*onServer)) << "needs no mapping itself: " << name;
    }
    EXPECT_GT(kept.size(), 5'000U);
}

TEST(MountFailure, EveryErrorOfANetworkHasWords) {
    for (const int error :
         {EACCES, ENOENT, ECONNREFUSED, ETIMEDOUT, EHOSTUNREACH, ENETUNREACH, EHOSTDOWN, ENETDOWN, ENONET,
          EADDRNOTAVAIL, ECONNRESET, ECONNABORTED, ENETRESET, ENOTCONN, ESHUTDOWN, EPIPE, EMFILE, ENOMEM})
        EXPECT_FALSE(describeConnectError(error).starts_with("The server could not be used")) << error;
}

TEST(SymlinkFile, IsTheFormatOfOtherClients) {
    const auto file = encodeSymlink("target");
    EXPECT_EQ(file.substr(0, 50), "XSym\n0006\n42aefbae01d2dfd981f7da7d823d689e\ntarget\n");
    for (const std::string& target : {std::string("/a b"), std::string(longestSymlinkTarget, 'x')})
        EXPECT_EQ(decodeSymlink(encodeSymlink(target)), target);
    auto damaged = file;
    damaged[45] = 'T';
    for (const auto& other : {damaged, file.substr(1), std::string(symlinkFileSize, '\0'), std::string()})
        EXPECT_FALSE(decodeSymlink(other));
}

TEST(DirectoryCache, KnowsForAWhileAndFollowsChanges) {
    DirectoryCache cache;
    const auto now = DirectoryCache::Clock::now();
    cache.put("d", {{"old", {}}}, now, {});
    cache.put("d/sub", {{"x", {}}}, now, std::chrono::seconds(1));
    cache.update("d/new", {});
    EXPECT_TRUE(cache.entry("d/new", now));
    EXPECT_FALSE(cache.entry("d/NEW", now));
    EXPECT_FALSE(cache.find("d", now + std::chrono::seconds(3)));
    EXPECT_TRUE(cache.find("d/sub", now + std::chrono::seconds(3))) << "what took long is kept longer";
    cache.invalidateParent("d/new");
    EXPECT_FALSE(cache.entry("d/old", now));
}

TEST(LostWrites, FollowTheirFiles) {
    LostWrites lost;
    lost.add("dir/file", ENOSPC);
    lost.add("dir/file", EIO);
    lost.add("dir-2/file", EIO);
    lost.markAged("dir-2/file");
    EXPECT_EQ(lost.pathsToAge(), std::vector<std::string>{"dir/file"});
    lost.move("dir", "moved");
    EXPECT_EQ(lost.error("dir/file"), 0);
    EXPECT_EQ(lost.error("moved/file"), ENOSPC) << "the first reason counts";
    EXPECT_TRUE(lost.mustBeAged("moved/file"));
    EXPECT_EQ(lost.error("dir-2/file"), EIO);
    EXPECT_FALSE(lost.mustBeAged("dir-2/file"));
    lost.remove("moved");
    EXPECT_EQ(lost.error("moved/file"), 0);
}

TEST(OverwriteJournal, SurviveTheirDaemon) {
    const test::TemporaryFolder folder;
    const auto file = folder / "list";
    const auto whatIsLeft = [&] { return OverwriteJournal(file).paths(); };
    {
        OverwriteJournal files(file);
        for (const char* path : {"a", "dir/x", "dir/y", "dir-2/z"})
            files.add(path);
        files.addRenamed("dir", "new");
        files.remove("dir");
        EXPECT_THROW(OverwriteJournal second(file), std::system_error) << "one daemon at a time";
    }
    const std::set<std::string> left{"a", "dir-2/z", "new/x", "new/y"};
    EXPECT_EQ(whatIsLeft(), left);
    std::ofstream(file, std::ios::app) << "-a";
    OverwriteJournal(file).add("b");
    EXPECT_TRUE(whatIsLeft().contains("a")) << "a record without its end says nothing";
    EXPECT_TRUE(whatIsLeft().contains("b"));
    for (const auto& path : whatIsLeft())
        OverwriteJournal(file).remove(path);
    EXPECT_TRUE(std::filesystem::is_empty(file));
}

TEST(WriteBehind, IsBoundedAndJoinsWhatContinues) {
    WriteBehind pending;
    const std::vector<char> bytes(WriteBehind::chunkSize / 2, 'x');
    std::uint64_t offset = 0;
    std::uint64_t turn = 0;
    for (; pending.hasRoomFor(bytes.size()); offset += bytes.size())
        pending.append(++turn, offset, bytes.data(), bytes.size());
    EXPECT_EQ(offset, WriteBehind::capacity);
    const auto first = pending.takeChunk();
    EXPECT_EQ(first.bytes.size(), WriteBehind::chunkSize);
    EXPECT_FALSE(pending.hasRoomFor(1)) << "not confirmed yet";
    pending.confirm(first.bytes.size());
    ASSERT_TRUE(pending.hasRoomFor(bytes.size()));
    pending.append(++turn, offset + 1, bytes.data(), 3);
    std::size_t chunks = 0;
    for (; pending.hasUnsent(); ++chunks)
        pending.confirm(pending.takeChunk().bytes.size());
    EXPECT_EQ(chunks, WriteBehind::capacity / WriteBehind::chunkSize);
    EXPECT_TRUE(pending.isEmpty());
}

} // namespace ternvault::volume
