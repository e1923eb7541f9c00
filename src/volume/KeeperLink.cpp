#include "volume/KeeperLink.h"

#include <unistd.h>

namespace ternvault::volume {

void DaemonEnd::send(std::string_view text) const {
    [[maybe_unused]] const auto sent = ::write(descriptor_, text.data(), text.size());
}

} // namespace ternvault::volume
