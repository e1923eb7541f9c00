#include "ui/SettingsView.h"

#include "agent/LegalVersion.h"
#include "model/AppModel.h"
#include "ui/Bindings.h"
#include "ui/BringForward.h"
#include "ui/CheckBox.h"
#include "ui/Controls.h"
#include "ui/CopyingSheet.h"
#include "ui/LabelledRow.h"
#include "ui/TitledBox.h"

#include <QLabel>
#include <QPushButton>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int spacing = 16;
constexpr int padding = 20;
constexpr int sectionSpacing = 8;
constexpr int sectionPadding = 2;

const auto connectionTitle = u"Connection"_s;
const auto serverLabel = u"Server &IP"_s;
const auto portLabel = u"Agent p&ort"_s;
const auto tokenLabel = u"Agent &token"_s;

const auto accountTitle = u"SMB account"_s;
const auto userLabel = u"SMB &username"_s;
const auto passwordLabel = u"SMB &password"_s;
const auto shareLabel = u"Preferred share &name"_s;

const auto startupTitle = u"Startup"_s;
const auto autoConnectTitle = u"&Auto-connect Tern Vault when Mac starts"_s;

const auto desktopTitle = u"Desktop"_s;
const auto desktopIconTitle = u"Show &drive icon on Desktop"_s;
const auto desktopHint =
    u"Off by default. Use Open in Finder on the main window to browse /Volumes/MOSSBOX1 without a "
    u"Desktop icon."_s;

const auto setupTitle = u"Account"_s;
const auto resetTitle = u"&Reset setup (show Create / Login again)"_s;
const auto setupHint = u"Paste/drop into the app to copy — not Finder."_s;

const auto legalTitle = u"Legal"_s;
const auto privacyTitle = u"Pri&vacy Policy"_s;
const auto termsTitle = u"Terms && &Conditions"_s;
const auto legalHint = u"Hosted at %1/apps/TernVault — required acceptance on first launch."_s;

CopyingSheet::Texts resetTexts() {
    return {
        u"Reset the setup?"_s,
        u"Files are still being copied. That goes on, but is shown again only after the setup. If the volume "
        u"is lost meanwhile, nothing can mount it again without the password, and what is left fails."_s,
        u"&Reset"_s, u"&Don’t Reset"_s};
}

QLineEdit* makeLabelledField(const QString& label) {
    return makeField(QString(label).remove(u'&'), QString());
}

QLineEdit* makeLabelledSecureField(const QString& label) {
    return makeSecureField(QString(label).remove(u'&'), QString());
}

QVBoxLayout& addSection(QVBoxLayout& form, const QString& title) {
    auto* const box = new TitledBox(title, sectionSpacing, sectionPadding);
    form.addWidget(box);
    return box->column();
}

} // namespace

SettingsView::SettingsView(AppModel& model)
    : Screen(spacing, padding), model_(model), server_(makeLabelledField(serverLabel)),
      port_(makeLabelledField(portLabel)), token_(makeLabelledSecureField(tokenLabel)),
      user_(makeLabelledField(userLabel)), password_(makeLabelledSecureField(passwordLabel)),
      share_(makeLabelledField(shareLabel)), autoConnect_(new CheckBox(autoConnectTitle)),
      desktopIcon_(new CheckBox(desktopIconTitle)), renderOnChange_(model, [this] { render(); }) {
    addFields();
    addSwitches();
    addActions();
    column().addStretch();
    render();
}

void SettingsView::addFields() {
    addLabelledRows(addSection(column(), connectionTitle),
                    {{serverLabel, server_}, {portLabel, port_}, {tokenLabel, token_}});
    addLabelledRows(addSection(column(), accountTitle),
                    {{userLabel, user_}, {passwordLabel, password_}, {shareLabel, share_}});
    bind(*server_, model_.serverIP);
    bind(*port_, model_.agentPort);
    bind(*token_, model_.agentToken);
    bind(*user_, model_.smbUser);
    bind(*password_, model_.smbPassword);
    bind(*share_, model_.selectedShare);
}

void SettingsView::addSwitches() {
    addSection(column(), startupTitle).addWidget(autoConnect_);
    QVBoxLayout& desktop = addSection(column(), desktopTitle);
    desktop.addWidget(desktopIcon_);
    desktop.addWidget(makeText(desktopHint, captionLook));
    bind(*autoConnect_, model_.autoConnect);
    bind(*desktopIcon_, model_.showDesktopIcon);
}

void SettingsView::addActions() {
    QPushButton* const reset = makeButton(resetTitle);
    QPushButton* const privacy = makeButton(privacyTitle);
    QPushButton* const terms = makeButton(termsTitle);
    connect(reset, &QPushButton::clicked, this, [this] { resetSetup(); });
    connect(privacy, &QPushButton::clicked, this, [this] { model_.openPrivacyPolicy(); });
    connect(terms, &QPushButton::clicked, this, [this] { model_.openTerms(); });

    QVBoxLayout& setup = addSection(column(), setupTitle);
    setup.addWidget(reset, 0, Qt::AlignLeading);
    setup.addWidget(makeText(setupHint, captionLook));
    QVBoxLayout& legal = addSection(column(), legalTitle);
    legal.addWidget(privacy, 0, Qt::AlignLeading);
    legal.addWidget(terms, 0, Qt::AlignLeading);
    legal.addWidget(makeText(legalHint.arg(privacyURL().host()), captionLook));
}

void SettingsView::resetSetup() {
    if (model_.transfers.isTransferring)
        bringForward(
            *new CopyingSheet(*window(), model_.transfers, resetTexts(), [this] { model_.resetSetup(); }));
    else
        model_.resetSetup();
}

void SettingsView::render() {
    showValue(*server_, model_.serverIP);
    showValue(*port_, model_.agentPort);
    showValue(*token_, model_.agentToken);
    showValue(*user_, model_.smbUser);
    showValue(*password_, model_.smbPassword);
    showValue(*share_, model_.selectedShare);
    showValue(*autoConnect_, model_.autoConnect);
    showValue(*desktopIcon_, model_.showDesktopIcon);
}

} // namespace ternvault
