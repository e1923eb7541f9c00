#pragma once

#include <filesystem>
#include <string_view>

namespace ternvault::server {

/// New content of a file, written beside it under a passing name and with the owner and mode of what is
/// there. The file has its old content until `commit`, then all of the new one, also after a loss of power; a
/// draft that is never committed vanishes. A symbolic link stays one.
class Draft {
public:
    /// Throws std::system_error or std::filesystem::filesystem_error.
    Draft(const std::filesystem::path& file, std::string_view content) : Draft(file, content, file) {}
    /// With the owner and mode of `model`, if that is there.
    Draft(const std::filesystem::path& file, std::string_view content, const std::filesystem::path& model);
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;
    ~Draft();

    const std::filesystem::path& path() const { return path_; }
    /// Throws std::system_error.
    void commit();

private:
    std::filesystem::path file_;
    std::filesystem::path path_;
};

} // namespace ternvault::server
