#pragma once

#include <QMessageBox>
#include <QStringList>

#include <memory>

namespace ternvault {

/// Tells the user of trouble that belongs to no screen. Whatever comes while an earlier notice is open joins
/// it.
class Notices {
public:
    void show(const QString& problem);

private:
    std::unique_ptr<QMessageBox> box_;
    QStringList problems_;
};

} // namespace ternvault
