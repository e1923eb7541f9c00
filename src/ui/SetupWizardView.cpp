#include "ui/SetupWizardView.h"

#include "model/AppModel.h"
#include "ui/Bindings.h"
#include "ui/ClampedText.h"
#include "ui/Controls.h"
#include "ui/ErrorText.h"
#include "ui/LabelledRow.h"
#include "ui/Operation.h"
#include "ui/SegmentedPicker.h"
#include "ui/TitledBox.h"

#include <QLabel>
#include <QPushButton>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int spacing = 20;
constexpr int padding = 28;
constexpr int headerSpacing = 6;
constexpr int boxSpacing = 10;
constexpr int boxPadding = 4;
constexpr int fieldWidth = 220;

const auto title = u"Tern Vault"_s;
const auto modeName = u"Mode"_s;
const auto serverLabel = u"&Server IP"_s;
const auto serverPlaceholder = u"Linux PC IP from setup"_s;
const auto userLabel = u"&Username"_s;
const auto passwordLabel = u"&Password"_s;
const auto passwordPlaceholder = u"password"_s;
const auto hint =
    u"Use Add Files or ⌘V here. If you paste in Finder on TernVault, allow Accessibility so the app "
    u"steals that paste."_s;

/// What depends on the chosen mode.
struct ModeTexts {
    QString explanation;
    QString userPlaceholder;
    QString action;
};

ModeTexts textsFor(AuthMode mode) {
    if (mode == AuthMode::create) {
        return {u"Create a private account on the server. You’ll auto-connect after this."_s,
                u"new username"_s, u"Create && Co&nnect"_s};
    }
    return {u"Sign in with an existing account. You’ll auto-connect after this."_s, u"existing username"_s,
            u"Login && Co&nnect"_s};
}

bool canConnect(const AppModel& model) {
    return !model.isBusy && !model.serverIP->isEmpty() && !model.smbUser->isEmpty() &&
           !model.smbPassword->isEmpty();
}

SegmentedPicker* makeModePicker(AppModel& model) {
    QStringList segments;
    for (const AuthMode mode : allAuthModes)
        segments << rawValue(mode);
    return new SegmentedPicker(modeName, segments, [&model](int index) {
        const AuthMode picked = allAuthModes.at(static_cast<std::size_t>(index));
        if (picked != model.authMode)
            model.authMode = picked;
    });
}

} // namespace

SetupWizardView::SetupWizardView(AppModel& model, TaskScope& tasks)
    : Screen(spacing, padding), model_(model), explanation_(makeText(QString(), explanationLook)),
      mode_(makeModePicker(model)), server_(makeField(u"Server IP"_s, serverPlaceholder)),
      user_(makeField(u"Username"_s, QString())),
      password_(makeSecureField(u"Password"_s, passwordPlaceholder)), error_(makeErrorText()),
      connect_(makeProminentButton(QString())), renderOnChange_(model, [this] { render(); }) {
    bind(*server_, model.serverIP);
    bind(*user_, model.smbUser);
    bind(*password_, model.smbPassword);
    connect(connect_, &QPushButton::clicked, this, [&model, &tasks] {
        tasks.spawn(
            performIfAllowed(model, canConnect, [](AppModel& setUp) { return setUp.completeAuthFlow(); }));
    });
    makeDefault(*connect_, *this);

    column().addWidget(makeHeader());
    addLabelledRows(column(), {{modeName, mode_}});
    column().addWidget(makeFields());
    column().addWidget(error_);
    column().addWidget(connect_, 0, Qt::AlignTrailing);
    column().addWidget(makeText(hint, captionLook));
    column().addStretch();
    render();
}

void SetupWizardView::takeFocus() {
    QLineEdit* target = server_;
    for (QLineEdit* const field : {password_, user_, server_}) {
        if (field->text().isEmpty())
            target = field;
    }
    target->setFocus();
}

QWidget* SetupWizardView::makeHeader() {
    auto* const header = new QWidget;
    auto* const stack = new QVBoxLayout(header);
    stack->setContentsMargins({});
    stack->setSpacing(headerSpacing);
    stack->addWidget(makeText(title, titleLook));
    stack->addWidget(explanation_);
    return header;
}

QWidget* SetupWizardView::makeFields() {
    auto* const box = new TitledBox(QString(), boxSpacing, boxPadding);
    for (QLineEdit* const field : {server_, user_, password_})
        field->setFixedWidth(fieldWidth);
    addLabelledRows(box->column(), {{serverLabel, server_}, {userLabel, user_}, {passwordLabel, password_}});
    return box;
}

void SetupWizardView::render() {
    const ModeTexts texts = textsFor(model_.authMode);
    explanation_->setText(texts.explanation);
    mode_->display(model_.authMode == AuthMode::create ? 0 : 1);
    showValue(*server_, model_.serverIP);
    showValue(*user_, model_.smbUser);
    showValue(*password_, model_.smbPassword);
    user_->setPlaceholderText(texts.userPlaceholder);
    showError(*error_, model_.setupError);
    connect_->setText(texts.action);
    connect_->setEnabled(canConnect(model_));
}

} // namespace ternvault
