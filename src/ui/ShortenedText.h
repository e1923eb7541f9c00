#pragma once

#include <QString>

namespace ternvault {

/// A text of the agent's as it is shown: more than this fits no window, and laying it out or telling it to
/// assistive technology would hold the main loop.
inline QString shortened(const QString& text) {
    constexpr qsizetype mostShown = 4000;
    if (text.size() <= mostShown)
        return text;
    const bool splitsPair = text[mostShown - 2].isHighSurrogate();
    return text.first(mostShown - (splitsPair ? 2 : 1)) + u'…';
}

} // namespace ternvault
