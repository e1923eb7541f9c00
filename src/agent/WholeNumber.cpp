#include "agent/WholeNumber.h"

#include <charconv>
#include <limits>
#include <string>

namespace ternvault {

namespace {

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// One that is beyond all digits that a document can have is as good as any other of its sign.
int exponentOf(std::string_view text) {
    if (text.starts_with('+'))
        text.remove_prefix(1);
    int exponent = 0;
    if (std::from_chars(text.begin(), text.end(), exponent).ec != std::errc::result_out_of_range)
        return exponent;
    return text.starts_with('-') ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
}

/// The number is 0.DIGITS times ten to the power of `point`, without zeros at either end of the digits.
struct Decimal {
    std::string digits;
    std::int64_t point = 0;
};

Decimal decimalOf(std::string_view mantissa) {
    Decimal decimal;
    bool isFraction = false;
    for (const char character : mantissa) {
        if (!isDigit(character)) {
            isFraction = true;
            continue;
        }
        if (character != '0' || !decimal.digits.empty()) {
            decimal.digits += character;
            decimal.point += isFraction ? 0 : 1;
        } else if (isFraction) {
            --decimal.point;
        }
    }
    decimal.digits.erase(decimal.digits.find_last_not_of('0') + 1);
    return decimal;
}

} // namespace

std::optional<std::int64_t> wholeNumber(std::string_view number) {
    const bool isNegative = number.starts_with('-');
    number.remove_prefix(isNegative ? 1 : 0);
    const std::size_t end = std::min(number.find_first_of("eE"), number.size());
    Decimal decimal = decimalOf(number.substr(0, end));
    if (decimal.digits.empty())
        return 0;
    decimal.point += end < number.size() ? exponentOf(number.substr(end + 1)) : 0;
    const auto count = static_cast<std::int64_t>(decimal.digits.size());
    if (decimal.point < count || decimal.point > std::numeric_limits<std::int64_t>::digits10 + 1)
        return std::nullopt;
    decimal.digits.resize(static_cast<std::size_t>(decimal.point), '0');
    const std::string text = (isNegative ? "-" : "") + decimal.digits;
    std::int64_t value = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() ? std::optional(value) : std::nullopt;
}

} // namespace ternvault
