#include "volume/SymlinkFile.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>

#include <nettle/md5.h>

namespace ternvault::volume {
namespace {

constexpr std::string_view magic = "XSym\n";
constexpr std::size_t lengthDigits = 4;
constexpr std::size_t headerSize = magic.size() + lengthDigits + 1 + std::size_t{2} * MD5_DIGEST_SIZE + 1;
static_assert(headerSize + longestSymlinkTarget == symlinkFileSize);

std::string hexDigest(std::string_view text) {
    md5_ctx context;
    md5_init(&context);
    md5_update(&context, text.size(), reinterpret_cast<const std::uint8_t*>(text.data()));
    std::array<std::uint8_t, MD5_DIGEST_SIZE> digest;
    md5_digest(&context, digest.size(), digest.data());
    std::string hex;
    for (const auto byte : digest) {
        constexpr std::string_view digits = "0123456789abcdef";
        hex += digits[byte >> 4];
        hex += digits[byte & 0xF];
    }
    return hex;
}

} // namespace

std::string encodeSymlink(std::string_view target) {
    std::array<char, lengthDigits + 1> length;
    std::snprintf(length.data(), length.size(), "%04u", static_cast<unsigned>(target.size() % 10000));
    std::string file(magic);
    file.append(length.data()).append("\n").append(hexDigest(target)).append("\n").append(target);
    if (file.size() < symlinkFileSize)
        file += '\n';
    file.resize(symlinkFileSize, ' ');
    return file;
}

std::optional<std::string> decodeSymlink(std::string_view contents) {
    if (contents.size() != symlinkFileSize || contents.substr(0, magic.size()) != magic)
        return {};
    std::size_t length = 0;
    const char* digits = contents.data() + magic.size();
    const auto parsed = std::from_chars(digits, digits + lengthDigits, length);
    if (parsed.ptr != digits + lengthDigits || length == 0 || length > longestSymlinkTarget)
        return {};
    std::string target(contents.substr(headerSize, length));
    if (encodeSymlink(target) != contents)
        return {};
    return target;
}

} // namespace ternvault::volume
