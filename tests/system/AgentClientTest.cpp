#include "base/FileDescriptor.h"
#include "model/AppModel.h"
#include "platform/linux/CurlHttpClient.h"
#include "platform/linux/QtMainLoop.h"
#include "support/ModelFixture.h"
#include "support/TemporaryFolder.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <cstdio>
#include <list>

#include <arpa/inet.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/wait.h>

namespace ternvault::test {
namespace {

/// A model of its own for each case, over faked ports but for HTTP, so that slow cases wait side by side.
struct Case {
    explicit Case(const QString& behaviour, const QString& port) {
        model.serverIP = u" http://127.0.0.1"_s;
        model.agentPort = port;
        model.agentToken = behaviour + u'\n';
        model.smbUser = u" Anna"_s;
        model.smbPassword = u"p\"ä\\ü"_s;
        model.disks = {{u"old"_s, {}, 0, {}, {}, false, {}, {}, false}};
        model.shares = {{u"old"_s, {}, 0, 0, {}}};
    }

    QtMainLoop loop;
    CurlHttpClient http{loop};
    FakePlatform fake{http};
    AppModel model{fake.platform};
    TaskScope scope{fake.time, [](std::exception_ptr) { ADD_FAILURE() << "an exception escaped"; }};
};

struct Row {
    QString behaviour, expected;
    bool isMounted = false;
};

class AgentClient : public ModelFixture {
protected:
    // Not by QProcess: ThreadSanitizer sees no lock of a thread any more that has started something with it.
    AgentClient() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        agent = ::fork();
        if (agent == 0) {
            ::dup2(ends[1], STDIN_FILENO);
            ::dup2(ends[1], STDOUT_FILENO);
            ::execl(TERNVAULT_MISBEHAVING_AGENT, TERNVAULT_MISBEHAVING_AGENT, nullptr);
            ::_exit(127);
        }
        ::close(ends[1]);
        channel = ::fdopen(ends[0], "r");
        port = QString::fromLatin1(nextLine().trimmed());
    }
    ~AgentClient() override {
        endAgent();
        ::waitpid(agent, nullptr, 0);
        ::fclose(channel);
    }

    void endAgent() const { ::shutdown(::fileno(channel), SHUT_WR); }
    /// Empty when the agent has ended.
    QByteArray nextLine() const {
        char* text = nullptr;
        std::size_t capacity = 0;
        const ssize_t size = ::getline(&text, &capacity, channel);
        const QByteArray line(text, size > 0 ? size : 0);
        std::free(text);
        return line;
    }
    Case& add(const QString& behaviour) { return cases.emplace_back(behaviour, port); }
    void runAll(const std::vector<Row>& rows, Task<> (AppModel::*operation)(),
                const std::function<void(Case&, const Row&)>& check) {
        for (const Row& row : rows) {
            Case& one = add(row.behaviour);
            if (row.isMounted)
                one.fake.files.entries["/Volumes/MOSSBOX1"] = true;
            one.scope.spawn((one.model.*operation)());
        }
        finishAll();
        auto one = cases.begin();
        for (const Row& row : rows) {
            SCOPED_TRACE(row.behaviour.toStdString());
            check(*one++, row);
        }
    }
    void finishAll() {
        const auto isOver = [](Case& one) {
            one.fake.time.advance(1s);
            return one.scope.isEmpty() && !one.model.isBusy;
        };
        const auto areOver = [&] { return std::ranges::count_if(cases, isOver) == std::ssize(cases); };
        ASSERT_TRUE(QTest::qWaitFor(areOver, 60'000));
    }
    /// What the agent read, by token.
    std::multimap<QString, QJsonObject> requests() {
        endAgent();
        std::multimap<QString, QJsonObject> all;
        for (QByteArray line = nextLine(); !line.isEmpty(); line = nextLine()) {
            const QJsonObject request = QJsonDocument::fromJson(line).object();
            all.emplace(request[u"token"].toString(), request);
        }
        return all;
    }

    pid_t agent = -1;
    FILE* channel = nullptr;
    QString port;
    std::list<Case> cases;
};

/// An expectation that ends in "…" is a beginning.
void expectText(const QString& actual, const QString& expected) {
    const bool isBeginning = expected.endsWith(u'…') && actual.size() >= expected.size();
    EXPECT_EQ(isBeginning ? actual.left(expected.size() - 1) + u'…' : actual, expected);
}

TEST_F(AgentClient, TellsEveryWayInWhichTheDriveListingEnds) {
    const QString invalid = u"@the answer is not valid JSON…"_s;
    const QString tooLarge = u"@The answer is larger than 8 MiB."_s;
    const QString largeHeaders = u"@The answer's headers are larger than 100 KiB."_s;
    const QString cut = u"@The answer broke off within its headers."_s;
    const QString connected = u"Connected — 2 share(s), 1 usable disk(s)"_s;
    const QString none = u"Connected — 0 share(s), 0 usable disk(s)"_s;
    const std::vector<Row> rows{
        {u"listing"_s, connected},
        {u"listing"_s, u"Mounted — 2 share(s)"_s, true},
        {{}, u"Volume at /Volumes/MOSSBOX1 — paste Agent token in Settings to list drives"_s, true},
        {{}, u"Agent token required — paste it from Settings"_s},
        {u"endless chunks"_s, tooLarge},
        {u"8 MiB"_s, connected},
        {u"8 MiB and one"_s, tooLarge},
        {u"silent chunks"_s, u"@The request timed out."_s},
        {u"cut in its headers"_s, cut},
        {u"cut in its chunks"_s, u"@transfer closed…"_s},
        {u"cut after a chunk"_s, u"@transfer closed…"_s},
        {u"to the connection's end"_s, connected},
        {u"a length beyond all"_s, tooLarge},
        {u"continues"_s, connected},
        {u"continues and ends"_s, u"@Empty reply…"_s},
        {u"continues for ever"_s, u"@The request timed out."_s},
        {u"endless header"_s, largeHeaders},
        {u"endless headers"_s, largeHeaders},
        {u"endless trailers"_s, largeHeaders},
        {u"deep nesting"_s, invalid},
        {u"wrong type"_s, u"@\"shares[1].free_bytes\" should be an integer, but is a string"_s},
        {u"available missing"_s, u"@\"disks[0].available\" is missing"_s},
        {u"beyond 64 bits"_s, u"@\"disks[0].size_bytes\" is not an integer of 64 bits"_s},
        {u"whole as a fraction"_s, connected},
        {u"invalid UTF-8"_s, invalid},
        {u"a byte a second"_s, none},
        {u"a header a second"_s, u"@The request timed out."_s},
        {u"elsewhere on this host"_s, connected},
        {u"round and round"_s, u"@The answer leads round in a circle."_s},
        {u"another host"_s, u"Agent error 301: moved away"_s},
        {u"another port"_s, u"Agent error 308: moved away"_s},
        {u"another scheme"_s, u"Agent error 302: moved away"_s},
        {u"not HTTP"_s, u"Bad response from agent"_s},
        {u"closes at once"_s, u"@…"_s},
        {u"never answers"_s, u"@The request timed out."_s},
        {u"unauthorized"_s, u"Unauthorized — check Agent Token in Settings (⌘,)"_s},
        {u"broken bytes"_s, u"Agent error 500: is mossbox-agent running?"_s},
        {u"a\nb"_s, u"@The request's header holds a line break."_s},
    };
    const QString unreachable = u"Cannot reach agent at  http://127.0.0.1:"_s + port + u" — "_s;
    runAll(rows, &AppModel::fetchDisks, [&](Case& one, const Row& row) {
        expectText(one.model.status, QString(row.expected).replace(u"@"_s, unreachable));
        const bool succeeded = row.expected.startsWith(u"Connected") || row.expected.startsWith(u"Mounted");
        EXPECT_EQ(one.model.disks->size() == 1 && one.model.shares->size() == 1, !succeeded);
    });

    const auto seen = requests();
    const QJsonObject request = seen.find(u"listing"_s)->second;
    EXPECT_TRUE(request[u"headers"].toArray().contains(u"Authorization: Bearer listing"_s));
    for (const auto& [token, read] : seen)
        EXPECT_EQ(read[u"at"], u"127.0.0.1:"_s + port) << "the token went to another host";
}

TEST_F(AgentClient, TellsEveryWayInWhichAnAccountIsNotCreated) {
    const QString exists = u"User already exists — switch to Login instead of Create"_s;
    const QString created = u"Login failed: Volume did not appear under /Volumes"_s;
    const std::vector<Row> rows{
        {u"created"_s, created},
        {u"created"_s, {}, true},
        {u"no content"_s, created},
        {u"exists"_s, exists},
        {u"exists in the body"_s, exists},
        {u"unauthorized"_s, u"Unauthorized — check Agent Token in Settings"_s},
        {u"refused"_s, u"No room left"_s},
        {u"refused oddly"_s, u"{\"error\": 7, \"message\": [\"x\"]}"_s},
        {u"broken bytes"_s, u"Create failed"_s},
        {u"elsewhere on this host"_s, u"moved away"_s},
        {u"cut in its headers"_s, u"The answer broke off within its headers."_s},
        {u"cut in its body"_s, u"transfer closed…"_s},
        {u"closes at once"_s, u"…"_s},
    };
    runAll(rows, &AppModel::completeAuthFlow, [&](Case& one, const Row& row) {
        expectText(one.model.setupError->value_or(QString()), row.expected);
        EXPECT_EQ(one.model.authMode == AuthMode::login, row.expected == exists);
        EXPECT_EQ(std::ranges::any_of(one.fake.processes.calls, isMount), row.expected == created);
        EXPECT_EQ(one.model.setupComplete, row.isMounted);
    });
    const auto seen = requests();
    const QJsonObject request = seen.find(u"created"_s)->second;
    EXPECT_TRUE(request[u"headers"].toArray().contains(u"Content-Type: application/json"_s));
    const QJsonObject body = QJsonDocument::fromJson(request[u"body"].toString().toUtf8()).object();
    EXPECT_EQ(body, (QJsonObject{{u"username"_s, u"anna"_s}, {u"password"_s, u"p\"ä\\ü"_s}}));
    for (const auto& [behaviour, expected, isMounted] : rows)
        EXPECT_EQ(seen.count(behaviour), behaviour == u"created"_s ? 3U : 1U)
            << "an account is asked for once: " << behaviour.toStdString();
}

TEST_F(AgentClient, SendsNothingWhereTheAddressNamesNoHost) {
    Case& one = add({});
    QString told;
    one.http.send({QUrl(u"http:///api/disks"_s), "GET", 15s, {}, {}},
                  [&](const HttpOutcome& outcome) { told = std::get<HttpFailure>(outcome).description; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return !told.isEmpty(); }, 20'000));
    EXPECT_EQ(told, u"The address names no host."_s);
}

TEST_F(AgentClient, WaitsNoLongerForNamesThanForAnswersAndNotAtAllWhenItLeaves) {
    // A name server that never answers, for this process alone.
    const FileDescriptor silence(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{.sin_family = AF_INET, .sin_port = htons(53), .sin_addr = {}, .sin_zero = {}};
    ::inet_aton("127.0.0.9", &address.sin_addr);
    ASSERT_EQ(::bind(silence.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const TemporaryFolder folder;
    writeFile(folder / "resolv.conf", "nameserver 127.0.0.9\noptions timeout:30\n");
    ASSERT_EQ(::mount((folder / "resolv.conf").c_str(), "/etc/resolv.conf", nullptr, MS_BIND, nullptr), 0);

    QElapsedTimer timer;
    timer.start();
    Case& nameless = add(u"listing"_s);
    nameless.model.serverIP = u"pc.example"_s;
    nameless.scope.spawn(nameless.model.fetchDisks());
    finishAll();
    EXPECT_LT(timer.elapsed(), 17'000);
    EXPECT_TRUE(nameless.model.status->endsWith(u"The request timed out."_s));

    cases.clear();
    for (const QString& host : {u"pc.example"_s, u"127.0.0.1"_s}) {
        Case& one = add(u"never answers"_s);
        one.model.serverIP = host;
        one.scope.spawn(one.model.fetchDisks());
        one.fake.time.run();
    }
    nextLine();
    timer.restart();
    cases.clear();
    EXPECT_LT(timer.elapsed(), 1000);
}

} // namespace
} // namespace ternvault::test
