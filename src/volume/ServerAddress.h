#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include <sys/socket.h>

namespace ternvault::volume {

/// Address and SMB port of the server, and the TCP connections of this process to it: libsmbclient shows
/// neither whether its connection is alive nor a way to end a call that waits.
class ServerAddress {
public:
    /// Resolves the name and finds an address that takes connections, within `patience`. Throws MountFailure
    /// when the name cannot be resolved, std::system_error when no connection is made.
    static ServerAddress reach(const std::string& host, std::chrono::milliseconds patience);

    /// In digits.
    const std::string& text() const { return text_; }

    /// How many connections to the server this process has that neither side has ended.
    std::size_t liveConnections() const;
    /// Ends all connections of this process to the server; calls that wait for an answer fail at once. Any
    /// thread.
    void cutConnections() const;

private:
    ServerAddress(const sockaddr* address, socklen_t length);

    sockaddr_storage address_{};
    socklen_t length_ = 0;
    std::string text_;
};

} // namespace ternvault::volume
