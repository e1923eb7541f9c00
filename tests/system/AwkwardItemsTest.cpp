#include "support/RealPC.h"

#include <sys/stat.h>

namespace ternvault::test {

/// Items and destinations that a copy can trip over.
class AwkwardItems : public RealPC {
protected:
    void SetUp() override { mountShare(); }
    void TearDown() override { eject(); }
    Outcome copy(const std::vector<fs::path>& items) const {
        QStringList arguments{u"copy"_s, u"--"_s};
        for (const fs::path& item : items)
            arguments << path(item);
        return cli(arguments);
    }
    /// How many lines of the transfer log hold the text.
    int loggedLines(const std::string& text) const {
        std::istringstream lines(log());
        int count = 0;
        for (std::string line; std::getline(lines, line);)
            count += line.find(text) != line.npos ? 1 : 0;
        return count;
    }
    static void expectAll(const std::vector<std::string>& words, const std::string& text) {
        for (const std::string& word : words)
            EXPECT_NE(text.find(word), text.npos) << word << " in\n" << text;
    }
};

TEST_F(AwkwardItems, ArriveUnchangedUnderTheirNames) {
    const char* const names[] = {
        "quote\"s and 'more'", "-n --delete",      "new\nline",     "grüße — 東京",   "back\\slash", "empty",
        "per%cent #hash?",     "colon:star*pipe|", "trailing dot.", "trailing blank "};
    std::vector<fs::path> items;
    for (const char* const name : names) {
        items.push_back(source / name);
        writeFile(items.back(), items.back().filename() == "empty" ? "" : name);
    }
    fs::create_directories(source / "folder/lost+found");
    writeFile(source / "folder/.DS_Store", "left out");
    writeFile(source / "folder/kept", "kept");
    fs::create_symlink("nowhere", source / "folder/dangling");
    fs::create_directory_symlink("/etc", source / "folder/elsewhere");
    items.push_back(source / "folder");
    const Outcome outcome = copy(items);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    fs::remove_all(source / "folder/lost+found");
    fs::remove(source / "folder/.DS_Store");
    EXPECT_EQ(difference(source.path(), volume()), "");
    EXPECT_EQ(readFile(served("grüße — 東京")), "grüße — 東京");
}

TEST_F(AwkwardItems, TenThousandFilesAndASparseOneOfFiveGibibytes) {
    fs::create_directory(source / "many");
    for (int i = 0; i < 10'000; ++i)
        writeFile(source / "many" / std::to_string(i), std::to_string(i));
    writeFile(source / "sparse", "begin");
    fs::resize_file(source / "sparse", 5'368'709'120);
    std::ofstream(source / "sparse", std::ios::app) << "end";
    const Outcome outcome = copy({source / "many", source / "sparse"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(difference(source.path(), served()), "");
}

TEST_F(AwkwardItems, WhatCannotBeCopiedIsNamedAndTheRestArrives) {
    writeFile(source / "good", "good");
    fs::create_directory(source / "tree");
    writeFile(source / "tree/secret", "unreadable");
    fs::permissions(source / "tree/secret", fs::perms::none);
    fs::create_symlink("nowhere", source / "dangling");
    ASSERT_EQ(::mkfifo((source / "pipe").c_str(), 0600), 0);
    tool = QStringList{u"/usr/bin/setpriv"_s, u"--bounding-set=-dac_override,-dac_read_search"_s} + tool;
    const Outcome outcome = copy({source / "tree", source / "gone", source / "dangling", source / "pipe",
                                  source / "lost+found", source / "good"});
    EXPECT_EQ(outcome.status, 1);
    expectAll({"Missing: gone", "Missing: dangling", "tree: ", "pipe: ", "lost+found"}, outcome.errors);
    EXPECT_EQ(readFile(served("good")), "good");
}

TEST_F(AwkwardItems, LinksToTheirOwnDestinationAreRefusedByName) {
    const std::pair<const char*, const char*> links[] = {{"doc", "doc"},
                                                         {"tree/sub/doc", "tree/sub/doc"},
                                                         {"swapped/one", "swapped/two"},
                                                         {"swapped/two", "swapped/one"}};
    for (const auto& [link, original] : links) {
        fs::create_directories((source / link).parent_path());
        fs::create_directories(served(link).parent_path());
        writeFile(served(original), "the only copy");
        fs::create_symlink(volume() / original, source / link);
    }
    const Outcome outcome = copy({source / "doc", source / "tree", source / "swapped", volume()});
    EXPECT_EQ(outcome.status, 1);
    expectAll({"doc: doc is a link to", "tree: doc is a link to", "swapped: ", "into itself"},
              outcome.errors);
    for (const auto& [link, original] : links)
        EXPECT_EQ(readFile(served(original)), "the only copy") << original;
}

TEST_F(AwkwardItems, NoLinkOnTheVolumeLeadsACopyElsewhere) {
    fs::create_directories(home / "elsewhere");
    fs::create_directories(source / "way/way");
    fs::create_directories(source / "tree/way");
    writeFile(source / "way/item", "item");
    writeFile(source / "tree/way/item", "item");
    fs::create_directory(volume() / "tree");
    fs::create_directory_symlink(home / "elsewhere", volume() / "tree/way");
    fs::create_directory_symlink(home / "elsewhere", volume() / "way");
    EXPECT_EQ(copy({source / "tree"}).status, 0);
    EXPECT_EQ(readFile(served("tree/way/item")), "item") << "in place of the link";
    const Outcome outcome = copy({source / "way"});
    EXPECT_EQ(outcome.status, 1);
    expectAll({"way: a link is in the way"}, outcome.errors);
    EXPECT_TRUE(fs::is_empty(home / "elsewhere"));
}

TEST_F(AwkwardItems, AFullAndAReadOnlyDestinationAreErrors) {
    writeFile(source / "item", std::string(20'000'000, 'x'));
    const std::pair<QString, const char*> cases[] = {{u"SMALL"_s, "No space left on device"},
                                                     {u"READONLY"_s, "Could not create item"}};
    for (const auto& [share, reason] : cases) {
        fs::remove(home / ".local/share/Tern Vault/transfer.log");
        ASSERT_EQ(cli({u"eject"_s}).status, 0);
        ASSERT_EQ(cli({u"set"_s, u"selectedShare"_s, share}).status, 0);
        ASSERT_EQ(cli({u"mount"_s}).status, 0);
        const Outcome outcome = copy({source / "item"});
        EXPECT_EQ(outcome.status, 1);
        expectAll({"item: "}, outcome.errors);
        EXPECT_EQ(log().find("OK item"), std::string::npos);
        EXPECT_EQ(loggedLines("FAIL attempt"), 4) << log();
        EXPECT_EQ(loggedLines(reason), 5) << "attempts and the final error\n" << log();
    }
    EXPECT_TRUE(fs::is_empty(pc() / "readonly"));
}

} // namespace ternvault::test
