#include "server/Accounts.h"

#include "server/Log.h"

#include <algorithm>
#include <optional>
#include <vector>

#include <pwd.h>

namespace ternvault::server {

namespace {

using Clock = std::chrono::steady_clock;

/// Clients wait for 15 seconds.
constexpr std::chrono::seconds createLimit{12};
/// For each step of taking an account back.
constexpr std::chrono::seconds takeBackLimit{10};
constexpr int nameTaken = 9;

constexpr std::size_t longestName = 32;
constexpr std::size_t shortestPassword = 4;
/// What Samba's tools read of a line.
constexpr std::size_t longestPassword = 127;

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || c == '_';
}
bool isNameCharacter(char c) {
    return isLetter(c) || (c >= '0' && c <= '9') || c == '-';
}
bool isControl(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}
bool beginsCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
}

void checkName(const std::string& name) {
    if (name.empty() || name.size() > longestName || !isLetter(name.front()) ||
        !std::ranges::all_of(name, isNameCharacter))
        throw Refusal(
            400, "bad_username",
            "A user name has 1 to 32 of the characters a-z, 0-9, _ and -, and begins with a letter or _");
}

void checkPassword(const std::string& password) {
    if (std::ranges::count_if(password, beginsCharacter) < static_cast<std::ptrdiff_t>(shortestPassword))
        throw Refusal(400, "bad_password", "Password must be at least 4 characters");
    if (password.size() > longestPassword)
        throw Refusal(400, "bad_password", "Password is too long");
    if (std::ranges::any_of(password, isControl))
        throw Refusal(400, "bad_password", "Password must not have line breaks or other control characters");
}

/// The home folder of the user of this name; nothing when there is none.
std::optional<std::string> homeOf(const std::string& name) {
    std::vector<char> texts(16384);
    passwd entry{};
    passwd* found = nullptr;
    ::getpwnam_r(name.c_str(), &entry, texts.data(), texts.size(), &found);
    return found == nullptr ? std::nullopt : std::optional<std::string>(found->pw_dir);
}

std::chrono::milliseconds timeUntil(Clock::time_point end) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::max(end - Clock::now(), Clock::duration{}));
}

} // namespace

ProgramResult Accounts::run(const Command& command, const std::string& name, std::string_view input,
                            std::chrono::milliseconds limit) {
    ProgramResult result = programs_->run(
        filledIn(command, {{userPlaceholder, name}, {sambaPlaceholder, samba_}}), input, limit);
    if (!result.succeeded() && result.exitStatus != nameTaken)
        logLine(command.front() + (result.exitStatus
                                       ? " failed with status " + std::to_string(*result.exitStatus)
                                       : std::string(" did not start or did not end by itself")));
    return result;
}

void Accounts::takeBack(const std::string& name) {
    run(commands_.removeSambaAccount, name, {}, takeBackLimit);
    run(commands_.removeSystemUser, name, {}, takeBackLimit);
}

void Accounts::create(const NewAccount& account) {
    checkName(account.name);
    checkPassword(account.password);
    const Clock::time_point end = Clock::now() + createLimit;
    const std::unique_lock lock(oneAtATime_, createLimit);
    if (!lock)
        throw Refusal(503, "busy", "The PC is busy creating other accounts, try again");

    const Refusal taken(409, "user_exists", "The PC has a user of this name already");
    if (homeOf(account.name))
        throw taken;
    const ProgramResult user = run(commands_.createSystemUser, account.name, {}, timeUntil(end));
    if (user.exitStatus == nameTaken)
        throw taken;
    if (!user.succeeded()) {
        // Killed, it may have got as far as the entry. Somebody else's would have another home.
        if (!user.exitStatus && homeOf(account.name) == accountHome)
            takeBack(account.name);
        throw Refusal(500, "create_failed", "The account could not be created on the PC");
    }
    const std::string twice = account.password + '\n' + account.password + '\n';
    if (!run(commands_.setSambaPassword, account.name, twice, timeUntil(end)).succeeded()) {
        takeBack(account.name);
        throw Refusal(500, "create_failed", "The PC's file server did not take the account");
    }
}

} // namespace ternvault::server
