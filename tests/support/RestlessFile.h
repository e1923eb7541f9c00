#pragma once

#include <array>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

namespace ternvault::test {

/// Changes a file again and again, as somebody who writes to it would, for as long as it lives.
class RestlessFile {
public:
    /// A busy machine may not let it run during one copy.
    static constexpr int copiesAtMost = 1000;

    explicit RestlessFile(std::filesystem::path file)
        : thread_([file = std::move(file)](const std::stop_token& stop) {
              for (std::array<timespec, 2> times{}; !stop.stop_requested(); ++times[1].tv_sec)
                  ::utimensat(AT_FDCWD, file.c_str(), times.data(), 0);
          }) {}

private:
    std::jthread thread_;
};

} // namespace ternvault::test
