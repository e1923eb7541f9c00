#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace ternvault::volume {

/// Why a share could not be mounted; the text is for the user and one line.
class MountFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline constexpr auto outOfResources = "This computer is out of resources.";
inline constexpr auto endedUnexpectedly = "The program that serves the volume ended unexpectedly.";

/// The reason in words for an error of the first connection.
std::string describeConnectError(int error);
/// The reason in words for an error that is not the server's; it names the place.
std::string describeLocalError(const std::filesystem::filesystem_error& error);

} // namespace ternvault::volume
