#pragma once

#include "ui/TextHeights.h"

#include <QLabel>

namespace ternvault {

/// A text that wraps onto at most a number of lines; what is left out is in its tool tip.
class ClampedText final : public QLabel {
public:
    explicit ClampedText(int maxLines);

    /// Returns whether the text differs from what was shown.
    bool display(const QString& text);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return {0, fontMetrics().height()}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

private:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    struct Lines {
        QStringList texts;
        /// Something was left out.
        bool areShortened = false;
    };
    Lines lines(int width) const;
    void showAllInToolTip();

    int maxLines_;
    mutable TextHeights heights_;
};

} // namespace ternvault
