#include "ui/TransferPanel.h"

#include "model/AppModel.h"
#include "platform/Activation.h"
#include "ui/Announce.h"
#include "ui/ButtonKind.h"
#include "ui/ClampedText.h"
#include "ui/Controls.h"
#include "ui/DropZone.h"
#include "ui/TitledBox.h"
#include "ui/TransferProgress.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int spacing = 10;
constexpr int padding = 4;
constexpr int statusLines = 3;
constexpr int fileNameLines = 2;
constexpr int errorLines = 3;

const auto title = u"Transfers (this app only — not Finder)"_s;
const auto addTitle = u"&Add Files…"_s;
const auto pasteTitle = u"Paste files &now"_s;
const auto cancelTitle = u"&Cancel"_s;
const auto clearTitle = u"Clear co&unters"_s;

bool showsProgress(const TransferManager& transfers) {
    return transfers.isTransferring || !transfers.currentFileName->isEmpty();
}

bool showsError(const TransferManager& transfers) {
    return transfers.errorCount >= 1 && transfers.lastError->has_value();
}

bool offersClearing(const TransferManager& transfers) {
    return transfers.totalCount > 0 && !transfers.isTransferring;
}

} // namespace

TransferPanel::TransferPanel(AppModel& model, TaskScope& tasks, Activation& activation)
    : model_(model), status_(new ClampedText(statusLines, calloutLook)),
      currentFile_(new ClampedText(fileNameLines, captionLook)), progress_(new TransferProgress),
      waiting_(new ClampedText(fileNameLines, captionLook)),
      error_(new ClampedText(errorLines, captionErrorLook)),
      dropZone_(new DropZone([&activation] { activation.activate(); })), cancel_(makeButton(cancelTitle)),
      counters_(makeText(QString(), counterLook)), clearCounters_(makeButton(clearTitle)) {
    status_->setAccessibleDescription(u"Transfer status"_s);
    addDropZoneButtons(tasks);

    auto* const box = new TitledBox(title, spacing, padding);
    for (QWidget* const element :
         std::initializer_list<QWidget*>{status_, currentFile_, progress_, waiting_, error_, dropZone_})
        box->column().addWidget(element);
    box->column().addLayout(makeBottomRow());
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    whole->addWidget(box);
}

void TransferPanel::addDropZoneButtons(TaskScope& tasks) {
    QPushButton* const add = makeProminentButton(addTitle);
    QPushButton* const paste = makeButton(pasteTitle);
    connect(add, &QPushButton::clicked, this, [this] { model_.transfers.pickAndEnqueueFiles(); });
    connect(paste, &QPushButton::clicked, this, [this, &tasks] { tasks.spawn(model_.pasteFromClipboard()); });
    connect(cancel_, &QPushButton::clicked, this, [this] { model_.transfers.cancel(); });
    for (QPushButton* const button : {add, paste, cancel_})
        dropZone_->buttons().addWidget(button);
}

QHBoxLayout* TransferPanel::makeBottomRow() {
    setKind(*clearCounters_, ButtonKind::caption);
    connect(clearCounters_, &QPushButton::clicked, this, [this] { model_.transfers.resetCounters(); });
    counters_->setWordWrap(false);
    auto* const row = new QHBoxLayout;
    row->addWidget(counters_);
    row->addStretch();
    row->addWidget(clearCounters_);
    return row;
}

void TransferPanel::render() {
    const TransferManager& transfers = model_.transfers;
    renderStatus();
    renderProgress();
    renderError();
    dropZone_->showTargeted(model_.isDropTargeted);
    cancel_->setVisible(transfers.isTransferring);
    counters_->setText(transfers.progressLabel());
    clearCounters_->setVisible(offersClearing(transfers));
}

/// The text changes with every item of a run; who listens hears of its beginning and its end.
void TransferPanel::renderStatus() {
    const bool goesOn = std::exchange(wasTransferring_, *model_.transfers.isTransferring) && wasTransferring_;
    if (status_->display(model_.transfers.statusLine) && !goesOn)
        announce(*status_);
}

/// The same error may happen again.
void TransferPanel::renderError() {
    const TransferManager& transfers = model_.transfers;
    error_->setVisible(showsError(transfers));
    if (!showsError(transfers)) {
        announcedErrors_ = 0;
        return;
    }
    const bool isAnother = std::exchange(announcedErrors_, *transfers.errorCount) != transfers.errorCount;
    if (error_->display(**transfers.lastError) || isAnother)
        announce(*error_);
}

void TransferPanel::renderProgress() {
    const TransferManager& transfers = model_.transfers;
    currentFile_->setVisible(showsProgress(transfers));
    progress_->setVisible(showsProgress(transfers));
    currentFile_->display(transfers.currentFileName);
    progress_->display(transfers);
    waiting_->setVisible(transfers.waitingNote->has_value());
    if (waiting_->display(transfers.waitingNote->value_or(QString())) && transfers.waitingNote->has_value())
        announce(*waiting_);
}

} // namespace ternvault
