#pragma once

#include <string>
#include <string_view>

namespace ternvault::server {

/// One line to standard error, which the journal takes. Never give it a name, a header's value or a body.
void logLine(std::string_view text);

/// `text` for a log line: not more than 128 bytes of it, and everything but printable ASCII escaped.
std::string printable(std::string_view text);

} // namespace ternvault::server
