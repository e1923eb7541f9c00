#include "platform/linux/LinuxSecretStore.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <map>
#include <sys/stat.h>

namespace ternvault {

using namespace Qt::StringLiterals;
using test::TemporaryFolder;

namespace {

const QString service = u"space.larkspur.ternvault"_s;
const QString account = u"ternvault.smbPassword"_s;
const SecretKey key{service, account};

class FakeService final : public SecretBackend {
public:
    SecretAnswer find(const SecretKey& wanted) override {
        ++calls;
        if (!reachable)
            return {};
        const auto found = secrets.find(wanted);
        return found == secrets.end() ? SecretAnswer{SecretAnswer::State::absent, {}}
                                      : SecretAnswer{SecretAnswer::State::found, found->second};
    }
    bool store(const SecretKey& stored, const QByteArray& secret) override {
        ++calls;
        if (reachable)
            secrets[stored] = secret;
        return reachable;
    }
    bool remove(const SecretKey& removed) override {
        ++calls;
        if (reachable)
            secrets.erase(removed);
        return reachable;
    }

    std::map<SecretKey, QByteArray> secrets;
    bool reachable = true;
    int calls = 0;
};

/// One user over several runs of the program.
class SecretStoreTest : public testing::Test {
protected:
    void startProcess() {
        file = std::make_unique<FileSecretStore>(path, [](const QString&) { ADD_FAILURE(); });
        store = std::make_unique<LinuxSecretStore>(fake, *file);
        fake.calls = 0;
    }
    void SetUp() override { startProcess(); }

    std::optional<QByteArray> find() { return store->find(service, account); }
    void set(const QByteArray& secret) {
        store->remove(service, account);
        EXPECT_TRUE(store->add(service, account, secret));
    }

    TemporaryFolder folder;
    std::filesystem::path path = folder / "secrets.plist";
    FakeService fake;
    std::unique_ptr<FileSecretStore> file;
    std::unique_ptr<LinuxSecretStore> store;
};

} // namespace

TEST_F(SecretStoreTest, UsesTheServiceAloneWhileItAnswers) {
    EXPECT_EQ(find(), std::nullopt);
    set("pässword");
    EXPECT_EQ(find(), "pässword");
    set("");
    EXPECT_EQ(find(), "");
    store->remove(service, account);
    EXPECT_TRUE(fake.secrets.empty());
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(SecretStoreTest, OneMissedAnswerSelectsThePrivateFileUntilTheNextStart) {
    fake.reachable = false;
    EXPECT_EQ(find(), std::nullopt);
    fake.reachable = true;
    set("in file");
    EXPECT_EQ(find(), "in file");
    EXPECT_EQ(fake.calls, 1);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);

    fake.reachable = false;
    startProcess();
    EXPECT_EQ(find(), "in file") << "an entry of the file was not found without the service";
    fake.reachable = true;
    startProcess();
    EXPECT_EQ(find(), "in file");
    EXPECT_EQ(fake.secrets[key], "in file");
    EXPECT_TRUE(file->entries().empty()) << "the secret stayed in the file";
}

TEST_F(SecretStoreTest, TheFileWinsOverAnOlderSecretOfTheService) {
    set("old");
    fake.reachable = false;
    startProcess();
    set("new");
    fake.reachable = true;
    startProcess();
    EXPECT_EQ(find(), "new");
    EXPECT_EQ(fake.secrets[key], "new");
}

TEST_F(SecretStoreTest, ClearingAfterAReadThatNothingAnsweredForgetsNoSecret) {
    set("precious");
    fake.reachable = false;
    startProcess();
    EXPECT_EQ(find(), std::nullopt);
    fake.reachable = true;
    store->remove(service, account);
    EXPECT_EQ(fake.secrets[key], "precious");
    startProcess();
    EXPECT_EQ(find(), "precious");
}

TEST_F(SecretStoreTest, ARemovalThatTheUserAskedForReachesTheServiceLater) {
    set("unwanted");
    fake.reachable = false;
    startProcess();
    EXPECT_EQ(find(), std::nullopt);
    store->remove(service, account);
    store->remove(service, account);
    startProcess();
    EXPECT_EQ(find(), std::nullopt);
    fake.reachable = true;
    startProcess();
    EXPECT_EQ(find(), std::nullopt);
    EXPECT_TRUE(fake.secrets.empty());
    EXPECT_TRUE(file->entries().empty());
}

TEST_F(SecretStoreTest, AServiceLostMeanwhileAndAnotherProcessWithTheFileAreNoticed) {
    set("first");
    fake.reachable = false;
    set("second");
    EXPECT_EQ(find(), "second");
    fake.reachable = true;
    startProcess();
    FakeService unreachable;
    unreachable.reachable = false;
    EXPECT_EQ(find(), "second");
    FileSecretStore othersFile(path, [](const QString&) { ADD_FAILURE(); });
    LinuxSecretStore other(unreachable, othersFile);
    EXPECT_TRUE(other.add(service, account, "of the other process"));
    EXPECT_EQ(find(), "of the other process");
    set("third");
    startProcess();
    EXPECT_EQ(find(), "third");
}

} // namespace ternvault
