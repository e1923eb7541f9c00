#include "server/FolderProbe.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <limits>
#include <thread>

#include <sys/statvfs.h>

namespace ternvault::server {

namespace {

std::int64_t bytes(std::uint64_t blocks, std::uint64_t blockSize) {
    std::int64_t product = 0;
    return __builtin_mul_overflow(blocks, blockSize, &product) ? std::numeric_limits<std::int64_t>::max()
                                                               : product;
}

std::optional<FolderState> stateOf(const std::string& path) {
    std::error_code error;
    const auto folder = std::filesystem::canonical(path, error);
    struct statvfs numbers {};
    if (error || !std::filesystem::is_directory(folder, error) || ::statvfs(folder.c_str(), &numbers) != 0)
        return std::nullopt;
    return FolderState{folder.string(), bytes(numbers.f_bavail, numbers.f_frsize),
                       bytes(numbers.f_blocks, numbers.f_frsize)};
}

std::future<std::optional<FolderState>> ask(const std::string& path) {
    std::packaged_task<std::optional<FolderState>()> question([path] { return stateOf(path); });
    auto answer = question.get_future();
    std::thread(std::move(question)).detach();
    return answer;
}

} // namespace

std::vector<std::optional<FolderState>> FolderProbe::look(const std::vector<std::string>& paths,
                                                          std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    // Answers that came too late for an earlier call are old by now.
    std::erase_if(questions_, [](const auto& question) {
        return question.second.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    });
    for (const std::string& path : paths)
        if (!questions_.contains(path))
            questions_.emplace(path, ask(path));
    std::map<std::string, std::optional<FolderState>> answers;
    for (const std::string& path : paths) {
        const auto question = questions_.find(path);
        if (question == questions_.end() || question->second.wait_until(end) != std::future_status::ready)
            continue;
        answers[path] = question->second.get();
        questions_.erase(question);
    }
    std::vector<std::optional<FolderState>> result;
    std::ranges::transform(paths, std::back_inserter(result),
                           [&answers](const auto& path) { return answers[path]; });
    return result;
}

} // namespace ternvault::server
