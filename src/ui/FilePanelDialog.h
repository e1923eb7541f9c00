#pragma once

#include "base/Lifetime.h"
#include "platform/BackgroundTasks.h"
#include "platform/FilePanel.h"
#include "platform/MainLoop.h"

#include <QDialog>
#include <QFileIconProvider>
#include <QFileSystemModel>
#include <QItemSelectionModel>

#include <filesystem>
#include <functional>
#include <vector>

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSettings;
class QToolButton;
class QTreeView;

namespace ternvault {

/// Shows one folder at a time and lets the user choose files and folders in it, several at once. A folder is
/// looked at in the background before it is shown: one on a server that went away would hold the main thread.
class FilePanelDialog final : public QDialog {
public:
    using MountedMedia = std::function<std::vector<std::filesystem::path>()>;

    FilePanelDialog(const FilePanelTexts& texts, QSettings& state,
                    const std::vector<std::filesystem::path>& media, BackgroundTasks& background,
                    MainLoop& mainLoop);

    /// In the order of the list.
    std::vector<std::filesystem::path> selection() const;

private:
    void done(int result) override;

    void arrange(const FilePanelTexts& texts);
    void prepareList();
    void fillPlaces(const std::vector<std::filesystem::path>& media);
    void addShortcuts();
    void restore();

    struct Look {
        int number;
        QString path;
        std::function<void(const QFileInfo& item)> found;
    };
    void look(const QString& path, std::function<void(const QFileInfo& item)> found);
    void beginLook();
    void endLook(int number, const QFileInfo& item);
    void goTo(const QString& folder);
    void visit(const QString& folder);
    void showFolder(const QString& folder);
    void goUp();
    void goBack();
    void enter(const QModelIndex& item);
    void followPathField();
    void follow(const QFileInfo& typed);
    void makeCurrent(const QString& path, QItemSelectionModel::SelectionFlags selection);
    void showHidden(bool on);
    void renderSelection();
    QModelIndexList selectedRows() const;

    LifetimeAnchor<FilePanelDialog> anchor_{this};
    QSettings& state_;
    BackgroundTasks& background_;
    MainLoop& mainLoop_;
    /// The latest; older ones have nothing to say any more.
    Look latest_{};
    int lastBegun_ = 0;
    int unanswered_ = 0;
    QFileIconProvider icons_;
    QFileSystemModel files_;
    /// Folders to go back to, the latest one last.
    QStringList history_;
    QListWidget* places_;
    QToolButton* back_;
    QToolButton* up_;
    QLineEdit* path_;
    QTreeView* list_;
    QToolButton* hidden_;
    QPushButton* confirm_;
    QPushButton* cancel_;
};

} // namespace ternvault
