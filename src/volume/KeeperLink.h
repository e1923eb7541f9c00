#pragma once

#include <string>
#include <string_view>

namespace ternvault::volume {

/// What the daemon tells its keeper, over a pipe: one letter a message.
namespace message {
inline constexpr char alive = 'a';
inline constexpr char mounted = 'm';
/// Followed by the reason, up to the end of the pipe.
inline constexpr char failed = 'f';
} // namespace message

/// The daemon's end of the pipe. The volume goes on without a keeper: a copy that runs is worth more than the
/// second guard, and leftovers are reaped before the next mount. Thread-safe.
class DaemonEnd {
public:
    explicit DaemonEnd(int descriptor) : descriptor_(descriptor) {}

    void alive() const { send({&message::alive, 1}); }
    void mounted() const { send({&message::mounted, 1}); }
    void failed(std::string_view reason) const { send(std::string(1, message::failed).append(reason)); }

private:
    /// Never waits: a keeper that does not read has the beats that it needs in the pipe.
    void send(std::string_view text) const;

    int descriptor_;
};

} // namespace ternvault::volume
