#pragma once

#include "ui/TextHeights.h"

#include <QLabel>

namespace ternvault {

/// A plain text that wraps onto as many lines as it needs. Its hints cost less than a QLabel's, which tries
/// several widths for the best shape.
class WrappedText final : public QLabel {
public:
    explicit WrappedText(const QString& text);

    /// A column gives it the width that there is.
    QSize sizeHint() const override { return minimumSizeHint(); }
    /// The longest word, or the whole line where it does not wrap.
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

private:
    mutable TextHeights heights_;
};

} // namespace ternvault
