#pragma once

#include "platform/Pasteboard.h"

#include <QLineEdit>
#include <QMenu>
#include <QObject>
#include <QPointer>

#include <array>
#include <functional>

namespace ternvault {

/// The Edit menu. It works on the text field with the focus; where none has it, pasting is for files. The
/// clipboard is looked at when the menu opens and when something is pasted, and never otherwise: the program
/// that copied may hang.
class EditMenu final : public QMenu {
public:
    /// `pasteFiles` is called only while `takesFiles` and files are on the pasteboard.
    EditMenu(const Pasteboard& pasteboard, std::function<bool()> takesFiles,
             std::function<void()> pasteFiles);

private:
    template <typename Operation>
    QAction* addItem(const QString& title, QKeySequence::StandardKey shortcut, Operation operation);
    void followFocus(QWidget* focused);
    void update();
    void lookAtClipboard();
    bool canPasteFiles() const;
    void paste();

    const Pasteboard& pasteboard_;
    std::function<bool()> takesFiles_;
    std::function<void()> pasteFiles_;
    QPointer<QLineEdit> field_;
    std::array<QMetaObject::Connection, 2> fieldChanges_;
    QAction* undo_;
    QAction* redo_;
    QAction* cut_;
    QAction* copy_;
    QAction* paste_;
    QAction* selectAll_;
    /// Last: its end ends the connection to the application before the rest is gone.
    QObject context_;
};

} // namespace ternvault
