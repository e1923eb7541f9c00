#include "agent/CreateUser.h"
#include "support/ModelFixture.h"

#include <QSet>

namespace ternvault {
namespace {

using namespace Qt::StringLiterals;

const std::pair<QString, QString> passwordItem{u"space.larkspur.ternvault"_s, u"ternvault.smbPassword"_s};

struct DriveListing : test::ModelFixture {};
struct AccountSetup : test::ModelFixture {};
struct LegalState : test::ModelFixture {};

TEST_F(DriveListing, AsksWhereTheSettingsPoint) {
    const struct {
        QString address, port, expected;
    } rows[] = {
        {u" \thttps://10.0.0.5\n"_s, u" 8743 "_s, u"http://10.0.0.5:8743/api/disks"_s},
        {u"http://http://pc.local"_s, u"80"_s, u"http://pc.local:80/api/disks"_s},
        {u"HTTP://10.0.0.5"_s, u"1"_s, u"http://http//api/disks"_s},
        {u"10.0.0.5/a/b"_s, u"8743"_s, u"http://10.0.0.5/a/api/disks"_s},
        {u"[fe80::1]"_s, u"8743"_s, u"http://[fe80::1]:8743/api/disks"_s},
        {u"büro.local"_s, u"8743"_s, u"http://xn--bro-hoa.local:8743/api/disks"_s},
        {u"10.0.0.5"_s, u""_s, u"http://10.0.0.5/api/disks"_s},
        {u""_s, u"8743"_s, u"http://:8743/api/disks"_s},
        {u"fe80::1"_s, u"8743"_s, {}},
        {u"10.0 .0.5"_s, u"8743"_s, {}},
        {u"10.0.0.5"_s, u"87a3"_s, {}},
        {u"10.0.0.5"_s, u"65536"_s, {}},
    };
    for (const auto& row : rows) {
        AppModel& model = start();
        model.serverIP = row.address;
        model.agentPort = row.port;
        model.agentToken = u" t "_s;
        fake.http.requests.clear();
        perform(model.fetchDisks());
        QStringList asked;
        for (const HttpRequest& request : fake.http.requests) {
            asked << QString::fromLatin1(request.url.toEncoded());
            EXPECT_EQ(request.timeout, std::chrono::seconds(15));
        }
        const bool asks = !row.expected.isEmpty();
        EXPECT_EQ(asked, asks ? QStringList(row.expected) : QStringList());
        EXPECT_EQ(model.isBusy, asks);
        EXPECT_EQ(*model.status == u"Invalid server IP"_s, !asks);
    }
}

TEST_F(DriveListing, WithoutATokenAsksNothing) {
    AppModel& model = startWithAccount();
    model.agentToken = u" \n"_s;
    perform(model.fetchDisks());
    EXPECT_EQ(*model.status, u"Agent token required — paste it from Settings"_s);
    fake.files.entries["/Volumes/MOSSBOX1"] = true;
    perform(model.fetchDisks());
    EXPECT_EQ(*model.status, u"Volume at /Volumes/MOSSBOX1 — paste Agent token in Settings to list drives"_s);
    EXPECT_TRUE(fake.http.requests.empty());
    EXPECT_FALSE(model.isBusy);
}

TEST_F(DriveListing, ChoosesAShareOnlyWhenNoneIsChosen) {
    AppModel& model = startWithAccount();
    model.agentToken = u"t"_s;
    const DisksResponse listing{{}, {{u"A"_s, {}, 1, 2, {}}, {u"B"_s, {}, 1, 2, {}}}};
    for (const auto& [chosen, expected] : {std::pair(u""_s, u"A"_s), std::pair(u"gone"_s, u"gone"_s)}) {
        model.selectedShare = chosen;
        perform(model.fetchDisks());
        fake.http.answer(HttpResponse{200, encodeDisksResponse(listing)});
        EXPECT_EQ(fake.defaults.values[u"ternvault.selectedShare"_s], QVariant(expected));
    }
    fake.files.entries["/Volumes/Tern Vault"] = true;
    perform(model.fetchDisks());
    fake.http.answer(HttpResponse{200, encodeDisksResponse(listing)});
    EXPECT_EQ(*model.status, u"Mounted — 2 share(s)"_s);
}

TEST(Records, SurviveEncodingAndCompareByAllFields) {
    const DisksResponse listing{
        {{u"sda"_s, u"/dev/sda"_s, 1, u"1 B"_s, u"Föhn"_s, true, {u"/"_s}, std::nullopt, false},
         {u"sdb"_s, u"/dev/sdb"_s, INT64_MIN, u""_s, u""_s, false, {}, u"A"_s, true}},
        {{u"A"_s, u"/srv"_s, INT64_MAX, 0, u"smb://pc/A"_s}}};
    EXPECT_EQ(decodeDisksResponse(encodeDisksResponse(listing)), listing);

    ServerDisk other = listing.disks[0];
    other.share_name = u""_s;
    EXPECT_NE(other, listing.disks[0]);
    EXPECT_EQ(other.id(), listing.disks[0].id());
    EXPECT_EQ((QSet<ServerDisk>{other, listing.disks[0], other}.size()), 2);
    EXPECT_EQ(authModeFromRawValue(u"Login"_s), AuthMode::login);
    EXPECT_EQ(authModeFromRawValue(u"login"_s), std::nullopt);
}

TEST_F(AccountSetup, ChecksTheFormBeforeAnythingHappens) {
    const struct {
        QString host, user, password, expected;
    } rows[] = {
        {u" \n"_s, u""_s, u""_s, u"Enter the server IP address"_s},
        {u"pc"_s, u" \t"_s, u"secret"_s, u"Enter a username"_s},
        {u"pc"_s, u"anna"_s, u"ab\U0001F468‍\U0001F469‍\U0001F467‍\U0001F466"_s,
         u"Password must be at least 4 characters"_s},
        {u"pc"_s, u"anna"_s, u"abe\u0301"_s, u"Password must be at least 4 characters"_s},
    };
    for (const auto& row : rows) {
        AppModel& model = start();
        model.serverIP = row.host;
        model.smbUser = row.user;
        model.smbPassword = row.password;
        perform(model.completeAuthFlow());
        EXPECT_EQ(*model.setupError, row.expected);
        EXPECT_EQ(*model.smbUser, row.user);
    }
    EXPECT_TRUE(fake.http.requests.empty());
}

TEST_F(AccountSetup, CreatesMountsAndFinishes) {
    letMountsSucceed();
    AppModel& model = startWithAccount();
    model.serverIP = u" http://10.0.0.5 "_s;
    model.smbUser = u" Anna\n"_s;
    model.smbPassword = u"    "_s;
    model.agentToken = u"t"_s;
    model.selectedShare = u""_s;
    model.autoConnect = true;
    perform(model.completeAuthFlow());
    EXPECT_TRUE(model.isBusy);
    EXPECT_EQ(fake.http.requests.at(0).url, QUrl(u"http://10.0.0.5:8743/api/create_user"_s));
    fake.http.answer(HttpResponse{201, {}});
    fake.time.advance(std::chrono::seconds(3));
    EXPECT_EQ(model.setupError.get(), std::nullopt);
    EXPECT_EQ(*model.status, u"Mounted MOSSBOX1 — will reconnect at login"_s);
    const auto& calls = fake.processes.calls;
    const auto mount = std::find_if(calls.begin(), calls.end(), isMount);
    ASSERT_NE(mount, calls.end());
    EXPECT_EQ(mount->back(), u"mount volume \"smb://anna:    @http://10.0.0.5/MOSSBOX1\""_s);
    EXPECT_EQ(fake.defaults.values[u"ternvault.setupComplete"_s], QVariant(true));
    EXPECT_EQ(fake.defaults.values[u"ternvault.selectedShare"_s], QVariant(u"MOSSBOX1"_s));
    EXPECT_EQ(fake.defaults.values[u"ternvault.smbUser"_s], QVariant(u"anna"_s));
    ASSERT_EQ(fake.http.requests.size(), 2U) << "the drive listing follows";
    fake.http.answer(HttpFailure{HttpFailure::Kind::transport, u"gone"_s});
    EXPECT_FALSE(model.isBusy);

    model.autoConnect = false;
    model.authMode = AuthMode::login;
    perform(model.completeAuthFlow());
    EXPECT_EQ(*model.status, u"Mounted MOSSBOX1 — not set to open at login"_s);
    EXPECT_EQ(mounts(), 1U) << "what is mounted is not mounted again";
}

TEST_F(AccountSetup, SaysWhyItFailed) {
    AppModel& model = startWithAccount();
    perform(model.completeAuthFlow());
    EXPECT_EQ(*model.setupError, u"Agent token required (Settings → Agent token)"_s);
    model.agentPort = u"x"_s;
    perform(model.completeAuthFlow());
    EXPECT_EQ(*model.setupError, u"Invalid server IP"_s);
    model.agentPort = u"8743"_s;
    model.agentToken = u"t"_s;
    model.smbPassword = u"abc"_s + QChar(0xd800);
    perform(model.completeAuthFlow());
    EXPECT_EQ(*model.setupError, u"The username or the password holds characters that are not text"_s);
    EXPECT_TRUE(fake.http.requests.empty());

    model.authMode = AuthMode::login;
    model.smbUser = u" ANNA"_s;
    model.selectedShare = u"Films"_s;
    letProgramsFail("no such user");
    perform(model.completeAuthFlow());
    EXPECT_EQ(*model.setupError, u"Login failed: no such user"_s);
    EXPECT_EQ(*model.status, u"Mount failed: no such user"_s);
    EXPECT_EQ(fake.defaults.values[u"ternvault.smbUser"_s], QVariant(u"anna"_s));
    EXPECT_EQ(fake.defaults.values[u"ternvault.selectedShare"_s], QVariant(u"Films"_s));

    letMountsSucceed();
    fake.files.onFound = [this] { fake.files.entries.clear(); };
    perform(model.completeAuthFlow());
    EXPECT_EQ(*model.setupError, u"Could not mount Tern Vault — check username/password and server IP"_s);
    EXPECT_FALSE(model.isBusy || model.setupComplete);
}

TEST(AccountErrors, HaveCodes) {
    const std::pair<HttpResponse, QString> rows[] = {
        {{401, R"({"error": "user_exists"})"}, u"unauthorized"_s},
        {{409, "{}"}, u"user_exists"_s},
        {{500, R"({"error": "disk_full"})"}, u"disk_full"_s},
        {{500, R"({"error": ""})"}, u"create_failed"_s},
        {{300, "[]"}, u"create_failed"_s},
        {{199, ""}, u"create_failed"_s}};
    for (const auto& [answer, code] : rows) {
        try {
            checkCreateUserAnswer(answer);
            ADD_FAILURE() << answer.status;
        } catch (const CreateUserError& error) {
            EXPECT_EQ(error.code(), code);
        }
    }
}

TEST_F(AccountSetup, AResetForgetsThePasswordAndNothingElse) {
    fake.defaults.values[u"ternvault.autoConnect"_s] = true;
    fake.files.entries["/Volumes/MOSSBOX1"] = true;
    AppModel& model = startWithAccount();
    model.setupComplete = true;
    model.setupError = u"old"_s;
    ASSERT_EQ(fake.secrets.items[passwordItem], "secret");
    const auto before = fake.defaults.values;
    model.resetSetup();
    EXPECT_FALSE(fake.secrets.items.contains(passwordItem));
    EXPECT_EQ(*model.smbPassword, u""_s);
    auto expected = before;
    expected[u"ternvault.setupComplete"_s] = false;
    EXPECT_EQ(fake.defaults.values, expected);
    EXPECT_EQ(*model.status, u"Setup reset — Create or Login to continue"_s);
    EXPECT_EQ(model.setupError.get(), std::nullopt);
    EXPECT_EQ(model.authMode.get(), AuthMode::login);
    EXPECT_EQ(*model.mountedVolumeName, u"MOSSBOX1"_s);
}

TEST_F(LegalState, CountsOnlyWhenBothDocumentsAreAccepted) {
    AppModel& model = start();
    const auto before = fake.defaults.values;
    for (const bool acceptsPrivacy : {false, true}) {
        model.acceptedPrivacy = acceptsPrivacy;
        model.acceptedTerms = !acceptsPrivacy;
        model.acceptLegal();
        EXPECT_EQ(*model.legalError, u"Accept both the Privacy Policy and Terms & Conditions to continue"_s);
        EXPECT_EQ(fake.defaults.values, before);
        EXPECT_FALSE(model.legalAccepted);
    }

    model.acceptedTerms = true;
    model.acceptLegal();
    fake.time.advance(std::chrono::milliseconds(250));
    model.acceptLegal();
    EXPECT_EQ(model.legalError.get(), std::nullopt);
    EXPECT_TRUE(model.legalAccepted);
    EXPECT_EQ(*model.status, u"Legal accepted — Create or Login to continue"_s);
    EXPECT_EQ(fake.defaults.values[u"ternvault.legalAccepted"_s], QVariant(true));
    EXPECT_EQ(fake.defaults.values[u"ternvault.legalVersion"_s], QVariant(u"2026-08-05"_s));
    EXPECT_DOUBLE_EQ(fake.defaults.values[u"ternvault.legalAcceptedAt"_s].toDouble(), 1785938607.25);

    model.openPrivacyPolicy();
    model.openTerms();
    EXPECT_EQ(fake.workspace.browsed.at(0).path(), u"/apps/TernVault/privacy"_s);
    EXPECT_EQ(fake.workspace.browsed.at(1).path(), u"/apps/TernVault/terms"_s);
    EXPECT_EQ(fake.workspace.browsed.at(1).scheme(), u"https"_s);
}

} // namespace
} // namespace ternvault
