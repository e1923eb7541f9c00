#pragma once

#include <QMessageBox>
#include <QPointer>
#include <QStringList>

namespace ternvault {

/// Tells the user of trouble that belongs to no screen, on standard error, too. Whatever comes while an
/// earlier notice is open joins it. Main thread.
class Notices {
public:
    void show(const QString& problem);
    /// The window has appeared in front of which notices are shown; while there is none, they wait.
    void attach(QWidget& window);

private:
    void present();

    QPointer<QWidget> window_;
    QPointer<QMessageBox> box_;
    /// That the user has not read yet.
    QStringList problems_;
};

} // namespace ternvault
