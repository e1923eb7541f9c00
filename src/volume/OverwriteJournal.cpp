#include "volume/OverwriteJournal.h"

#include "base/FileLocking.h"
#include "volume/PathTable.h"

#include <cerrno>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace ternvault::volume {
namespace {

/// A record is a sign, the path and a zero byte. One without its end was being written when the power went:
/// then nothing had been sent yet.
constexpr char added = '+';
constexpr char removed = '-';

/// For a daemon whose volume is detached already and which is about to end.
constexpr std::chrono::seconds patience{2};

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

void syncDirectoryOf(const std::filesystem::path& file) {
    const FileDescriptor directory(::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory)
        fail("open");
    ::fsync(directory.get());
}

} // namespace

OverwriteJournal::OverwriteJournal(const std::filesystem::path& file)
    : descriptor_(::open(file.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600)) {
    if (!descriptor_)
        fail("open");
    if (const auto error = lockExclusively(descriptor_.get(), patience))
        throw std::system_error(error, "lock");
    syncDirectoryOf(file);
    read();
}

void OverwriteJournal::read() {
    std::string text;
    char buffer[4096];
    for (ssize_t size = 0; (size = ::read(descriptor_.get(), buffer, sizeof buffer)) != 0;) {
        if (size > 0)
            text.append(buffer, static_cast<std::size_t>(size));
        else if (errno != EINTR)
            fail("read");
    }
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = text.find('\0', begin)) != text.npos; begin = end + 1) {
        const auto path = text.substr(begin + 1, end - begin - 1);
        if (text[begin] == added)
            paths_.insert(path);
        else
            std::erase_if(paths_, [&](const auto& listed) { return isWithin(listed, path); });
    }
    size_ = static_cast<off_t>(begin);
    if (begin < text.size())
        cutTornRecord();
}

/// What is appended next must not continue it.
void OverwriteJournal::cutTornRecord() {
    if (::ftruncate(descriptor_.get(), size_) != 0)
        fail("truncate");
}

void OverwriteJournal::append(char sign, const std::string& path) {
    auto record = sign + path;
    record += '\0';
    const auto written = ::write(descriptor_.get(), record.data(), record.size());
    if (written == static_cast<ssize_t>(record.size())) {
        size_ += written;
        return;
    }
    const int error = written < 0 ? errno : ENOSPC;
    if (written > 0)
        cutTornRecord();
    throw std::system_error(error, std::generic_category(), "write");
}

void OverwriteJournal::add(const std::string& path) {
    if (paths_.contains(path))
        return;
    append(added, path);
    if (::fdatasync(descriptor_.get()) != 0)
        fail("sync");
    paths_.insert(path);
}

void OverwriteJournal::addRenamed(const std::string& from, const std::string& to) {
    std::vector<std::string> renamed;
    for (const auto& path : paths_) {
        if (isWithin(path, from))
            renamed.push_back(to + path.substr(from.size()));
    }
    for (const auto& path : renamed)
        add(path);
}

void OverwriteJournal::remove(const std::string& path) {
    if (std::erase_if(paths_, [&](const auto& listed) { return isWithin(listed, path); }) == 0)
        return;
    if (paths_.empty() && ::ftruncate(descriptor_.get(), 0) == 0) {
        size_ = 0;
        return;
    }
    try {
        append(removed, path);
    } catch (const std::system_error&) {
        // The entry stays for the next daemon.
    }
}

} // namespace ternvault::volume
