#pragma once

#include <stdexcept>
#include <string>

namespace ternvault::volume {

/// Why a share could not be mounted; the text is for the user and one line.
class MountFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The reason in words for an error of the first connection.
std::string describeConnectError(int error);

} // namespace ternvault::volume
