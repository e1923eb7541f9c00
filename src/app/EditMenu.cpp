#include "app/EditMenu.h"

#include <QApplication>
#include <QClipboard>
#include <QMenuBar>

#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

/// `operation`: a member of QLineEdit.
template <typename Operation>
QAction* EditMenu::addItem(const QString& title, QKeySequence::StandardKey shortcut, Operation operation) {
    QAction* const item = addAction(title);
    item->setShortcuts(shortcut);
    connect(item, &QAction::triggered, this, [this, operation] {
        if (field_)
            (*field_.*operation)();
    });
    return item;
}

EditMenu::EditMenu(const Pasteboard& pasteboard, std::function<bool()> takesFiles,
                   std::function<void()> pasteFiles)
    : QMenu(u"&Edit"_s), pasteboard_(pasteboard), takesFiles_(std::move(takesFiles)),
      pasteFiles_(std::move(pasteFiles)), undo_(addItem(u"&Undo"_s, QKeySequence::Undo, &QLineEdit::undo)),
      redo_(addItem(u"&Redo"_s, QKeySequence::Redo, &QLineEdit::redo)),
      cut_(addItem(u"Cu&t"_s, QKeySequence::Cut, &QLineEdit::cut)),
      copy_(addItem(u"&Copy"_s, QKeySequence::Copy, &QLineEdit::copy)), paste_(addAction(u"&Paste"_s)),
      selectAll_(addItem(u"Select &All"_s, QKeySequence::SelectAll, &QLineEdit::selectAll)) {
    insertSeparator(cut_);
    insertSeparator(selectAll_);
    paste_->setShortcuts(QKeySequence::Paste);
    paste_->setAutoRepeat(false);
    connect(paste_, &QAction::triggered, this, [this] { paste(); });
    connect(this, &QMenu::aboutToShow, this, [this] { lookAtClipboard(); });
    connect(this, &QMenu::aboutToHide, this, [this] { update(); });
    connect(qApp, &QApplication::focusChanged, &context_,
            [this](QWidget*, QWidget* now) { followFocus(now); });
    update();
}

void EditMenu::followFocus(QWidget* focused) {
    // Reached with the keyboard, menus take the focus of the field that they are about to work on.
    if (qobject_cast<QMenuBar*>(focused) != nullptr || qobject_cast<QMenu*>(focused) != nullptr)
        return;
    // Not through the field that had the focus: it may be losing it for being destroyed.
    for (const QMetaObject::Connection& change : fieldChanges_)
        disconnect(change);
    field_ = qobject_cast<QLineEdit*>(focused);
    if (field_) {
        fieldChanges_ = {connect(field_, &QLineEdit::selectionChanged, this, [this] { update(); }),
                         connect(field_, &QLineEdit::textChanged, this, [this] { update(); })};
    }
    update();
}

void EditMenu::update() {
    const bool canEdit = field_ && !field_->isReadOnly();
    const bool hasSelection = field_ && field_->hasSelectedText();
    // A masked field gives nothing away.
    const bool canCopy = hasSelection && field_->echoMode() == QLineEdit::Normal;
    undo_->setEnabled(canEdit && field_->isUndoAvailable());
    redo_->setEnabled(canEdit && field_->isRedoAvailable());
    cut_->setEnabled(canEdit && canCopy);
    copy_->setEnabled(canCopy);
    paste_->setEnabled(field_ ? canEdit : takesFiles_());
    selectAll_->setEnabled(field_ && !field_->text().isEmpty());
}

void EditMenu::lookAtClipboard() {
    update();
    if (paste_->isEnabled())
        paste_->setEnabled(field_ ? !QApplication::clipboard()->text().isEmpty() : canPasteFiles());
}

bool EditMenu::canPasteFiles() const {
    return takesFiles_() && pasteboard_.holdsFileURLs();
}

void EditMenu::paste() {
    if (field_)
        field_->paste();
    else if (canPasteFiles())
        pasteFiles_();
}

} // namespace ternvault
