#include "ui/CopyingSheet.h"

#include "transfer/TransferManager.h"
#include "ui/Announce.h"
#include "ui/ButtonKind.h"
#include "ui/ClampedText.h"
#include "ui/Controls.h"
#include "ui/LabelledRow.h"
#include "ui/TitledBox.h"
#include "ui/TransferProgress.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStringList>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int contentWidth = 460;
constexpr int padding = 20;
constexpr int spacing = 14;
constexpr int boxSpacing = 8;
constexpr int boxPadding = 2;
constexpr int buttonSpacing = 8;
/// More do not fit the lines.
constexpr std::size_t mostNames = 8;
constexpr TextLook valueLook{TextStyle::body, QPalette::WindowText};

const auto currentLabel = u"Copying"_s;
const auto progressLabel = u"Done"_s;
const auto waitingLabel = u"Waiting"_s;
const auto nothing = u"Nothing"_s;
const auto ended = u"The copying has ended meanwhile. "_s;

QString waitingText(const TransferManager& transfers) {
    const std::size_t count = transfers.waitingCount();
    if (count == 0)
        return nothing;
    const std::vector<QString> names = transfers.waitingNames(mostNames);
    return QString::number(count) + u" — "_s + QStringList(names.begin(), names.end()).join(u", "_s) +
           (count > names.size() ? u", …"_s : QString());
}

} // namespace

CopyingSheet::CopyingSheet(QWidget& window, TransferManager& transfers, const Texts& texts,
                           const std::function<void()>& proceed)
    : QDialog(&window), transfers_(transfers), consequenceText_(texts.consequence),
      consequence_(makeText(texts.consequence, explanationLook)), current_(new ClampedText(1, valueLook)),
      progress_(new TransferProgress), counters_(makeText(QString(), counterLook)),
      waiting_(new ClampedText(2, valueLook)), renderOnChange_(transfers, [this] { render(); }) {
    setWindowTitle(texts.question);
    setAccessibleDescription(texts.consequence);
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    connect(this, &QDialog::accepted, &window, proceed);

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(spacing);
    column->addSpacerItem(new QSpacerItem(contentWidth, 0));
    column->addWidget(makeText(texts.question, headlineLook));
    column->addWidget(consequence_);
    column->addWidget(makeOverview());
    column->addStretch();
    column->addLayout(makeButtons(texts));
    render();
}

QWidget* CopyingSheet::makeOverview() {
    auto* const box = new TitledBox(QString(), boxSpacing, boxPadding);
    auto* const progress = new QWidget;
    auto* const row = new QHBoxLayout(progress);
    row->setContentsMargins({});
    row->addWidget(progress_, 1);
    row->addWidget(counters_);
    counters_->setWordWrap(false);
    current_->setAccessibleDescription(currentLabel);
    waiting_->setAccessibleDescription(waitingLabel);
    addLabelledRows(box->column(),
                    {{currentLabel, current_}, {progressLabel, progress}, {waitingLabel, waiting_}});
    return box;
}

/// Return presses the one that has the focus, which at first is the one that does no harm.
QLayout* CopyingSheet::makeButtons(const Texts& texts) {
    QPushButton* const proceed = makeButton(texts.proceed);
    QPushButton* const refrain = makeProminentButton(texts.refrain);
    connect(proceed, &QPushButton::clicked, this, &QDialog::accept);
    connect(refrain, &QPushButton::clicked, this, &QDialog::reject);
    auto* const row = new QHBoxLayout;
    row->setSpacing(buttonSpacing);
    row->addStretch();
    for (QPushButton* const button : {proceed, refrain}) {
        button->setAutoDefault(true);
        row->addWidget(button);
    }
    refrain->setDefault(true);
    refrain->setFocus();
    return row;
}

void CopyingSheet::render() {
    const bool runs = transfers_.isTransferring;
    if (const QString text = runs ? consequenceText_ : ended + transfers_.statusLine;
        text != consequence_->text()) {
        consequence_->setText(text);
        setAccessibleDescription(text);
        announce(*consequence_);
    }
    current_->display(runs ? transfers_.currentFileName : nothing);
    progress_->display(transfers_);
    counters_->setText(transfers_.progressLabel());
    waiting_->display(waitingText(transfers_));
}

} // namespace ternvault
