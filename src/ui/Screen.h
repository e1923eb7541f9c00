#pragma once

#include <QScrollArea>
#include <QVBoxLayout>

namespace ternvault {

/// One column of elements from the top leading corner; it scrolls where the window is too low for it.
class Screen : public QScrollArea {
public:
    Screen(int spacing, int padding);

    /// Gives the focus to where the user goes on.
    virtual void takeFocus() { focusNextChild(); }

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    QVBoxLayout& column() { return *column_; }

private:
    QVBoxLayout* column_;
};

} // namespace ternvault
