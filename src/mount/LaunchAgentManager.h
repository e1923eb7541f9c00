#pragma once

namespace ternvault {

/// Starts the application at login.
class LaunchAgentManager {
public:
    virtual ~LaunchAgentManager() = default;

    /// Brings the login entry in line; idempotent. Main thread; failures are ignored.
    virtual void setEnabled(bool enabled) = 0;
};

} // namespace ternvault
