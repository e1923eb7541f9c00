#pragma once

namespace ternvault {

/// Brings the application to the user's attention. Main thread only.
class Activation {
public:
    virtual ~Activation() = default;

    /// To the front, even if another application is active.
    virtual void activate() = 0;
};

} // namespace ternvault
