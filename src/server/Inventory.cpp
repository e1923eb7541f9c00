#include "server/Inventory.h"

#include "server/Disks.h"
#include "server/Log.h"
#include "server/Refusal.h"
#include "server/TextFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>

#include <unistd.h>

namespace ternvault::server {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::chrono::seconds programLimit{5};
constexpr std::chrono::seconds folderLimit{3};

std::string hostName() {
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "localhost";
}

std::string percentEncoded(const std::string& text) {
    constexpr auto digits = "0123456789ABCDEF";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) != 0 || std::string_view("-._~").find(c) != std::string_view::npos)
            result += c;
        else
            result.append(1, '%').append(1, digits[byte >> 4]).append(1, digits[byte & 15]);
    }
    return result;
}

Json toJson(const Disk& disk) {
    Json object{{"name", disk.name},
                {"path", disk.path},
                {"size_bytes", disk.sizeBytes},
                {"size_human", humanSize(disk.sizeBytes)},
                {"model", disk.model},
                {"is_system", disk.isSystem},
                {"mountpoints", disk.mountpoints}};
    if (disk.shareName)
        object["share_name"] = *disk.shareName;
    object["available"] = disk.available;
    return object;
}

Json toJson(const Share& share, const FolderState& state) {
    return {{"name", share.name},
            {"path", share.path},
            {"free_bytes", state.freeBytes},
            {"total_bytes", state.totalBytes},
            {"smb_url", "smb://" + hostName() + '/' + percentEncoded(share.name)}};
}

} // namespace

std::string Inventory::outputOf(const Command& command) {
    ProgramResult result = programs_->run(filledIn(command, {{sambaPlaceholder, samba_}}), {}, programLimit);
    if (!result.succeeded())
        throw Refusal(500, "listing_failed", command.front() + " failed on the PC");
    return std::move(result.output);
}

void Inventory::report(const std::string& problems) {
    if (problems != reported_ && !problems.empty())
        logLine("left out, because the folder is missing or does not answer:" + problems);
    reported_ = problems;
}

std::string Inventory::describe() {
    const std::string devices = outputOf(commands_.listDisks);
    std::vector<Share> shares = parseShares(outputOf(commands_.listShares));
    std::vector<std::string> paths;
    std::ranges::transform(shares, std::back_inserter(paths), &Share::path);
    const auto states = probe_.look(paths, folderLimit);

    Json sharesJson = Json::array();
    std::vector<Share> present;
    std::string problems;
    for (std::size_t i = 0; i < shares.size(); ++i) {
        if (!states[i]) {
            problems += ' ' + printable(shares[i].name);
            continue;
        }
        sharesJson.push_back(toJson(shares[i], *states[i]));
        present.push_back({shares[i].name, states[i]->path, shares[i].writable});
    }
    report(problems);

    // The first process sees the PC as it is. To the agent in its sandbox all is mounted read-only.
    const std::vector<Mount> mounts = parseMounts(readTextFile("/proc/1/mountinfo"));
    Json disksJson = Json::array();
    try {
        for (const Disk& disk : describeDisks(devices, mounts, present))
            disksJson.push_back(toJson(disk));
    } catch (const DisksError& error) {
        logLine(std::string("the list of disks cannot be understood: ") + error.what());
        throw Refusal(500, "listing_failed", "The PC's list of disks cannot be understood");
    }
    return Json{{"disks", disksJson}, {"shares", sharesJson}}.dump(-1, ' ', false,
                                                                   Json::error_handler_t::replace);
}

} // namespace ternvault::server
