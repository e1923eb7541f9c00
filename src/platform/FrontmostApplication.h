#pragma once

#include <QString>

#include <optional>

namespace ternvault {

/// Which application has the user's keys.
class FrontmostApplication {
public:
    virtual ~FrontmostApplication() = default;

    /// The reference platform's name for it: any file manager is "com.apple.finder". Nothing where there is
    /// none, or it cannot be told. One thread.
    virtual std::optional<QString> bundleIdentifier() const = 0;
};

} // namespace ternvault
