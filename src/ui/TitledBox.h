#pragma once

#include <QGroupBox>
#include <QVBoxLayout>

namespace ternvault {

/// A rounded box with its title above it, or without one, and its content in one column.
class TitledBox final : public QGroupBox {
public:
    TitledBox(const QString& title, int spacing, int verticalPadding);

    QVBoxLayout& column() { return *column_; }
    QSize minimumSizeHint() const override;

private:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    QFont titleFont() const;
    int titleHeight() const;
    void setMargins();

    QVBoxLayout* column_;
    int verticalPadding_;
};

} // namespace ternvault
