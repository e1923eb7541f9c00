#include "agent/AgentRecords.h"
#include "agent/JsonDecoding.h"

#include <cstdlib>

/// What decodes must come back the same after encoding; what does not must say why.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    try {
        const ternvault::DisksResponse response = ternvault::decodeDisksResponse(json);
        const ternvault::DisksResponse again =
            ternvault::decodeDisksResponse(ternvault::encodeDisksResponse(response));
        if (again != response || qHash(again) != qHash(response))
            std::abort();
    } catch (const ternvault::DecodingError& error) {
        if (*error.what() == '\0')
            std::abort();
    }
    return 0;
}
