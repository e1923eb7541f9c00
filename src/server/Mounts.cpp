#include "server/Mounts.h"

#include <sstream>

namespace ternvault::server {

namespace {

bool isOctal(std::string_view digits) {
    return digits.size() == 3 && digits.find_first_not_of("01234567") == digits.npos && digits[0] <= '3';
}

/// The kernel writes blanks and backslashes as octal numbers: "\040".
std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (const auto digits = text.substr(i + 1, 3); text[i] == '\\' && isOctal(digits)) {
            result += static_cast<char>((digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0'));
            i += digits.size();
        } else {
            result += text[i];
        }
    return result;
}

bool areReadOnly(const std::string& options) {
    return options == "ro" || options.starts_with("ro,");
}

} // namespace

bool isWithin(std::string_view path, std::string_view folder) {
    return folder == "/" || path == folder || (path.starts_with(folder) && path[folder.size()] == '/');
}

std::vector<Mount> parseMounts(std::string_view mountinfo) {
    std::vector<Mount> mounts;
    std::istringstream lines{std::string(mountinfo)};
    for (std::string line; std::getline(lines, line);) {
        // id parent number root point options [optional fields] - type source super-options
        std::istringstream fields(line);
        std::string ignored, number, point, options, source, superOptions;
        fields >> ignored >> ignored >> number >> ignored >> point >> options;
        while (fields >> ignored && ignored != "-") {
        }
        fields >> ignored >> source >> superOptions;
        if (fields)
            mounts.push_back({number, unescaped(point), areReadOnly(options) || areReadOnly(superOptions),
                              unescaped(source)});
    }
    return mounts;
}

const Mount* mountOf(std::string_view path, const std::vector<Mount>& mounts) {
    const Mount* found = nullptr;
    for (const Mount& mount : mounts)
        if (isWithin(path, mount.point) && (found == nullptr || mount.point.size() >= found->point.size()))
            found = &mount;
    return found;
}

} // namespace ternvault::server
