#pragma once

#include "ui/Controls.h"
#include "ui/TextHeights.h"

#include <QLabel>

namespace ternvault {

/// A text that wraps onto at most a number of lines; what is left out is in its tool tip, within the bounds
/// of what can be shown at all.
class ClampedText final : public QLabel {
public:
    ClampedText(int maxLines, const TextLook& look);

    /// Returns whether the text differs from what was shown.
    bool display(const QString& text);

    QSize sizeHint() const override { return minimumSizeHint(); }
    QSize minimumSizeHint() const override { return {0, fontMetrics().height()}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

private:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    struct Lines {
        QStringList texts;
        /// Something was left out.
        bool areShortened = false;
    };
    Lines lines(int width) const;

    int maxLines_;
    mutable TextHeights heights_;
};

} // namespace ternvault
