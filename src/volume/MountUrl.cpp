#include "volume/MountUrl.h"

#include <stdexcept>

namespace ternvault::volume {
namespace {

constexpr std::string_view scheme = "smb://";
/// libsmbclient hands out buffers of 256 bytes for user and password.
constexpr std::size_t longestCredential = 255;

std::string withoutBrackets(std::string_view host) {
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    return std::string(host);
}

void check(bool holds, const char* reason) {
    if (!holds)
        throw std::invalid_argument(reason);
}

} // namespace

MountUrl parseMountUrl(std::string_view text) {
    check(text.substr(0, scheme.size()) == scheme, "the address does not begin with smb://");
    text.remove_prefix(scheme.size());
    if (!text.empty() && text.back() == '\n')
        text.remove_suffix(1);
    const auto slash = text.rfind('/');
    check(slash != text.npos, "the address has no share");
    const auto login = text.substr(0, slash);
    const auto at = login.rfind('@');
    check(at != login.npos, "the address has no user");
    const auto credentials = login.substr(0, at);
    const auto colon = credentials.find(':');

    MountUrl url;
    url.user = credentials.substr(0, colon);
    url.password = colon == credentials.npos ? std::string_view() : credentials.substr(colon + 1);
    url.host = withoutBrackets(login.substr(at + 1));
    url.share = text.substr(slash + 1);
    check(!url.host.empty(), "the address has no server");
    check(!url.user.empty(), "the address has no user");
    check(!url.share.empty(), "the address has no share");
    check(url.share != "." && url.share != "..", "this share name cannot be used");
    check(text.find('\0') == text.npos, "the address holds a NUL character");
    check(url.user.size() <= longestCredential, "the user name is too long");
    check(url.password.size() <= longestCredential, "the password is too long");
    return url;
}

} // namespace ternvault::volume
