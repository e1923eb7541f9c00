#include "volume/MountFailure.h"

#include <cerrno>
#include <system_error>

namespace ternvault::volume {

std::string describeConnectError(int error) {
    switch (error) {
    case EACCES:
    case EPERM:
        return "The server refused the user name or password, or does not let this user use the share.";
    case ENOENT:
    case ENODEV:
        return "There is no such share on the server.";
    case ECONNREFUSED:
        return "The server refused the connection. Is file sharing switched on there?";
    case ETIMEDOUT:
        return "The server did not answer in time.";
    case EHOSTUNREACH:
    case ENETUNREACH:
    case EHOSTDOWN:
    case ENETDOWN:
    case ENONET:
    case EADDRNOTAVAIL:
        return "The server cannot be reached over the network.";
    case ECONNRESET:
    case ECONNABORTED:
    case ENETRESET:
    case ENOTCONN:
    case ESHUTDOWN:
    case EPIPE:
        return "The server closed the connection.";
    case EMFILE:
    case ENFILE:
    case ENOMEM:
    case ENOBUFS:
    case EAGAIN:
        return outOfResources;
    default:
        return "The server could not be used: " + std::generic_category().message(error) + ".";
    }
}

std::string describeLocalError(const std::filesystem::filesystem_error& error) {
    return error.path1().string() + " on this computer cannot be used: " + error.code().message() + ".";
}

} // namespace ternvault::volume
