#pragma once

#include "base/Signal.h"

namespace ternvault {

/// Whether the desktop is to look dark. Main thread only.
class Appearance {
public:
    virtual ~Appearance() = default;

    virtual bool isDark() const = 0;

    Signal changed;
};

} // namespace ternvault
