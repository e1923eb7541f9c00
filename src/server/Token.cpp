#include "server/Token.h"

#include "base/FileDescriptor.h"
#include "server/TextFile.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>

namespace ternvault::server {

namespace {

constexpr std::size_t randomBytes = 32;
constexpr std::size_t shortestToken = 16;

[[noreturn]] void fail(int code) {
    throw std::system_error(code, std::generic_category());
}

std::string randomDigits() {
    std::array<unsigned char, randomBytes> bytes{};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        fail(errno);
    std::string digits;
    for (const unsigned char byte : bytes)
        for (const int digit : {byte >> 4, byte & 15})
            digits += "0123456789abcdef"[digit];
    return digits;
}

void writeDurably(const std::filesystem::path& file, std::string_view content) {
    FileDescriptor descriptor(::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!descriptor)
        fail(errno);
    if (::write(descriptor.get(), content.data(), content.size()) != static_cast<ssize_t>(content.size()) ||
        ::fsync(descriptor.get()) != 0)
        fail(errno);
}

} // namespace

std::string createToken(const std::filesystem::path& file) {
    std::string token = randomDigits();
    // The file appears under its name only when it is whole; a link refuses to replace what is there.
    const std::filesystem::path draft = file.string() + '.' + randomDigits();
    const auto removeDraft = [&draft] { ::unlink(draft.c_str()); };
    try {
        writeDurably(draft, token + '\n');
    } catch (...) {
        removeDraft();
        throw;
    }
    const int code = ::link(draft.c_str(), file.c_str()) == 0 ? 0 : errno;
    removeDraft();
    if (code != 0)
        fail(code);
    return token;
}

std::string readToken(const std::filesystem::path& file) {
    struct stat attributes {};
    if (::stat(file.c_str(), &attributes) != 0)
        fail(errno);
    if ((attributes.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        fail(EPERM);
    std::string token = readTextFile(file);
    while (token.ends_with('\n'))
        token.pop_back();
    if (token.size() < shortestToken || token.find_first_of(" \t\r\n") != token.npos)
        fail(EINVAL);
    return token;
}

bool isSameSecret(std::string_view given, std::string_view expected) {
    unsigned difference = given.size() == expected.size() ? 0 : 1;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const char byte = i < given.size() ? given[i] : '\0';
        difference |= static_cast<unsigned char>(byte ^ expected[i]);
    }
    return difference == 0;
}

} // namespace ternvault::server
