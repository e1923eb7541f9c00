#pragma once

#include <optional>
#include <string>
#include <string_view>

/// File names here and on the server. SMB knows no `: ? * " < > | \`, no control characters and no blank or
/// dot at the end of a name; as other clients do, these are kept on the server as characters U+F001 to U+F029
/// of the private range. So is the first letter of a name that stands for a device (aux.h, con, com1) and
/// that the server would show under another one: U+F061 for a.
namespace ternvault::volume {

/// Nothing when the name cannot be kept on the server so that it comes back the same: it is not UTF-8, or
/// holds one of the private characters itself.
std::optional<std::string> toServerName(std::string_view localName);
std::string toLocalName(std::string_view serverName);

/// Whether two names are the same to a server that does not tell upper from lower case.
bool equalIgnoringCase(std::string_view left, std::string_view right);

} // namespace ternvault::volume
