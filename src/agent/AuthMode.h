#pragma once

#include <QString>

#include <array>
#include <optional>

namespace ternvault {

/// How the setup gets its SMB account.
enum class AuthMode { create, login };

/// In the order in which the setup offers them.
inline constexpr std::array<AuthMode, 2> allAuthModes{AuthMode::create, AuthMode::login};

/// The mode's name, which is also what a list on screen knows it by.
inline QString rawValue(AuthMode mode) {
    return mode == AuthMode::create ? QStringLiteral("Create") : QStringLiteral("Login");
}

/// The mode of that name, in exactly this spelling.
inline std::optional<AuthMode> authModeFromRawValue(const QString& name) {
    for (const AuthMode mode : allAuthModes) {
        if (rawValue(mode) == name)
            return mode;
    }
    return std::nullopt;
}

} // namespace ternvault
