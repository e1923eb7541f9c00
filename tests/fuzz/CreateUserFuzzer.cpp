#include "agent/CreateUser.h"

#include <cstdint>
#include <cstdlib>

/// The first two bytes are the status, the rest is the body. A success is one that HTTP calls so; a failure
/// has a code.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const int status = data[0] * 256 + data[1];
    const QByteArray body(reinterpret_cast<const char*>(data + 2), static_cast<qsizetype>(size - 2));
    try {
        ternvault::checkCreateUserAnswer({status, body});
        if (status < 200 || status > 299)
            std::abort();
    } catch (const ternvault::CreateUserError& error) {
        const bool isSuccess = status >= 200 && status <= 299;
        const bool isUnauthorized = error.code() == QLatin1String("unauthorized");
        if (error.code().isEmpty() || (isSuccess && !error.userExists()) ||
            (status == 409 && !error.userExists()) || (status == 401 && !isUnauthorized))
            std::abort();
    }
    return 0;
}
