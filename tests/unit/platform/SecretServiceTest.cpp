#include "platform/linux/SecretServiceStore.h"
#include "support/PrivateBus.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <csignal>

namespace ternvault::test {

using State = SecretAnswer::State;

constexpr int startMilliseconds = 20'000;

/// A session bus and a keyring of the test's own, in its own folder.
class SecretServiceTest : public testing::Test {
protected:
    void SetUp() override {
        for (const char* variable : {"HOME", "XDG_RUNTIME_DIR", "XDG_DATA_HOME"})
            qputenv(variable, folder.path().c_str());
        // A display would let the service open a prompt there.
        qunsetenv("DISPLAY");
    }
    void TearDown() override {
        keyring.kill();
        keyring.waitForFinished();
    }
    void startKeyring() {
        keyring.start(u"gnome-keyring-daemon"_s,
                      {u"--foreground"_s, u"--unlock"_s, u"--components=secrets"_s});
        keyring.write("keyring password");
        keyring.waitForBytesWritten(startMilliseconds);
        keyring.closeWriteChannel();
        gdbus({u"wait"_s, u"--session"_s, u"--timeout"_s, u"20"_s, u"org.freedesktop.secrets"_s});
    }
    static void gdbus(const QStringList& arguments) {
        QProcess process;
        process.start(u"gdbus"_s, arguments);
        process.waitForFinished(startMilliseconds);
        ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    }

    static void call(const QString& method, const QStringList& arguments) {
        gdbus(QStringList{u"call"_s, u"--session"_s, u"--dest"_s, u"org.freedesktop.secrets"_s,
                          u"--object-path"_s, u"/org/freedesktop/secrets"_s, u"--method"_s,
                          u"org.freedesktop.Secret.Service."_s + method} +
              arguments);
    }
    static void makeDefault(const QString& collection) {
        call(u"SetAlias"_s, {u"default"_s, u"/org/freedesktop/secrets/collection/"_s + collection});
    }
    static void lockDefault() { call(u"Lock"_s, {u"['/org/freedesktop/secrets/aliases/default']"_s}); }

    /// That every call ends as out of reach, within the time.
    void expectOutOfReachWithin(int milliseconds) {
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(store.find(key).state, State::unavailable);
        EXPECT_FALSE(store.store(key, "other"));
        EXPECT_FALSE(store.remove(key));
        EXPECT_LT(timer.elapsed(), 3 * milliseconds);
    }

    TemporaryFolder folder;
    PrivateBus bus;
    QProcess keyring;
    SecretServiceStore store;
    const SecretKey key{u"space.larkspur.ternvault"_s, u"ternvault.smbPassword"_s};
};

TEST_F(SecretServiceTest, KeepsOneSecretPerKeyUntilTheCollectionIsLocked) {
    ASSERT_NO_FATAL_FAILURE(startKeyring());
    const SecretKey other{u"space.larkspur.mossbox"_s, key.account};
    EXPECT_EQ(store.find(key).state, State::absent);
    for (const QByteArray secret : {"first", "p\"ä\\ss wörd\n"}) {
        EXPECT_TRUE(store.store(key, secret));
        EXPECT_EQ(store.find(key).secret, secret);
    }
    EXPECT_TRUE(store.store(other, "legacy"));
    EXPECT_TRUE(store.remove(key));
    EXPECT_EQ(store.find(key).state, State::absent);
    EXPECT_EQ(store.find(other).secret, "legacy");
    EXPECT_TRUE(store.store(key, "kept"));

    ASSERT_NO_FATAL_FAILURE(lockDefault());
    expectOutOfReachWithin(500);
}

TEST_F(SecretServiceTest, KeepsOneSecretPerKeyInAllCollectionsTogether) {
    fs::create_directory(folder / "keyrings");
    // Without a password, it needs no prompt.
    writeFile(folder / "keyrings/other.keyring", "[keyring]\ndisplay-name=other\n");
    ASSERT_NO_FATAL_FAILURE(startKeyring());
    ASSERT_NO_FATAL_FAILURE(call(u"Unlock"_s, {u"['/org/freedesktop/secrets/collection/other']"_s}));
    for (const QString& collection : {u"login"_s, u"other"_s, u"login"_s}) {
        ASSERT_NO_FATAL_FAILURE(makeDefault(collection));
        EXPECT_TRUE(store.store(key, collection.toUtf8()));
        EXPECT_EQ(store.find(key).secret, collection.toUtf8());
    }
    ASSERT_NO_FATAL_FAILURE(makeDefault(u"other"_s));
    EXPECT_TRUE(store.remove(key));
    EXPECT_EQ(store.find(key).state, State::absent);

    ASSERT_NO_FATAL_FAILURE(makeDefault(u"login"_s));
    EXPECT_TRUE(store.store(key, "old"));
    ASSERT_NO_FATAL_FAILURE(lockDefault());
    ASSERT_NO_FATAL_FAILURE(makeDefault(u"other"_s));
    EXPECT_FALSE(store.store(key, "new")) << "an older one may be unlocked later";
    EXPECT_FALSE(store.remove(key));
}

TEST_F(SecretServiceTest, IsOutOfReachAtOnceWithoutServiceOrBusAndAtTheDeadlineWhenTheyHang) {
    expectOutOfReachWithin(500);
    ASSERT_NO_FATAL_FAILURE(startKeyring());
    EXPECT_TRUE(store.store(key, "kept"));
    ASSERT_EQ(::kill(static_cast<pid_t>(keyring.processId()), SIGSTOP), 0);
    expectOutOfReachWithin(1500);
    ASSERT_EQ(::kill(bus.processId(), SIGSTOP), 0);
    expectOutOfReachWithin(1500);
    bus.stop();
    expectOutOfReachWithin(500);
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", "/nonexistent");
    expectOutOfReachWithin(500);
}

TEST(SecretServiceDeadline, LeavesACallThatMayEndAtTheSameMoment) {
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", "/nonexistent");
    const SecretKey key{u"service"_s, u"account"_s};
    for (int round = 0; round < 300; ++round)
        EXPECT_FALSE(SecretServiceStore(std::chrono::milliseconds(round % 3)).store(key, "secret"));
}

} // namespace ternvault::test
