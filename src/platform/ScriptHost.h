#pragma once

#include <QString>

#include <optional>

namespace ternvault {

/// Runs scripts that ask other applications, in the reference platform's scripting language.
class ScriptHost {
public:
    virtual ~ScriptHost() = default;

    /// The text that the script returns; nothing where it cannot be compiled, fails or returns no text. One
    /// thread.
    virtual std::optional<QString> run(const QString& source) = 0;
};

} // namespace ternvault
