#pragma once

#include "base/Task.h"

namespace ternvault {

class AppModel;

/// What a button begins, if it is still allowed when its turn comes: a second click may be waiting in the
/// loop before the first one could disable the button.
inline Task<> performIfAllowed(AppModel& model, bool (*isAllowed)(const AppModel&),
                               Task<> (*operation)(AppModel&)) {
    if (!isAllowed(model))
        co_return;
    Task<> routine = operation(model);
    co_await routine;
}

} // namespace ternvault
