#pragma once

#include <cstdint>
#include <cstdlib>

/// What does not hold is a fault that the fuzzer keeps.
inline void require(bool holds) {
    if (!holds)
        std::abort();
}
