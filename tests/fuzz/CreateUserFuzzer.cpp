#include "agent/CreateUser.h"

#include "Fuzzing.h"

/// The first two bytes are the status, the rest is the body. A success is one that HTTP calls so; a failure
/// has a code.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const int status = data[0] * 256 + data[1];
    const QByteArray body(reinterpret_cast<const char*>(data + 2), static_cast<qsizetype>(size - 2));
    const bool isSuccess = status >= 200 && status <= 299;
    try {
        ternvault::checkCreateUserAnswer({status, body});
        require(isSuccess);
    } catch (const ternvault::CreateUserError& error) {
        require(!error.code().isEmpty());
        require(error.userExists() || !(isSuccess || status == 409));
        require(status != 401 || error.code() == QLatin1String("unauthorized"));
    }
    return 0;
}
