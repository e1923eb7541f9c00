#pragma once

#include "platform/SecurityScope.h"

namespace ternvault {

/// Linux programs of the user are in no sandbox: every file is accessible without a grant.
class NoSecurityScope final : public SecurityScope {
public:
    bool begin(const std::filesystem::path&) override { return false; }
    void end(const std::filesystem::path&) override {}
};

} // namespace ternvault
