#include "server/Accounts.h"
#include "server/Configuration.h"
#include "server/DiskListing.h"
#include "server/Disks.h"
#include "server/Log.h"
#include "server/Programs.h"
#include "server/Requests.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <functional>
#include <thread>

namespace ternvault::server {

using namespace std::chrono_literals;
using namespace std::string_literals;
using test::readFile;
using testing::ElementsAre;

/// The code of the refusal, with its status; "" when there is none.
template <typename Action>
std::string refusal(Action action) {
    try {
        action();
        return "";
    } catch (const Refusal& refusal) {
        return std::to_string(refusal.status()) + ' ' + refusal.code();
    }
}

TEST(Requests, AreAdmittedByTargetMethodAndToken) {
    const std::string token(64, 'a');
    const std::string bearer = "Bearer " + token, longer = bearer + 'a';
    const std::string padded = ' ' + token, loose = "bearer  " + padded + ' ';
    EXPECT_EQ(admit({"GET", "/api/disks", bearer, token}, token), Operation::listDisks);
    EXPECT_EQ(admit({"POST", "/api/create_user", bearer, {}}, token), Operation::createUser);

    const std::pair<RequestHead, const char*> cases[] = {
        {{"GET", "/api/disks", loose, {}}, ""},
        {{"GET", "/api/disks", {}, padded}, ""},
        {{"GET", "/api/disks", {}, {}}, "401 unauthorized"},
        {{"GET", "/api/disks", "Bearer x", token}, "401 unauthorized"},
        {{"GET", "/api/disks", token, token}, "401 unauthorized"},
        {{"GET", "/api/disks", longer, {}}, "401 unauthorized"},
        {{"GET", "/api/disks", std::string_view(bearer).substr(0, 70), {}}, "401 unauthorized"},
        {{"HEAD", "/api/disks", bearer, {}}, "405 method_not_allowed"},
        {{"GET", "/api/create_user", {}, {}}, "405 method_not_allowed"},
        {{"GET", "/api/disks/", bearer, {}}, "404 not_found"},
    };
    for (const auto& [head, expected] : cases)
        EXPECT_EQ(refusal([&] { admit(head, token); }), expected)
            << head.method << ' ' << head.target << ' ' << head.authorization.value_or("none");
}

TEST(Requests, TakeNoBodyButTheTwoTexts) {
    const NewAccount account = readNewAccount(R"( {"password": "p\u00e4\u0000\"", "username":"otto"} )");
    EXPECT_EQ(account.name, "otto");
    EXPECT_EQ(account.password, std::string("pä\0\"", 5));
    const std::string deep(60000, '[');
    for (const std::string& body :
         {"[]"s, R"({"username":"a"})"s, R"({"username":"a","password":"b","username":"c"})"s,
          R"({"username":"a","password":"b","more":"c"})"s, R"({"username":"a","password":"b"}x)"s,
          R"({"username":{"username":"a"},"password":"b"})"s, "{\"username\":\"a\",\"password\":\"b\xff\"}"s,
          R"({"username":"a","password":"\ud800"})"s, deep, R"({"username":)" + deep})
        EXPECT_EQ(refusal([&] { readNewAccount(body); }), "400 bad_request") << body.substr(0, 60);
}

/// Programs whose outcomes are told by their name, and a record of how they were called.
struct FakePrograms : Programs {
    std::map<std::string, ProgramResult> results;
    std::vector<std::string> calls;
    std::function<void()> before = [] {};

    ProgramResult run(const Command& command, std::string_view input, std::chrono::milliseconds) override {
        before();
        calls.push_back(testing::PrintToString(command) + std::string(input));
        return results[command.front()];
    }
};

struct AccountsTest : testing::Test {
    std::shared_ptr<FakePrograms> programs = std::make_shared<FakePrograms>();
    Configuration configuration = parseConfiguration(R"({"commands": {
        "createSystemUser": ["/add", "{user}"], "setSambaPassword": ["/smb", "{sambaConfiguration}", "{user}"],
        "removeSambaAccount": ["/smb", "-x", "{user}"], "removeSystemUser": ["/del", "{user}"]}})");
    std::string create(const std::string& name, const std::string& password) {
        return refusal([&] { Accounts(programs, configuration).create({name, password}); });
    }
};

TEST_F(AccountsTest, LeaveNothingHalfMadeAndNothingOfOthersTouched) {
    const std::string add = R"({ "/add", "otto" })", del = R"({ "/del", "otto" })";
    const std::string unsmb = R"({ "/smb", "-x", "otto" })";
    const std::string smb = "{ \"/smb\", \"/etc/samba/smb.conf\", \"otto\" }secret\nsecret\n";
    using Status = std::optional<int>;
    const std::tuple<Status, Status, const char*, std::vector<std::string>> cases[] = {
        {0, 0, "", {add, smb}},
        {9, 0, "409 user_exists", {add}},
        {{}, 0, "500 create_failed", {add}},
        {0, {}, "500 create_failed", {add, smb, unsmb, del}},
    };
    for (const auto& [added, setPassword, expected, calls] : cases) {
        programs->calls.clear();
        programs->results = {{"/add", {added, ""}}, {"/smb", {setPassword, ""}}, {"/del", {0, ""}}};
        EXPECT_EQ(create("otto", "secret"), expected);
        EXPECT_EQ(programs->calls, calls);
    }
}

TEST_F(AccountsTest, AreRefusedByTheirRulesBeforeAnyProgramRuns) {
    for (const std::string& name :
         {""s, "../x"s, "-x"s, "Otto"s, "1a"s, "a b"s, "a\0b"s, "a\n"s, "ä"s, std::string(33, 'a')})
        EXPECT_EQ(create(name, "secret"), "400 bad_username") << name.substr(0, 40);
    for (const std::string& password :
         {"abc"s, "äöü"s, std::string(128, 'x'), "abc\0d"s, "abcd\n"s, "abc\x7f"s})
        EXPECT_EQ(create("otto", password), "400 bad_password") << password;
    EXPECT_TRUE(programs->calls.empty());

    programs->results = {{"/add", {0, ""}}, {"/smb", {0, ""}}};
    EXPECT_EQ(create(std::string(32, '_'), "    "), "");
    EXPECT_EQ(create("a-0", std::string(127, 'x')), "");
}

TEST(DiskListing, WorksOnceForAllWhoAskAndNeverHoldsThem) {
    const auto programs = std::make_shared<FakePrograms>();
    programs->results = {{"/usr/bin/lsblk", {0, R"({"blockdevices": []})"}}, {"/usr/bin/testparm", {0, ""}}};
    std::promise<void> answer;
    programs->before = [released = answer.get_future().share()] { released.wait(); };
    DiskListing impatient(std::make_shared<Inventory>(programs, Configuration{}), {0s, 1h});
    EXPECT_EQ(refusal([&] { impatient.get(); }), "503 busy");
    EXPECT_EQ(refusal([&] { impatient.get(); }), "503 busy");
    answer.set_value();
    while (refusal([&] { impatient.get(); }) == "503 busy")
        std::this_thread::yield();
    EXPECT_EQ(programs->calls.size(), 2U);

    DiskListing listing(std::make_shared<Inventory>(programs, Configuration{}), {1h, 1h});
    std::vector<std::jthread> threads;
    for (int i = 0; i < 20; ++i)
        threads.emplace_back([&] { EXPECT_EQ(listing.get(), R"({"disks":[],"shares":[]})"); });
    threads.clear();
    EXPECT_EQ(programs->calls.size(), 4U);
}

TEST(DiskListing, TellsWhenTheProgramsFail) {
    const auto programs = std::make_shared<FakePrograms>();
    const ProgramResult failures[] = {{{}, ""}, {0, R"({"blockdevices": [{"name": "sda"}]})"}};
    for (const ProgramResult& devices : failures) {
        programs->results = {{"/usr/bin/lsblk", devices}, {"/usr/bin/testparm", {0, ""}}};
        EXPECT_EQ(refusal([&] { DiskListing(std::make_shared<Inventory>(programs, Configuration{})).get(); }),
                  "500 listing_failed");
    }
}

TEST(Configuration, NamesTheKeyAtFault) {
    EXPECT_EQ(parseConfiguration("{}").commands.createSystemUser.front(), "/usr/sbin/useradd");
    const Configuration full = parseConfiguration(R"({ // a comment
        "listen": ["127.0.0.5", "::1"], "sambaConfiguration": "/s",
        "commands": {"listShares": ["/bin/x", "{sambaConfiguration}"]}})");
    EXPECT_THAT(full.listen, ElementsAre("127.0.0.5", "::1"));
    EXPECT_THAT(filledIn(full.commands.listShares, {{sambaPlaceholder, full.sambaConfiguration}}),
                ElementsAre("/bin/x", "/s"));
    const std::pair<const char*, const char*> cases[] = {
        {"", "not valid JSON"},
        {R"({"prot": 1})", "\"prot\""},
        {R"({"port": 65536})", "\"port\""},
        {R"({"listen": ["localhost"]})", "\"listen\""},
        {R"({"commands": {"x": []}})", "\"commands.x\""},
        {R"({"commands": {"listDisks": ["l"]}})", "\"commands.listDisks\""},
        {R"({"commands": {"createSystemUser": ["/add", "user"]}})", "\"commands.createSystemUser\""},
    };
    for (const auto& [text, expected] : cases)
        try {
            parseConfiguration(text);
            ADD_FAILURE() << text;
        } catch (const ConfigurationError& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(expected));
        }
}

TEST(Log, ShowsNothingThatIsNotPlain) {
    EXPECT_EQ(printable("/a b\n\x1b\\ä"), "/a b\\x0a\\x1b\\x5c\\xc3\\xa4");
    EXPECT_EQ(printable(std::string(1000, 'x')), std::string(128, 'x') + "...");
}

TEST(SystemPrograms, AreFedWatchedAndEnded) {
    SystemPrograms programs;
    const auto shell = [&](const char* script, const std::string& input = {}, int limit = 20000) {
        const ProgramResult result =
            programs.run({"/bin/sh", "-c", script}, input, std::chrono::milliseconds(limit));
        return (result.exitStatus ? std::to_string(*result.exitStatus) : "none") + ' ' + result.output;
    };
    EXPECT_EQ(shell("cat; echo hidden >&2", "a\nb\n"), "0 a\nb\n");
    EXPECT_EQ(shell("exit 9", std::string(4096, 'x')), "9 ");
    EXPECT_EQ(shell("sleep 60", {}, 50), "none ");
    EXPECT_EQ(shell("sleep 60 & echo left"), "0 left\n");
    EXPECT_EQ(shell("head -c 300000 /dev/zero | tr '\\0' x"), "0 " + std::string(300000, 'x'));
    EXPECT_EQ(shell("cat /dev/zero"), "none ");
    EXPECT_EQ(shell("ls /proc/self/fd | wc -l"), "0 4\n");
    EXPECT_FALSE(programs.run({"/nowhere"}, {}, std::chrono::seconds(1)).exitStatus);
}

TEST(Shares, AreThePlacesForFiles) {
    const auto shares = parseShares(R"([global]
	read only = No
	path = 
[homes]
	path = /home
[Laser]
	path = /var/spool
	printable = Yes
[print$]
	path = /var/lib/samba/printers
[My [old] files]
	path = /srv/a = b
[Films]
	comment = [x]
	path = /srv/films
	read only = Yes
[Off]
	available = No
	path = /srv/off
[Own]
	path = /srv/%U
[None]
)");
    EXPECT_THAT(shares, ElementsAre(Share{"My [old] files", "/srv/a = b", true},
                                    Share{"Films", "/srv/films", false}));
}

TEST(Mounts, OfOnePointTheLatestCounts) {
    const auto mounts = parseMounts("22 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                                    "31 22 0:40 /@ /srv rw - btrfs /dev/sdc1 rw\n"
                                    "32 22 0:41 / /srv ro,nosuid - tmpfs tmpfs rw\n"
                                    "broken\n");
    EXPECT_EQ(mountOf("/srv/my", mounts), &mounts.at(2));
    EXPECT_EQ(mountOf("/srv2", mounts), &mounts.at(0));
    EXPECT_EQ(mountOf("/", {}), nullptr);
}

std::string describe(const Disk& disk) {
    std::string text = disk.path + ' ' + humanSize(disk.sizeBytes) + " [" + disk.model + "]";
    text += disk.isSystem ? " system" : "";
    for (const std::string& point : disk.mountpoints)
        text += ' ' + point;
    text += disk.shareName ? " shared as " + *disk.shareName : "";
    return text + (disk.available ? ", available" : "");
}

TEST(Disks, AreFoldedAsTheyAreOnRealPCs) {
    const std::tuple<std::string, std::vector<Share>, std::vector<std::string>> cases[] = {
        {"sata",
         {{"Readable", "/srv/my data/films", false},
          {"Data", "/srv/my data", true},
          {"Late", "/srv/my data/x", true},
          {"Root", "/srv/my", true}},
         {"/dev/sda 500.1 GB [Samsung SSD 860 EVO 500GB] system / /boot/efi shared as Root",
          "/dev/sdb 4.0 TB [WDC WD40EFRX-68N32N0] /srv/my data shared as Data, available"}},
        {"lvm",
         {{"Data", "/srv/data/shared", true}},
         {"/dev/sda 256.1 GB [INTEL SSDSC2KW256G8] system / /boot",
          "/dev/sdb 2.0 TB [ST2000DM008-2FR102] /srv/data shared as Data, available",
          "/dev/sdc 4.0 TB [ST4000DM004-2CV104] /srv/data shared as Data, available"}},
        {"raid", // the music is mounted for reading only
         {{"Music", "/srv/music", true}, {"Films", "/srv/films", true}},
         {"/dev/sda 1.0 TB [TOSHIBA DT01ACA100] system / /boot",
          "/dev/sdb 1.0 TB [TOSHIBA DT01ACA100] system / /boot",
          "/dev/sdc 8.0 TB [WDC WD80EFZX-68UW8N0] /srv/films /srv/music shared as Films, available",
          "/dev/sdd 8.0 TB [WDC WD80EFZX-68UW8N0] /srv/films /srv/music shared as Films, available"}},
        {"nvme", // btrfs has device numbers of its own, and the kernel was ready with the second drive first
         {{"Tank", "/srv/tank", true}},
         {"/dev/nvme1n1 2.0 TB [QEMU NVMe Ctrl] /srv/tank /home/anna/tank shared as Tank, available",
          "/dev/nvme0n1 1.0 TB [QEMU NVMe Ctrl] system / /home /efi"}},
        {"crypt",
         {{"Backup", "/media/anna/backup", true}},
         {"/dev/sda 512.1 GB [KINGSTON SKC600512G] system / /boot",
          "/dev/sdb 1.0 TB [Portable SSD T5] /media/anna/backup shared as Backup, available"}},
        {"usb", // the stick is mounted for reading only
         {{"Stick", "/media/stick", true}, {"Gone", "/media/other", true}},
         {"/dev/sda 31.9 GB [DataTraveler 3.0] /media/stick shared as Stick", "/dev/sdb 62.1 GB [Ultra Fit]",
          "/dev/mmcblk0 34.4 GB [] system / /boot/firmware shared as Gone"}},
        {"snap",
         {{"Snap", "/snap/core20/2015", true}, {"Archive", "/srv/archive", true}},
         {"/dev/vda 42.9 GB [] system / /var/snap/firefox/common/host-hunspell", "/dev/vdb 4.3 GB []"}},
    };
    for (const auto& [pc, shares, expected] : cases) {
        std::vector<std::string> found;
        const std::string recording = TERNVAULT_DEVICES "/" + pc;
        const std::vector<Mount> mounts = parseMounts(readFile(recording + ".mountinfo"));
        for (const Disk& disk : describeDisks(readFile(recording + ".json"), mounts, shares))
            found.push_back(describe(disk));
        EXPECT_EQ(found, expected) << pc;
    }
    // No virtual PC has the boot areas of eMMC.
    EXPECT_EQ(describeDisks(R"({"blockdevices": [{"name": "mmcblk0boot0", "path": "/dev/mmcblk0boot0",
        "type": "disk", "size": 4194304, "model": null, "maj:min": "179:32"}]})",
                            {}, {})
                  .size(),
              0U);
    EXPECT_EQ(humanSize(999949), "999.9 kB");
    EXPECT_EQ(humanSize(999950), "1.0 MB");
}

} // namespace ternvault::server
