#include "ui/FilePanelDialog.h"

#include "ui/ButtonKind.h"
#include "ui/Controls.h"

#include <QDir>
#include <QFile>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QShortcut>
#include <QSplitter>
#include <QStandardPaths>
#include <QToolButton>
#include <QTreeView>

#include <algorithm>
#include <array>
#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr QSize initialSize(760, 480);
constexpr int placesWidth = 160;
/// Of size, type and date; the name has the rest.
constexpr std::array<std::pair<int, int>, 3> columnWidths{{{1, 80}, {2, 110}, {3, 140}}};
constexpr int spacing = 8;
/// Folders that do not answer each take a thread of those that mount and eject, too.
constexpr int mostUnanswered = 4;

const auto folderKey = u"filePanel/folder"_s;
const auto hiddenKey = u"filePanel/showHidden"_s;

constexpr QDir::Filters shown = QDir::AllEntries | QDir::AllDirs | QDir::NoDotAndDotDot;

struct Place {
    QString title;
    QStandardPaths::StandardLocation location;
};

const std::array<Place, 7> standardPlaces{{
    {u"Home"_s, QStandardPaths::HomeLocation},
    {u"Desktop"_s, QStandardPaths::DesktopLocation},
    {u"Documents"_s, QStandardPaths::DocumentsLocation},
    {u"Downloads"_s, QStandardPaths::DownloadLocation},
    {u"Pictures"_s, QStandardPaths::PicturesLocation},
    {u"Music"_s, QStandardPaths::MusicLocation},
    {u"Videos"_s, QStandardPaths::MoviesLocation},
}};

QToolButton* makeToolButton(const QString& title, QStyle::StandardPixmap icon, const QStyle& style) {
    auto* const button = new QToolButton;
    button->setIcon(style.standardIcon(icon));
    button->setToolTip(title);
    button->setAccessibleName(title);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

/// Elsewhere in the dialog, Return presses the default button.
void onReturn(QWidget& control, const std::function<void()>& action) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter})
        new QShortcut(key, &control, &control, action, Qt::WidgetShortcut);
}

/// In the text of a button, an ampersand would mark a mnemonic.
QString literally(QString title) {
    return title.replace(u'&', "&&"_L1);
}

} // namespace

FilePanelDialog::FilePanelDialog(const FilePanelTexts& texts, QSettings& state,
                                 const std::vector<std::filesystem::path>& media, BackgroundTasks& background,
                                 MainLoop& mainLoop)
    : state_(state), background_(background), mainLoop_(mainLoop), places_(new QListWidget),
      back_(makeToolButton(u"Back"_s, QStyle::SP_ArrowBack, *style())),
      up_(makeToolButton(u"Up"_s, QStyle::SP_FileDialogToParent, *style())), path_(new QLineEdit),
      list_(new QTreeView), hidden_(new QToolButton), confirm_(new QPushButton(literally(texts.prompt))),
      cancel_(new QPushButton(u"Ca&ncel"_s)) {
    setWindowTitle(texts.prompt);
    arrange(texts);
    prepareList();
    fillPlaces(media);
    addShortcuts();
    restore();
}

void FilePanelDialog::arrange(const FilePanelTexts& texts) {
    path_->setAccessibleName(u"Folder"_s);
    places_->setAccessibleName(u"Places"_s);
    list_->setAccessibleName(u"Files and folders"_s);
    hidden_->setText(u"&Hidden files"_s);
    hidden_->setCheckable(true);
    hidden_->setFocusPolicy(Qt::TabFocus);
    confirm_->setDefault(true);
    setKind(*confirm_, ButtonKind::prominent);
    for (QPushButton* const button : {confirm_, cancel_})
        button->setAutoDefault(false);

    auto* const top = new QHBoxLayout;
    for (QWidget* const control : {static_cast<QWidget*>(back_), static_cast<QWidget*>(up_)})
        top->addWidget(control);
    top->addWidget(path_, 1);
    top->addWidget(hidden_);
    auto* const middle = new QSplitter;
    middle->addWidget(places_);
    middle->addWidget(list_);
    middle->setStretchFactor(1, 1);
    middle->setChildrenCollapsible(false);
    middle->setSizes({placesWidth, initialSize.width() - placesWidth});
    auto* const bottom = new QHBoxLayout;
    bottom->addStretch();
    bottom->addWidget(cancel_);
    bottom->addWidget(confirm_);
    auto* const column = new QVBoxLayout(this);
    column->setSpacing(spacing);
    column->addWidget(makeText(texts.message, explanationLook));
    column->addLayout(top);
    column->addWidget(middle, 1);
    column->addLayout(bottom);
    resize(initialSize);

    connect(back_, &QToolButton::clicked, this, [this] { goBack(); });
    connect(up_, &QToolButton::clicked, this, [this] { goUp(); });
    connect(hidden_, &QToolButton::toggled, this, [this](bool on) { showHidden(on); });
    connect(confirm_, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
}

void FilePanelDialog::prepareList() {
    files_.setIconProvider(&icons_);
    files_.setReadOnly(true);
    files_.setResolveSymlinks(false);
    list_->setModel(&files_);
    list_->setRootIsDecorated(false);
    list_->setItemsExpandable(false);
    list_->setUniformRowHeights(true);
    list_->setSortingEnabled(true);
    list_->sortByColumn(0, Qt::AscendingOrder);
    list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    for (const auto& [column, width] : columnWidths)
        list_->setColumnWidth(column, width);
    connect(list_, &QTreeView::doubleClicked, this, [this](const QModelIndex& item) {
        if (files_.isDir(item))
            enter(item);
        else
            accept();
    });
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { renderSelection(); });
    // A chosen file may be deleted by somebody else.
    connect(&files_, &QAbstractItemModel::rowsRemoved, this, [this] { renderSelection(); });
}

void FilePanelDialog::fillPlaces(const std::vector<std::filesystem::path>& media) {
    QStringList known;
    const auto add = [this, &known](const QString& title, const QString& folder) {
        if (known.contains(folder))
            return;
        known << folder;
        auto* const item = new QListWidgetItem(title, places_);
        item->setData(Qt::UserRole, folder);
        item->setToolTip(folder);
    };
    for (const auto& [title, location] : standardPlaces) {
        const QString folder = QStandardPaths::writableLocation(location);
        if (QFileInfo::exists(folder))
            add(title, folder);
    }
    for (const std::filesystem::path& root : media)
        add(QFile::decodeName(root.filename().c_str()), QFile::decodeName(root.c_str()));
    add(u"Computer"_s, QDir::rootPath());
    const auto go = [this](const QListWidgetItem* item) {
        goTo(item->data(Qt::UserRole).toString());
        list_->setFocus();
    };
    connect(places_, &QListWidget::itemClicked, this, go);
    onReturn(*places_, [this, go] {
        if (places_->currentItem() != nullptr)
            go(places_->currentItem());
    });
}

void FilePanelDialog::addShortcuts() {
    new QShortcut(Qt::ALT | Qt::Key_Up, this, [this] { goUp(); });
    new QShortcut(Qt::ALT | Qt::Key_Left, this, [this] { goBack(); });
    new QShortcut(Qt::CTRL | Qt::Key_H, hidden_, [this] { hidden_->toggle(); });
    new QShortcut(Qt::CTRL | Qt::Key_L, path_, [this] {
        path_->setFocus();
        path_->selectAll();
    });
    onReturn(*path_, [this] { followPathField(); });
    // In the list alone: in the path field these keys edit.
    new QShortcut(
        Qt::Key_Backspace, list_, this, [this] { goUp(); }, Qt::WidgetShortcut);
    for (const QKeyCombination key : {QKeyCombination(Qt::Key_Right), Qt::ALT | Qt::Key_Down})
        new QShortcut(
            key, list_, this, [this] { enter(list_->currentIndex()); }, Qt::WidgetShortcut);
}

void FilePanelDialog::restore() {
    hidden_->setChecked(state_.value(hiddenKey, false).toBool());
    showHidden(hidden_->isChecked());
    showFolder(QDir::homePath());
    look(state_.value(folderKey).toString(), [this](const QFileInfo& item) {
        if (item.isDir() && selectedRows().isEmpty())
            showFolder(item.filePath());
    });
    list_->setFocus();
}

/// Tells what stands at the path, unless something else is looked at meanwhile.
void FilePanelDialog::look(const QString& path, std::function<void(const QFileInfo& item)> found) {
    latest_ = {latest_.number + 1, path, std::move(found)};
    if (unanswered_ < mostUnanswered)
        beginLook();
}

void FilePanelDialog::beginLook() {
    ++unanswered_;
    lastBegun_ = latest_.number;
    background_.run(Lane::general, [path = latest_.path, number = latest_.number, weak = anchor_.weak(),
                                    &mainLoop = mainLoop_] {
        QFileInfo item(path);
        item.stat();
        mainLoop.post([item, weak, number] {
            if (FilePanelDialog* const dialog = weak.get())
                dialog->endLook(number, item);
        });
    });
}

void FilePanelDialog::endLook(int number, const QFileInfo& item) {
    --unanswered_;
    if (number == latest_.number)
        std::exchange(latest_.found, nullptr)(item);
    else if (lastBegun_ != latest_.number)
        beginLook();
}

void FilePanelDialog::showFolder(const QString& folder) {
    list_->setRootIndex(files_.setRootPath(folder));
    list_->clearSelection();
    path_->setText(QDir::toNativeSeparators(files_.rootPath()));
    back_->setEnabled(!history_.isEmpty());
    up_->setEnabled(files_.rootPath() != QDir::rootPath());
    renderSelection();
}

void FilePanelDialog::goTo(const QString& folder) {
    look(folder, [this](const QFileInfo& item) {
        if (item.isDir())
            visit(item.filePath());
    });
}

/// Shows another folder, from which the user can go back.
void FilePanelDialog::visit(const QString& folder) {
    if (folder == files_.rootPath())
        return;
    history_ << files_.rootPath();
    showFolder(folder);
}

void FilePanelDialog::goUp() {
    const QString left = files_.rootPath();
    look(QFileInfo(left).path(), [this, left](const QFileInfo& parent) {
        visit(parent.filePath());
        makeCurrent(left, QItemSelectionModel::NoUpdate);
    });
}

void FilePanelDialog::goBack() {
    if (history_.isEmpty())
        return;
    look(history_.last(), [this](const QFileInfo& folder) {
        history_.removeLast();
        showFolder(folder.isDir() ? folder.filePath() : QDir::homePath());
    });
}

void FilePanelDialog::enter(const QModelIndex& item) {
    if (files_.isDir(item))
        goTo(files_.filePath(item));
}

void FilePanelDialog::followPathField() {
    QString typed = path_->text();
    if (typed == u'~' || typed.startsWith("~/"_L1))
        typed.replace(0, 1, QDir::homePath());
    look(QDir::cleanPath(QDir(files_.rootPath()).absoluteFilePath(typed)),
         [this](const QFileInfo& item) { follow(item); });
}

/// A folder is shown; of a file, its folder with the file chosen.
void FilePanelDialog::follow(const QFileInfo& typed) {
    if (!typed.exists()) {
        path_->selectAll();
        return;
    }
    if (typed.isDir()) {
        visit(typed.filePath());
    } else {
        visit(typed.path());
        makeCurrent(typed.filePath(), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
    list_->setFocus();
}

void FilePanelDialog::makeCurrent(const QString& path, QItemSelectionModel::SelectionFlags selection) {
    list_->selectionModel()->setCurrentIndex(files_.index(path), selection);
    list_->scrollTo(list_->currentIndex());
}

void FilePanelDialog::showHidden(bool on) {
    files_.setFilter(on ? shown | QDir::Hidden : shown);
}

QModelIndexList FilePanelDialog::selectedRows() const {
    QModelIndexList rows = list_->selectionModel()->selectedRows();
    std::ranges::sort(rows, {}, &QModelIndex::row);
    return rows;
}

std::vector<std::filesystem::path> FilePanelDialog::selection() const {
    std::vector<std::filesystem::path> paths;
    for (const QModelIndex& row : selectedRows())
        paths.emplace_back(QFile::encodeName(files_.filePath(row)).toStdString());
    return paths;
}

void FilePanelDialog::renderSelection() {
    confirm_->setEnabled(list_->selectionModel()->hasSelection());
}

void FilePanelDialog::done(int result) {
    if (result == Accepted && selectedRows().isEmpty())
        return;
    // Or where the user was last, which has not answered, would be forgotten for the home folder.
    if (result == Accepted || !history_.isEmpty())
        state_.setValue(folderKey, files_.rootPath());
    state_.setValue(hiddenKey, hidden_->isChecked());
    QDialog::done(result);
}

} // namespace ternvault
