#include "agent/AgentRecords.h"
#include "agent/JsonDecoding.h"

#include "Fuzzing.h"

/// What decodes must come back the same after encoding; what does not must say why.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    ternvault::DisksResponse response;
    try {
        response = ternvault::decodeDisksResponse(json);
    } catch (const ternvault::DecodingError& error) {
        require(*error.what() != '\0');
        return 0;
    }
    const ternvault::DisksResponse again =
        ternvault::decodeDisksResponse(ternvault::encodeDisksResponse(response));
    require(again == response && qHash(again) == qHash(response));
    return 0;
}
