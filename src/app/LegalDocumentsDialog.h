#pragma once

#include <QDialog>

namespace ternvault {

/// Shows the two legal documents that ship with the application.
class LegalDocumentsDialog final : public QDialog {
public:
    explicit LegalDocumentsDialog(QWidget& parent);
};

} // namespace ternvault
