#include "volume/NameMapping.h"

#include <algorithm>
#include <array>
#include <cwctype>

namespace ternvault::volume {
namespace {

/// The character at index i stands as U+F020 + i on the server.
constexpr std::u32string_view reserved = U"\"*:<>?\\| .";
constexpr char32_t privateControls = 0xF000;
constexpr char32_t privateReserved = 0xF020;
constexpr char32_t lastControl = 0x1F;

/// Strict: no overlong forms, no surrogates, nothing above U+10FFFF.
std::optional<std::u32string> decode(std::string_view text) {
    static constexpr std::array<char32_t, 4> smallest{0, 0x80, 0x800, 0x10000};
    std::u32string result;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i++]);
        const std::size_t more = lead < 0x80         ? 0
                                 : lead >> 5 == 0x6  ? 1
                                 : lead >> 4 == 0xE  ? 2
                                 : lead >> 3 == 0x1E ? 3
                                                     : 4;
        if (more == 4 || text.size() - i < more)
            return {};
        char32_t c = more == 0 ? lead : lead & (0x3F >> more);
        for (std::size_t k = 0; k < more; ++k, ++i) {
            const auto byte = static_cast<unsigned char>(text[i]);
            if (byte >> 6 != 0x2)
                return {};
            c = c << 6 | (byte & 0x3F);
        }
        if (c < smallest[more] || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000))
            return {};
        result += c;
    }
    return result;
}

std::string encode(std::u32string_view text) {
    std::string result;
    const auto tail = [&](char32_t c, int shift) { result += static_cast<char>(0x80 | (c >> shift & 0x3F)); };
    for (const char32_t c : text) {
        if (c < 0x80) {
            result += static_cast<char>(c);
        } else if (c < 0x800) {
            result += static_cast<char>(0xC0 | c >> 6);
            tail(c, 0);
        } else if (c < 0x10000) {
            result += static_cast<char>(0xE0 | c >> 12);
            tail(c, 6);
            tail(c, 0);
        } else {
            result += static_cast<char>(0xF0 | c >> 18);
            tail(c, 12);
            tail(c, 6);
            tail(c, 0);
        }
    }
    return result;
}

bool isPrivate(char32_t c) {
    return (c > privateControls && c <= privateControls + lastControl) ||
           (c >= privateReserved && c < privateReserved + reserved.size());
}

bool onlyAtTheEnd(char32_t c) {
    return c == U' ' || c == U'.';
}

char32_t lowered(char32_t c) {
    return c >= U'A' && c <= U'Z' ? c + (U'a' - U'A') : c;
}

/// Exactly the names that Samba shows under other ones. The protocol's documents reserve more (com5 to com9),
/// but those reach us as they are, and one that somebody else stored must stay within reach.
bool isDeviceName(std::u32string_view name) {
    static constexpr std::array<std::u32string_view, 12> devices{U"aux",  U"con",  U"nul",  U"prn",
                                                                 U"com1", U"com2", U"com3", U"com4",
                                                                 U"lpt1", U"lpt2", U"lpt3", U"lpt4"};
    std::u32string base(name.substr(0, name.find(U'.')));
    std::ranges::transform(base, base.begin(), lowered);
    return std::ranges::find(devices, base) != devices.end();
}

/// The device's name that was kept as `name`, or nothing.
std::optional<std::u32string> deviceNameKeptAs(std::u32string name) {
    if (name.empty() || name.front() < privateControls)
        return {};
    name.front() -= privateControls;
    return isDeviceName(name) ? std::optional(name) : std::nullopt;
}

} // namespace

std::optional<std::string> toServerName(std::string_view localName) {
    auto name = decode(localName);
    if (!name || std::any_of(name->begin(), name->end(), isPrivate) || deviceNameKeptAs(*name))
        return {};
    const bool isDevice = isDeviceName(*name);
    for (auto& c : *name) {
        const auto index = reserved.find(c);
        if (c <= lastControl)
            c += privateControls;
        else if (index != reserved.npos && (!onlyAtTheEnd(c) || &c == &name->back()))
            c = privateReserved + static_cast<char32_t>(index);
    }
    if (isDevice)
        name->front() += privateControls;
    return encode(*name);
}

std::string toLocalName(std::string_view serverName) {
    auto name = decode(serverName);
    if (!name)
        return std::string(serverName);
    for (auto& c : *name) {
        if (isPrivate(c))
            c = c >= privateReserved ? reserved[c - privateReserved] : c - privateControls;
    }
    return encode(deviceNameKeptAs(*name).value_or(*name));
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    const auto a = decode(left);
    const auto b = decode(right);
    const auto same = [](char32_t x, char32_t y) {
        return std::towupper(wint_t(x)) == std::towupper(wint_t(y));
    };
    return a && b && std::equal(a->begin(), a->end(), b->begin(), b->end(), same);
}

} // namespace ternvault::volume
