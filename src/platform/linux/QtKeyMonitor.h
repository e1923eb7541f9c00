#pragma once

#include "platform/KeyMonitor.h"

namespace ternvault {

/// Key presses as Qt delivers them, before shortcuts and text fields. Within the life of the QGuiApplication.
class QtKeyMonitor final : public KeyMonitor {
public:
    std::unique_ptr<Handle> addLocalMonitor(Handler handler) override;
};

} // namespace ternvault
