#pragma once

#include "platform/FilePanel.h"
#include "ui/FilePanelDialog.h"

#include <QPointer>
#include <QSettings>

namespace ternvault {

/// The file panel as a dialog of our own: the toolkit's cannot choose files and folders together. There is
/// one at a time; who asks while it is open gets nothing, and the open one comes to the front.
class FileChooser final : public FilePanel {
public:
    /// `state` keeps the folder that was shown last; `media` lists where disks and servers are mounted.
    FileChooser(QSettings& state, FilePanelDialog::MountedMedia media, BackgroundTasks& background,
                MainLoop& mainLoop);
    ~FileChooser() override;

    void show(const FilePanelTexts& texts, Completion completion) override;

private:
    QSettings& state_;
    FilePanelDialog::MountedMedia media_;
    BackgroundTasks& background_;
    MainLoop& mainLoop_;
    QPointer<FilePanelDialog> dialog_;
};

} // namespace ternvault
