#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace ternvault {

/// The value of a JSON number, judged from its digits, so that nothing is rounded on the way; nothing when it
/// is not whole or does not fit. Any character may stand for the decimal point, because parsers take the
/// locale's.
std::optional<std::int64_t> wholeNumber(std::string_view number);

} // namespace ternvault
