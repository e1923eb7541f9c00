#include "agent/AgentRecords.h"
#include "agent/JsonDecoding.h"

#include <cstdint>
#include <cstdlib>

/// What decodes must come back the same after encoding; what does not must say why.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    ternvault::DisksResponse response;
    try {
        response = ternvault::decodeDisksResponse(json);
    } catch (const ternvault::DecodingError& error) {
        if (*error.what() == '\0')
            std::abort();
        return 0;
    }
    const ternvault::DisksResponse again =
        ternvault::decodeDisksResponse(ternvault::encodeDisksResponse(response));
    if (again != response || qHash(again) != qHash(response))
        std::abort();
    return 0;
}
