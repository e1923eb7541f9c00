#pragma once

#include <QVBoxLayout>
#include <QWidget>

namespace ternvault {

/// A rounded box with its title above it, or without one, and its content in one column.
class TitledBox final : public QWidget {
public:
    TitledBox(const QString& title, int spacing, int verticalPadding);

    QVBoxLayout& column() { return *column_; }

private:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    int titleHeight() const;
    void setMargins();

    QString title_;
    QVBoxLayout* column_;
    int verticalPadding_;
};

} // namespace ternvault
