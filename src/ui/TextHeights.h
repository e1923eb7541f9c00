#pragma once

#include <QFont>
#include <QHash>
#include <QString>

namespace ternvault {

/// Remembers how high a wrapping text is at each width, because layouts ask for the same few again and again
/// and every answer breaks the text into lines.
class TextHeights {
public:
    /// `measure` is called where the answer is not known.
    template <typename Measure>
    int at(int width, const QString& text, const QFont& font, const Measure& measure) {
        if (text != text_ || font != font_) {
            heights_.clear();
            text_ = text;
            font_ = font;
        }
        const auto known = heights_.constFind(width);
        return known != heights_.constEnd() ? *known : *heights_.insert(width, measure());
    }

private:
    QString text_;
    QFont font_;
    QHash<int, int> heights_;
};

} // namespace ternvault
