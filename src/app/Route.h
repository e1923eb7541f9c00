#pragma once

#include "model/AppModel.h"

namespace ternvault {

/// What the main window shows.
enum class Route {
    /// The documents of this version are not accepted yet.
    legal,
    setup,
    main,
};

inline Route routeOf(const AppModel& model) {
    if (!model.legalAccepted)
        return Route::legal;
    return model.setupComplete ? Route::main : Route::setup;
}

} // namespace ternvault
