#pragma once

#include "ui/RenderOnChange.h"
#include "ui/Screen.h"

#include <QUrl>

class QCheckBox;
class QPushButton;

namespace ternvault {

class AppModel;
class ClampedText;
class Workspace;

/// The first screen: nothing else is shown before both legal documents of this version are accepted.
class LegalAcceptanceView final : public Screen {
public:
    /// `workspace` shows the documents.
    LegalAcceptanceView(AppModel& model, const QUrl& privacyURL, const QUrl& termsURL, Workspace& workspace);

private:
    QWidget* makeLegalBox(const QUrl& privacyURL, const QUrl& termsURL, Workspace& workspace);
    void render();

    AppModel& model_;
    QCheckBox* privacy_;
    QCheckBox* terms_;
    ClampedText* error_;
    QPushButton* accept_;
    RenderOnChange renderOnChange_;
};

} // namespace ternvault
