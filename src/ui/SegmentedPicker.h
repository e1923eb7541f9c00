#pragma once

#include <QFrame>

#include <functional>

class QButtonGroup;

namespace ternvault {

/// A row of segments of which one is chosen.
class SegmentedPicker final : public QFrame {
public:
    /// `picked` is told the index of the segment that the user chose.
    SegmentedPicker(const QString& name, const QStringList& segments, std::function<void(int)> picked);

    void show(int index);

private:
    QButtonGroup* group_;
};

} // namespace ternvault
