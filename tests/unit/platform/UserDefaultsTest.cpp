#include "base/FileDescriptor.h"
#include "platform/linux/LinuxUserDefaults.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>

namespace ternvault::test {

using namespace Qt::StringLiterals;

const QVariantMap others = {
    {u"text"_s, u" a\r\n\x01"_s},
    {u"nested"_s, QVariantMap{{u"list"_s, QVariantList{true, qlonglong{1}, 1.0, QByteArray("x")}}}},
};

class UserDefaultsTest : public testing::Test {
protected:
    void SetUp() override { fs::create_directory(file.parent_path()); }

    LinuxUserDefaults open() {
        return LinuxUserDefaults(file, [this](const QString& problem) { problems.append(problem); });
    }
    /// A process that stores 1, 2, ... up to `count` under the key and writes each number once it is stored.
    pid_t storeElsewhere(const QString& key, int count, const FileDescriptor& output) {
        const pid_t child = ::fork();
        if (child != 0)
            return child;
        LinuxUserDefaults defaults = open();
        for (int i = 1; i <= count; ++i) {
            defaults.set(key, i);
            if (::write(output.get(), &i, sizeof i) < 0)
                ::_exit(2);
        }
        ::_exit(problems.isEmpty() ? 0 : 1);
    }
    std::vector<fs::path> setAside() const {
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator(file.parent_path()))
            if (entry.path().native().find(".damaged-") != std::string::npos)
                found.push_back(entry.path());
        return found;
    }

    TemporaryFolder folder;
    fs::path file = folder / "config/settings.plist";
    QStringList problems;
};

TEST_F(UserDefaultsTest, TellsAbsentApartAndWritesOnlyChanges) {
    fs::remove_all(file.parent_path());
    LinuxUserDefaults defaults = open();
    EXPECT_FALSE(defaults.object(u"a"_s));
    defaults.set(u"a"_s, others);
    EXPECT_EQ(open().object(u"a"_s), QVariant(others));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));
    fs::create_hard_link(file, folder / "before");
    defaults.set(u"a"_s, others);
    defaults.remove(u"none"_s);
    EXPECT_TRUE(fs::equivalent(file, folder / "before")) << "an unchanged value was written again";
    open().remove(u"a"_s);
    EXPECT_FALSE(defaults.object(u"a"_s)) << "a change of another process was not seen";
}

TEST_F(UserDefaultsTest, WritesBackOnlyWhatIsStillThere) {
    open().set(u"a"_s, u"old"_s);
    LinuxUserDefaults defaults = open();
    for (const QVariant& newer : {QVariant(1), QVariant()}) {
        const std::optional<QVariant> read = defaults.object(u"a"_s);
        newer.isNull() ? open().remove(u"a"_s) : open().set(u"a"_s, newer);
        for (int twice = 0; twice < 2; ++twice)
            defaults.writeBack(u"a"_s, *read);
        EXPECT_EQ(open().object(u"a"_s).value_or(QVariant()), newer);
    }
    EXPECT_FALSE(defaults.object(u"a"_s));
    for (const int value : {2, 3})
        defaults.writeBack(u"a"_s, value);
    EXPECT_EQ(open().object(u"a"_s), QVariant(3)) << "what this process has stored is known";
}

TEST_F(UserDefaultsTest, FollowsALink) {
    open().set(u"old"_s, 0);
    fs::rename(file, folder / "config/real.plist");
    fs::create_symlink("real.plist", file);
    open().set(u"new"_s, 1);
    EXPECT_TRUE(fs::is_symlink(file));
    EXPECT_TRUE(open().object(u"old"_s) && open().object(u"new"_s));
}

TEST_F(UserDefaultsTest, SurvivesAKillAtAnyMoment) {
    open().set(u"others"_s, others);
    for (int round = 0; round < 40; ++round) {
        open().set(u"counter"_s, 0);
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const FileDescriptor reports(ends[0]);
        FileDescriptor output(ends[1]);
        const pid_t child = storeElsewhere(u"counter"_s, 1'000'000, output);
        output = FileDescriptor();
        int last = 0;
        const auto hears = [&] { return ::read(reports.get(), &last, sizeof last) == sizeof last; };
        for (int count = 0; count <= round % 8; ++count)
            ASSERT_TRUE(hears());
        ::kill(child, SIGKILL);
        while (hears()) {
        }
        ::waitpid(child, nullptr, 0);
        LinuxUserDefaults defaults = open();
        const qlonglong stored = defaults.object(u"counter"_s).value_or(-1).toLongLong();
        EXPECT_TRUE(stored == last || stored == last + 1) << stored << " after " << last;
        EXPECT_EQ(defaults.object(u"others"_s), QVariant(others));
        EXPECT_TRUE(setAside().empty());
    }
    EXPECT_EQ(problems, QStringList());
}

TEST_F(UserDefaultsTest, TwoProcessesLoseNoneOfEachOthersKeys) {
    const FileDescriptor nowhere(::open("/dev/null", O_WRONLY));
    const pid_t children[] = {storeElsewhere(u"0"_s, 300, nowhere), storeElsewhere(u"1"_s, 300, nowhere)};
    for (int i = 0; i < 2; ++i) {
        int status = -1;
        ASSERT_EQ(::waitpid(children[i], &status, 0), children[i]);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(open().object(QString::number(i)), QVariant(qlonglong{300}));
    }
}

TEST_F(UserDefaultsTest, SetsADamagedFileAsideAndReportsIt) {
    for (const std::string content : {"<plist><dict><key>a</key>", "<plist><array/></plist>", ""}) {
        problems.clear();
        writeFile(file, content);
        open().set(u"a"_s, true);
        EXPECT_EQ(open().object(u"a"_s), QVariant(true)) << content;
        EXPECT_EQ(problems.size(), 1) << content;
        // There is nothing to save in an empty file.
        ASSERT_EQ(setAside().size(), content.empty() ? 0U : 1U) << content;
        for (const fs::path& saved : setAside()) {
            EXPECT_EQ(readFile(saved), content);
            fs::remove(saved);
        }
    }
}

TEST_F(UserDefaultsTest, KeepsWhatCannotBeStoredAndTriesAgain) {
    open().set(u"a"_s, 1);
    LinuxUserDefaults defaults = open();
    const std::string before = readFile(file);
    // Permissions do not stop the superuser, a folder in the way of the new content does.
    fs::create_directory(file.native() + ".new");
    defaults.set(u"a"_s, 2);
    EXPECT_EQ(readFile(file), before);
    EXPECT_FALSE(defaults.object(u"b"_s));
    defaults.writeBack(u"b"_s, 1);
    fs::remove(file.native() + ".new");
    open().set(u"b"_s, u"newer"_s);
    defaults.remove(u"c"_s);
    EXPECT_EQ(open().object(u"a"_s), QVariant(qlonglong{2})) << "not tried again";
    EXPECT_EQ(open().object(u"b"_s), QVariant(u"newer"_s));
}

TEST_F(UserDefaultsTest, NeverReplacesWhatItCannotRead) {
    fs::create_directory(file);
    LinuxUserDefaults defaults = open();
    defaults.set(u"a"_s, true);
    EXPECT_TRUE(fs::is_directory(file));
    EXPECT_EQ(problems.size(), 1);
    fs::remove(file);
    open().set(u"a"_s, u"what was there"_s);
    defaults.set(u"b"_s, true);
    EXPECT_EQ(open().object(u"a"_s), QVariant(u"what was there"_s)) << "a guess never overwrites";
    EXPECT_EQ(open().object(u"b"_s), QVariant(true));
}

} // namespace ternvault::test
