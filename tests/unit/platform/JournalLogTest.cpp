#include "platform/linux/JournalLog.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <sys/socket.h>
#include <sys/un.h>

namespace ternvault::test {

using namespace Qt::StringLiterals;

namespace {

/// A log service's socket of the test's own.
FileDescriptor listenAt(const std::filesystem::path& path) {
    FileDescriptor service(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(service.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return service;
}

QByteArray receive(const FileDescriptor& service) {
    std::array<char, 4096> datagram{};
    const ssize_t size = ::recv(service.get(), datagram.data(), datagram.size(), MSG_DONTWAIT);
    return {datagram.data(), std::max<ssize_t>(size, 0)};
}

} // namespace

TEST(JournalLog, WritesToTheJournalElseTheSystemLogAndNeverWaits) {
    const TemporaryFolder folder;
    JournalLog log(folder / "journal", folder / "log");
    const auto report = [&log] { log.error(u"space.larkspur.ternvault"_s, u"transfer"_s, u"100 %s\nä"_s); };
    report();
    {
        const FileDescriptor systemLog = listenAt(folder / "log");
        report();
        EXPECT_EQ(receive(systemLog), "<11>ternvault: [space.larkspur.ternvault:transfer] 100 %s\nä");
    }
    const FileDescriptor journal = listenAt(folder / "journal");
    report();
    const QByteArray entry = receive(journal);
    EXPECT_TRUE(entry.startsWith(QByteArray("MESSAGE\n\x09\0\0\0\0\0\0\0", 16) + "100 %s\nä\nPRIORITY\n"));
    EXPECT_TRUE(entry.contains(QByteArray("CATEGORY\n\x08\0\0\0\0\0\0\0transfer\n", 26)));
    for (int i = 0; i < 10'000; ++i)
        report(); // A service that hangs takes a few hundred.
    EXPECT_EQ(receive(journal), entry);
}

} // namespace ternvault::test
