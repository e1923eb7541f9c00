#include "ui/LegalAcceptanceView.h"

#include "model/AppModel.h"
#include "ui/Bindings.h"
#include "ui/CheckBox.h"
#include "ui/ClampedText.h"
#include "ui/Controls.h"
#include "ui/ErrorText.h"
#include "ui/TitledBox.h"

#include <QLabel>
#include <QPushButton>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int spacing = 18;
constexpr int padding = 28;
constexpr int boxSpacing = 12;
constexpr int boxPadding = 4;

const auto title = u"Tern Vault"_s;
const auto introduction =
    u"Before you continue, please review and accept the Terms & Conditions and Privacy Policy. "
    u"This is required to use the app."_s;
const auto legalTitle = u"Legal"_s;
const auto privacyLink = u"Open &Privacy Policy"_s;
const auto termsLink = u"Open Terms && &Conditions"_s;
const auto whereElse = u"Full documents also ship inside the app (Help → Legal) and at %1/apps/TernVault."_s;
const auto privacyConsent = u"I have &read and agree to the Privacy Policy"_s;
const auto termsConsent =
    u"I have read and &agree to the Terms && Conditions (including Apple platform terms that "
    u"apply to my Mac)"_s;
const auto acceptTitle = u"Accept && Contin&ue"_s;
const auto promise =
    u"Tern Vault connects only to the Linux server address you enter. Your files stay on that server. "
    u"See the Privacy Policy for details."_s;

bool canAccept(const AppModel& model) {
    return model.acceptedPrivacy && model.acceptedTerms;
}

} // namespace

LegalAcceptanceView::LegalAcceptanceView(AppModel& model, const QUrl& privacyURL, const QUrl& termsURL,
                                         Workspace& workspace)
    : Screen(spacing, padding), model_(model), privacy_(new CheckBox(privacyConsent)),
      terms_(new CheckBox(termsConsent)), error_(makeErrorText()), accept_(makeProminentButton(acceptTitle)),
      renderOnChange_(model, [this] { render(); }) {
    bind(*privacy_, model.acceptedPrivacy);
    bind(*terms_, model.acceptedTerms);
    connect(accept_, &QPushButton::clicked, this, [&model] { model.acceptLegal(); });
    makeDefault(*accept_, *this);

    column().addWidget(makeText(title, titleLook));
    column().addWidget(makeText(introduction, explanationLook));
    column().addWidget(makeLegalBox(privacyURL, termsURL, workspace));
    column().addWidget(privacy_);
    column().addWidget(terms_);
    column().addWidget(error_);
    column().addWidget(accept_, 0, Qt::AlignTrailing);
    column().addWidget(makeText(promise, captionLook));
    column().addStretch();
    render();
}

QWidget* LegalAcceptanceView::makeLegalBox(const QUrl& privacyURL, const QUrl& termsURL,
                                           Workspace& workspace) {
    auto* const box = new TitledBox(legalTitle, boxSpacing, boxPadding);
    for (const auto& [linkTitle, url] :
         {std::pair(privacyLink, privacyURL), std::pair(termsLink, termsURL)}) {
        QPushButton* const link = makeLink(linkTitle);
        connect(link, &QPushButton::clicked, this, [&workspace, url = url] { workspace.openURL(url); });
        box->column().addWidget(link, 0, Qt::AlignLeading);
    }
    box->column().addWidget(makeText(whereElse.arg(privacyURL.host()), captionLook));
    return box;
}

void LegalAcceptanceView::render() {
    showValue(*privacy_, model_.acceptedPrivacy);
    showValue(*terms_, model_.acceptedTerms);
    showError(*error_, model_.legalError);
    accept_->setEnabled(canAccept(model_));
}

} // namespace ternvault
