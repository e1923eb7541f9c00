#pragma once

#include "ui/RenderOnChange.h"

#include <QDialog>

#include <functional>

class QLabel;

namespace ternvault {

class ClampedText;
class TransferManager;
class TransferProgress;

/// Asks, while files are being copied, whether something that the copy would suffer from shall be done. The
/// copy goes on meanwhile; the sheet shows what runs and what waits, and says so when it comes to its end.
/// Belongs to its window, which takes nothing else until it is answered, and ends itself.
class CopyingSheet final : public QDialog {
public:
    struct Texts {
        QString question;
        /// What becomes of the copy.
        QString consequence;
        // Titles of the buttons.
        QString proceed;
        QString refrain;
    };

    /// `proceed` is called at most once.
    CopyingSheet(QWidget& window, TransferManager& transfers, const Texts& texts,
                 const std::function<void()>& proceed);

private:
    QWidget* makeOverview();
    QLayout* makeButtons(const Texts& texts);
    void render();

    const TransferManager& transfers_;
    const QString consequenceText_;
    QLabel* consequence_;
    ClampedText* current_;
    TransferProgress* progress_;
    QLabel* counters_;
    ClampedText* waiting_;
    RenderOnChange renderOnChange_;
};

} // namespace ternvault
