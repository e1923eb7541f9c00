#include "server/Accounts.h"

#include "server/Log.h"

#include <algorithm>

namespace ternvault::server {

namespace {

constexpr std::chrono::seconds programLimit{10};
constexpr std::chrono::seconds waitLimit{10};
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

} // namespace

ProgramResult Accounts::run(const Command& command, const std::string& name, std::string_view input) {
    ProgramResult result = programs_->run(
        filledIn(command, {{userPlaceholder, name}, {sambaPlaceholder, samba_}}), input, programLimit);
    if (!result.succeeded() && result.exitStatus != nameTaken)
        logLine(command.front() + (result.exitStatus
                                       ? " failed with status " + std::to_string(*result.exitStatus)
                                       : std::string(" did not start or did not end by itself")));
    return result;
}

void Accounts::create(const NewAccount& account) {
    checkName(account.name);
    checkPassword(account.password);
    const std::unique_lock<TimedMutex> lock(oneAtATime_, waitLimit);
    if (!lock)
        throw Refusal(503, "busy", "The PC is busy creating other accounts, try again");

    const ProgramResult user = run(commands_.createSystemUser, account.name, {});
    if (user.exitStatus == nameTaken)
        throw Refusal(409, "user_exists", "The PC has a user of this name already");
    if (!user.succeeded())
        throw Refusal(500, "create_failed", "The account could not be created on the PC");
    const std::string twice = account.password + '\n' + account.password + '\n';
    if (!run(commands_.setSambaPassword, account.name, twice).succeeded()) {
        run(commands_.removeSystemUser, account.name, {});
        throw Refusal(500, "create_failed", "The PC's file server did not take the account");
    }
}

} // namespace ternvault::server
