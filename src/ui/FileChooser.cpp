#include "ui/FileChooser.h"

#include "ui/BringForward.h"

#include <QTimer>

#include <utility>

namespace ternvault {

FileChooser::FileChooser(QSettings& state, FilePanelDialog::MountedMedia media, BackgroundTasks& background,
                         MainLoop& mainLoop)
    : state_(state), media_(std::move(media)), background_(background), mainLoop_(mainLoop) {}

FileChooser::~FileChooser() {
    delete dialog_;
}

void FileChooser::show(const FilePanelTexts& texts, Completion completion) {
    if (dialog_) {
        QTimer::singleShot(0, dialog_, [completion = std::move(completion)] { completion(std::nullopt); });
    } else {
        dialog_ = new FilePanelDialog(texts, state_, media_(), background_, mainLoop_);
        QObject::connect(dialog_, &QDialog::finished, dialog_,
                         [this, dialog = dialog_.data(), completion = std::move(completion)](int result) {
                             // Its end is a turn away; who asks before that gets a new one.
                             dialog_.clear();
                             dialog->deleteLater();
                             if (result == QDialog::Accepted)
                                 completion(dialog->selection());
                             else
                                 completion(std::nullopt);
                         });
    }
    bringForward(*dialog_);
}

} // namespace ternvault
