#pragma once

#include <QWidget>

#include <functional>

class QButtonGroup;

namespace ternvault {

/// A row of segments of which one is chosen.
class SegmentedPicker final : public QWidget {
public:
    /// `picked` is told the index of each segment that is chosen, by the user or by `display`.
    SegmentedPicker(const QString& name, const QStringList& segments, std::function<void(int)> picked);

    void display(int index);

private:
    void paintEvent(QPaintEvent* event) override;

    QButtonGroup* group_;
};

} // namespace ternvault
