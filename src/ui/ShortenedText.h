#pragma once

#include <QString>

namespace ternvault {

/// A text of the agent's as it is shown: more than this fits no window, and laying it out or telling it to
/// assistive technology would hold the main loop.
inline QString shortened(const QString& text) {
    constexpr qsizetype mostShown = 4000;
    return text.size() <= mostShown ? text : text.first(mostShown - 1) + u'…';
}

} // namespace ternvault
