#pragma once

#include "base/Signal.h"
#include "platform/Pasteboard.h"

#include <QLineEdit>
#include <QMenu>
#include <QPointer>

#include <functional>

namespace ternvault {

/// The Edit menu. It works on the text field with the focus; where none has it, pasting is for files.
class EditMenu final : public QMenu {
public:
    /// `pasteFiles` is called only while `takesFiles` and files are on the pasteboard.
    EditMenu(Pasteboard& pasteboard, std::function<bool()> takesFiles, std::function<void()> pasteFiles);

private:
    template <typename Operation>
    QAction* addItem(const QString& title, QKeySequence::StandardKey shortcut, Operation operation);
    void followFocus(QWidget* focused);
    void update();
    bool canPasteFiles() const;
    void paste();

    Pasteboard& pasteboard_;
    std::function<bool()> takesFiles_;
    std::function<void()> pasteFiles_;
    QPointer<QLineEdit> field_;
    QAction* undo_;
    QAction* redo_;
    QAction* cut_;
    QAction* copy_;
    QAction* paste_;
    QAction* selectAll_;
    Subscription pasteboardChanges_;
};

} // namespace ternvault
