#include "agent/WholeNumber.h"
#include "support/ModelFixture.h"

#include <limits>

namespace ternvault::test {

struct DriveListing : ModelFixture {};
struct AccountSetup : ModelFixture {};
struct LegalState : ModelFixture {};

TEST_F(DriveListing, AsksWhereTheSettingsPoint) {
    const QString rows[][3] = {
        {u" \thttps://10.0.0.5\n"_s, u" 8743 "_s, u"http://10.0.0.5:8743/api/disks"_s},
        {u"http://http://pc.local"_s, u"80"_s, u"http://pc.local:80/api/disks"_s},
        {u"10.0.0.5/a/b"_s, u"8743"_s, u"http://10.0.0.5/a/api/disks"_s},
        {u"[fe80::1]"_s, u"8743"_s, u"http://[fe80::1]:8743/api/disks"_s},
        {u"büro.local"_s, u""_s, u"http://xn--bro-hoa.local/api/disks"_s},
        {u"fe80::1"_s, u"8743"_s, {}},
        {u"10.0.0.5"_s, u"65536"_s, {}},
    };
    for (const auto& [address, port, expected] : rows) {
        AppModel& model = start();
        model.serverIP = address;
        model.agentPort = port;
        model.agentToken = u" t "_s;
        fake.http.requests.clear();
        perform(model.fetchDisks());
        QStringList asked;
        for (const HttpRequest& request : fake.http.requests)
            asked << QString::fromLatin1(request.url.toEncoded());
        EXPECT_EQ(asked.join(u' '), expected);
        EXPECT_EQ(model.isBusy, !asked.isEmpty());
        EXPECT_EQ(*model.status == u"Invalid server IP"_s, asked.isEmpty());
    }
}

TEST_F(DriveListing, AsksNobodyWhereTheAddressNamesNoHost) {
    AppModel& model = startWithAccount();
    model.agentToken = u"t"_s;
    const QString noHost = u"The address names no host."_s;
    for (const QString& address : {u"/192.168.1.20"_s, u" http:///x"_s, u"/"_s, u"?"_s, u"#"_s, u"?@pc"_s}) {
        model.serverIP = address;
        perform(model.fetchDisks());
        EXPECT_EQ(*model.status, u"Cannot reach agent at "_s + address + u":8743 — "_s + noHost);
        perform(model.completeAuthFlow());
        EXPECT_EQ(model.setupError->value_or(QString()), noHost);
    }
    EXPECT_TRUE(fake.http.requests.empty());
}

TEST(WholeNumber, IsJudgedFromItsDigits) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    const std::pair<const char*, std::int64_t> whole[] = {{"1.0", 1},
                                                          {"9e3", 9000},
                                                          {"-120.50e+1", -1205},
                                                          {"500e-2", 5},
                                                          {"-0.000e-99999999999999999999", 0},
                                                          {"9223372036854775807", largest},
                                                          {"92233720368547758070E-1", largest},
                                                          {"-9223372036854775808.0", -largest - 1}};
    for (const auto& [digits, expected] : whole)
        EXPECT_EQ(wholeNumber(digits), expected) << digits;
    for (const char* digits :
         {"9223372036854775807.5", "9223372036854775808", "-9223372036854775809", "18446744073709551616",
          "0.99999999999999999999", "1.00000000000000000001", "1e-1", "1e19", "1e-99999999999999999999"})
        EXPECT_EQ(wholeNumber(digits), std::nullopt) << digits;
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
}

TEST_F(AccountSetup, SaysWhyItFailed) {
    AppModel& model = startWithAccount();
    perform(model.completeAuthFlow());
    EXPECT_EQ(*model.setupError, u"Agent token required (Settings → Agent token)"_s);
    model.agentToken = u"t"_s;
    model.smbPassword = u"abe\u0301"_s;
    perform(model.completeAuthFlow());
    EXPECT_EQ(*model.setupError, u"Password must be at least 4 characters"_s);
    model.smbPassword = u"abc"_s + QChar(0xd800);
    perform(model.completeAuthFlow());
    EXPECT_EQ(*model.setupError, u"The username or the password holds characters that are not text"_s);
    EXPECT_TRUE(fake.http.requests.empty());

    model.authMode = AuthMode::login;
    model.smbUser = u" ANNA"_s;
    letProgramsFail("no such user");
    perform(model.completeAuthFlow());
    EXPECT_EQ(*model.setupError, u"Login failed: no such user"_s);
    EXPECT_EQ(fake.defaults.values[u"ternvault.smbUser"_s], QVariant(u"anna"_s));

    letMountsSucceed();
    fake.files.onFound = [this] { fake.files.entries.clear(); };
    perform(model.completeAuthFlow());
    EXPECT_EQ(*model.setupError, u"Could not mount Tern Vault — check username/password and server IP"_s);
    EXPECT_FALSE(model.isBusy || model.setupComplete);
}

TEST_F(LegalState, CountsOnlyWhenBothDocumentsAreAccepted) {
    AppModel& model = start();
    const auto before = fake.defaults.values;
    for (const bool acceptsPrivacy : {false, true}) {
        model.acceptedPrivacy = acceptsPrivacy;
        model.acceptedTerms = !acceptsPrivacy;
        model.acceptLegal();
        EXPECT_EQ(fake.defaults.values, before);
        EXPECT_FALSE(model.legalAccepted);
    }

    model.acceptedTerms = true;
    model.acceptLegal();
    fake.time.advance(std::chrono::milliseconds(250));
    model.acceptLegal();
    EXPECT_EQ(model.legalError.get(), std::nullopt);
    EXPECT_TRUE(model.legalAccepted);
    EXPECT_EQ(fake.defaults.values[u"ternvault.legalAccepted"_s], QVariant(true));
    EXPECT_DOUBLE_EQ(fake.defaults.values[u"ternvault.legalAcceptedAt"_s].toDouble(), 1785938607.25);
}

} // namespace ternvault::test
