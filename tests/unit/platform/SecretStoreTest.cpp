#include "platform/linux/LinuxSecretStore.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <map>
#include <utility>

namespace ternvault::test {

using namespace Qt::StringLiterals;

namespace {

const QString service = u"space.larkspur.ternvault"_s;
const QString account = u"ternvault.smbPassword"_s;
const SecretKey key{service, account};

class FakeService final : public SecretBackend {
public:
    SecretAnswer find(const SecretKey& wanted) override {
        if (!reachable)
            return {};
        const auto found = secrets.find(wanted);
        return found == secrets.end() ? SecretAnswer{SecretAnswer::State::absent, {}}
                                      : SecretAnswer{SecretAnswer::State::found, found->second};
    }
    bool store(const SecretKey& stored, const QByteArray& secret) override {
        if (onChange)
            std::exchange(onChange, nullptr)();
        if (reachable)
            secrets[stored] = secret;
        return reachable && !isOlderOneLocked;
    }
    bool remove(const SecretKey& removed) override {
        if (reachable)
            secrets.erase(removed);
        return reachable && !isOlderOneLocked;
    }

    std::map<SecretKey, QByteArray> secrets;
    bool reachable = true;
    /// An item in a collection that cannot be changed now: it may answer when it is unlocked.
    bool isOlderOneLocked = false;
    /// What happens at the moment of the next change.
    std::function<void()> onChange;
};

/// One user over several runs of the program, told in words.
class SecretStoreTest : public testing::Test {
protected:
    void restart() {
        file = std::make_unique<FileSecretStore>(path, [](const QString&) { ADD_FAILURE(); });
        store = std::make_unique<LinuxSecretStore>(fake, *file);
    }
    /// A process that does not reach the service.
    void addElsewhere(const QByteArray& secret) {
        FakeService unreachable;
        unreachable.reachable = false;
        FileSecretStore othersFile(path, [](const QString&) { ADD_FAILURE(); });
        EXPECT_TRUE(LinuxSecretStore(unreachable, othersFile).add(service, account, secret));
    }
    /// Another process that changes the secret while this one is about to; it comes first if nothing keeps
    /// it.
    void addMeanwhile(const QByteArray& secret) {
        other = std::async(std::launch::async, [this, secret] {
            FileSecretStore othersFile(path, [](const QString&) { ADD_FAILURE(); });
            EXPECT_TRUE(LinuxSecretStore(fake, othersFile).add(service, account, secret));
        });
        other.wait_for(std::chrono::milliseconds(100));
    }
    void play(const QByteArray& word) {
        const QByteArray what = word.split(':').first();
        const QByteArray value = word.mid(what.size() + 1);
        const std::optional<QByteArray> expected = value == "-" ? std::nullopt : std::optional(value);
        if (what == "up" || what == "down")
            fake.reachable = what == "up";
        else if (what == "ended")
            other.wait();
        else if (what == "restart")
            restart();
        else if (what == "remove")
            store->remove(service, account);
        else if (what == "set")
            EXPECT_TRUE((store->remove(service, account), store->add(service, account, value)));
        else if (what == "elsewhere")
            addElsewhere(value);
        else if (what == "meanwhile")
            fake.onChange = [this, value] { addMeanwhile(value); };
        else if (what == "impatient")
            fake.onChange = [this, value] { EXPECT_TRUE(file->put(key, value)); };
        else if (what == "held")
            holder = file->lockChanges({}, error);
        else if (what == "add")
            EXPECT_TRUE(store->add(service, account, value));
        else if (what == "locked" || what == "unlocked")
            fake.isOlderOneLocked = what == "locked";
        else if (what == "find")
            EXPECT_EQ(store->find(service, account), expected);
        else if (what == "service")
            EXPECT_EQ(fake.secrets.contains(key) ? std::optional(fake.secrets[key]) : std::nullopt, expected);
        else if (what == "file")
            EXPECT_EQ(file->entries().empty(), value == "empty");
        else
            ADD_FAILURE() << "unknown word";
    }

    TemporaryFolder folder;
    std::filesystem::path path = folder / "secrets.plist";
    FakeService fake;
    std::unique_ptr<FileSecretStore> file;
    std::unique_ptr<LinuxSecretStore> store;
    std::future<void> other;
    std::error_code error;
    std::optional<FileLock> holder;
};

} // namespace

TEST_F(SecretStoreTest, ServiceAndPrivateFileNeverDisagree) {
    const std::pair<const char*, QByteArray> stories[] = {
        {"the service alone while it answers",
         "find:- set:pässword find:pässword set: find: file:empty remove service:-"},
        {"one missed answer selects the file until the next start",
         "down find:- up set:new find:new service:- down restart find:new up restart find:new service:new "
         "file:empty"},
        {"the file wins over an older secret of the service",
         "set:old down restart set:new up restart find:new service:new"},
        {"clearing after a read that nothing answered forgets no secret",
         "set:precious down restart find:- up remove service:precious restart find:precious"},
        {"a removal that the user asked for reaches the service later",
         "set:unwanted down restart find:- remove remove restart find:- up restart find:- service:- "
         "file:empty"},
        {"what was read is written back, or cleared, over nothing newer",
         "down elsewhere:old restart find:old elsewhere:new add:old restart find:new remove elsewhere:newer "
         "find:newer elsewhere:newest remove find:newest"},
        {"a legacy secret moves only to where none is yet",
         "find:- elsewhere:new add:legacy restart find:new"},
        {"what changes while its forerunner moves into the service stays",
         "down elsewhere:old up restart meanwhile:new find:old ended restart find:new service:new "
         "file:empty"},
        {"who waited in vain for a change has put something newer into the file",
         "set:old restart impatient:newer set:new find:newer file:full restart find:newer service:newer"},
        {"while others keep this process from changes, the file serves",
         "set:old held set:new find:new set:newer find:newer service:old file:full"},
        {"what was read is changed though the service is lost meanwhile",
         "set:old restart find:old down add:new find:new up restart find:new service:new"},
        {"what cannot be cleared now never answers again",
         "set:old locked set:new restart find:new file:full up restart unlocked find:new restart find:new "
         "service:new file:empty locked remove restart find:- unlocked restart find:- service:- file:empty"},
        {"a service lost meanwhile, and another process with the file",
         "set:first down set:second find:second up restart find:second elsewhere:other find:other set:third "
         "restart find:third"},
    };
    for (const auto& [name, story] : stories) {
        SCOPED_TRACE(name);
        fake = {};
        holder.reset();
        std::filesystem::remove(path);
        restart();
        for (const QByteArray& word : story.split(' ')) {
            SCOPED_TRACE(word.toStdString());
            play(word);
        }
        EXPECT_TRUE(!std::filesystem::exists(path) ||
                    std::filesystem::status(path).permissions() == std::filesystem::perms(0600));
    }
}

} // namespace ternvault::test
