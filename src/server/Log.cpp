#include "server/Log.h"

#include <unistd.h>

namespace ternvault::server {

namespace {

constexpr std::size_t longest = 128;

} // namespace

void logLine(std::string_view text) {
    std::string line(text);
    line += '\n';
    // In one piece, so that lines of several threads stay whole. Nobody is left to hear of a failure.
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
}

std::string printable(std::string_view text) {
    constexpr auto digits = "0123456789abcdef";
    std::string result;
    for (const char c : text.substr(0, longest)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= ' ' && byte <= '~' && byte != '\\')
            result += c;
        else
            result.append("\\x").append(1, digits[byte >> 4]).append(1, digits[byte & 15]);
    }
    return text.size() > longest ? result + "..." : result;
}

} // namespace ternvault::server
