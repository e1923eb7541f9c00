#include "ui/DropZone.h"
#include "ui/MountBadge.h"
#include "ui/SharesModel.h"
#include "ui/UiFixture.h"

#include <QDragEnterEvent>
#include <QListView>
#include <QMimeData>
#include <QWindow>

namespace ternvault::test {

struct MainScreen : UiFixture {
    template <typename Event>
    bool drag(QWidget& over, const QMimeData& dragged) {
        Event event(over.mapTo(&window, over.rect().center()), Qt::CopyAction | Qt::MoveAction, &dragged,
                    Qt::LeftButton, Qt::NoModifier);
        // The platform takes a drag that was accepted as accepted.
        event.setAccepted(event.type() == QEvent::DragMove);
        QCoreApplication::sendEvent(window.windowHandle(), &event);
        settle();
        return event.isAccepted();
    }
    void leave() {
        QDragLeaveEvent event;
        QCoreApplication::sendEvent(window.windowHandle(), &event);
        settle();
    }
    QListView& list() const { return find<QListView>(u"SMB shares"_s); }
    QModelIndex row(int index) const { return list().model()->index(index, 0); }
    void click(const QModelIndex& share, Qt::KeyboardModifiers modifiers = {}) {
        list().scrollTo(share);
        QTest::mouseClick(list().viewport(), Qt::LeftButton, modifiers, list().visualRect(share).center());
        settle();
    }
    /// The checkmarks of all rows, then the name that the list has selected.
    QString marks() const {
        QString result;
        for (int index = 0; index < list().model()->rowCount(); ++index)
            result += row(index).data(SharesModel::IsSelected).toBool() ? u'x' : u'-';
        for (const QModelIndex& selected : list().selectionModel()->selectedIndexes())
            result += selected.data().toString();
        return result;
    }
};

TEST_F(MainScreen, EnablesWhatCanBeDone) {
    showMain();
    for (const auto& [isBusy, isMounted, server, user, password, refresh, useVolume, mount] :
         {std::tuple(false, false, "a", "b", "c", true, false, true),
          {false, false, " ", " ", " ", true, false, true},
          {false, false, "", "b", "c", false, false, true},
          {false, false, "a", "", "c", true, false, false},
          {false, false, "a", "b", "", true, false, false},
          {false, true, "a", "b", "c", true, true, false},
          {true, false, "a", "b", "c", false, false, false},
          {true, true, "a", "b", "c", false, false, false}}) {
        model.isBusy = isBusy;
        model.mountedVolumeName = isMounted ? std::optional(u"MOSSBOX1"_s) : std::nullopt;
        model.serverIP = QString::fromLatin1(server);
        model.smbUser = QString::fromLatin1(user);
        model.smbPassword = QString::fromLatin1(password);
        settle();
        EXPECT_EQ(button(u"Refresh drives"_s).isEnabled(), refresh);
        EXPECT_EQ(button(u"Open in Finder"_s).isEnabled(), useVolume);
        EXPECT_EQ(button(u"Eject"_s).isEnabled(), useVolume);
        EXPECT_EQ(button(u"Mount as Tern Vault"_s).isEnabled(), mount);
        for (QWidget* const field : all<QWidget>()) {
            EXPECT_TRUE(field->isEnabled() || qobject_cast<QPushButton*>(field))
                << field->metaObject()->className();
        }
    }
}

TEST_F(MainScreen, ButtonsDoWhatTheySay) {
    letMountsSucceed();
    model.agentToken = u"token"_s;
    showMain();
    fake.http.answer(HttpResponse{200, R"({"disks": [], "shares": []})"});
    settle();
    QTest::keyClick(&find<QLineEdit>(u"Port"_s), Qt::Key_R, Qt::ControlModifier);
    settle();
    EXPECT_EQ(fake.http.requests.size(), 2u);
    EXPECT_FALSE(button(u"Refresh drives"_s).isEnabled());
    fake.http.answer(HttpFailure{});
    settle();
    button(u"Mount as Tern Vault"_s).click();
    settle();
    EXPECT_EQ(*model.mountedVolumeName, u"MOSSBOX1"_s);
    button(u"Open in Finder"_s).click();
    EXPECT_EQ(fake.workspace.opened.size(), 1u);
    button(u"Eject"_s).click();
    settle();
    EXPECT_EQ(*model.mountedVolumeName, std::nullopt);
}

TEST_F(MainScreen, BadgeTellsWhatIsThere) {
    showMain();
    MountBadge& badge = *all<MountBadge>().first();
    for (const auto& [isMounted, token, shown] : {std::tuple(false, u"t"_s, u""_s),
                                                  {true, u"t"_s, u"Mounted"_s},
                                                  {true, u" \n"_s, u"Volume only"_s}}) {
        model.agentToken = token;
        model.mountedVolumeName = isMounted ? std::optional(u"MOSSBOX1"_s) : std::nullopt;
        settle();
        EXPECT_EQ(badge.isVisible() ? nameOf(badge) : u""_s, shown);
    }
}

TEST_F(MainScreen, ListsWhateverTheAgentReports) {
    showMain();
    const QLabel& invitation = find<QLabel>(u"Connect to the Linux agent to list disks."_s);
    for (const auto& [disks, shares] : {std::pair(0, 0), {1, 0}, {0, 1}, {1, 1}, {0, 0}}) {
        model.disks = std::vector<ServerDisk>(static_cast<std::size_t>(disks));
        model.shares = std::vector<ServerShare>(static_cast<std::size_t>(shares));
        settle();
        EXPECT_EQ(list().isVisible(), disks + shares > 0);
        EXPECT_EQ(invitation.isVisible(), disks + shares == 0);
        EXPECT_EQ(list().model()->rowCount(), shares);
    }
    model.shares =
        std::vector{ServerShare{u"<b>&"_s, {}, 0, 999, {}}, ServerShare{{}, {}, 1500, 4'000'787'030'016, {}}};
    settle();
    EXPECT_EQ(row(0).data(SharesModel::Sizes), u"0 bytes free of 999 bytes"_s);
    EXPECT_EQ(row(1).data(SharesModel::Sizes), u"1.5 kB free of 4.0 TB"_s);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&list())->child(0)->text(QAccessible::Name),
              u"<b>&, 0 bytes free of 999 bytes"_s);
}

TEST_F(MainScreen, SelectionFollowsAndWritesThrough) {
    const ServerShare a = share(u"A"_s), b = share(u"B"_s), c = share(u"C"_s);
    model.shares = std::vector{a, b};
    model.selectedShare = u"elsewhere"_s;
    showMain();
    EXPECT_EQ(marks(), u"--"_s);
    find<QLineEdit>(u"SMB password"_s).setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(list().hasFocus());
    EXPECT_EQ(*model.selectedShare, u"elsewhere"_s) << "the focus chooses nothing";
    click(row(1));
    EXPECT_EQ(marks(), u"-xB"_s);
    EXPECT_EQ(fake.defaults.values[u"ternvault.selectedShare"_s], u"B"_s);
    QTest::keyClick(&list(), Qt::Key_Up);
    settle();
    EXPECT_EQ(*model.selectedShare, u"A"_s);
    model.selectedShare = u"B"_s;
    settle();
    EXPECT_EQ(marks(), u"-xB"_s);

    for (const auto& [shares, shown] :
         {std::pair(std::vector{b, c, a}, u"x--B"_s), {{c}, u"-"_s}, {{}, u""_s}, {{a, b}, u"-xB"_s}}) {
        model.shares = shares;
        int changes = 0;
        const Subscription watch = model.objectWillChange.subscribe([&changes] { ++changes; });
        settle();
        EXPECT_EQ(marks(), shown);
        EXPECT_EQ(changes, 0) << "showing writes nothing";
    }
    click(row(1), Qt::ControlModifier);
    EXPECT_EQ(*model.selectedShare, u""_s);
    EXPECT_EQ(marks(), u"--"_s);
}

TEST_F(MainScreen, StartsWithMountingThenListing) {
    letMountsSucceed();
    model.setupComplete = true;
    model.autoConnect = true;
    model.agentToken = u"token"_s;
    showMain();
    fake.time.advance(1999ms);
    EXPECT_EQ(std::pair(mounts(), fake.http.requests.size()), std::pair(std::size_t(0), std::size_t(0)));
    fake.time.advance(1ms);
    EXPECT_EQ(std::pair(mounts(), fake.http.requests.size()), std::pair(std::size_t(1), std::size_t(1)));
    fake.files.entries.clear();
    fake.http.answer(HttpFailure{});
    settle();
    EXPECT_EQ(*model.mountedVolumeName, std::nullopt) << "the mount state is looked at again";

    showMain();
    screen.reset();
    fake.time.advance(2s);
    EXPECT_EQ(mounts(), 2u) << "what had begun went on";
    EXPECT_EQ(fake.http.requests.size(), 1u) << "but a screen that is gone lists nothing";

    fake.files.entries.clear();
    model.refreshMounted();
    model.serverIP = u""_s;
    fake.files.entries["/Volumes/MOSSBOX1"] = true;
    showMain();
    EXPECT_EQ(fake.http.requests.size(), 1u);
    EXPECT_EQ(*model.mountedVolumeName, u"MOSSBOX1"_s);
}

TEST_F(MainScreen, TakesDropsAnywhere) {
    model.shares = std::vector{share(u"A"_s)};
    fake.files.entries = {{"/Volumes/MOSSBOX1", true}, {"/s/b", false}, {"/s/a", false}, {"/s/c", true}};
    fake.processes.executables = {u"/usr/bin/rsync"_s};
    showMain({700, 1000});
    QMimeData files;
    files.setUrls(
        {QUrl::fromLocalFile(u"/s/b"_s), QUrl::fromLocalFile(u"/s/a"_s), QUrl::fromLocalFile(u"/s/c"_s)});
    // As file managers do; a field would take it.
    files.setText(u"/s/b"_s);
    DropZone& zone = *all<DropZone>().first();
    const QImage plain = window.grab().toImage(), plainZone = zone.grab().toImage();
    QImage tinted;
    for (QWidget* const child : all<QWidget>()) {
        if (!child->isVisible())
            continue;
        EXPECT_TRUE(drag<QDragEnterEvent>(*child, files)) << child->metaObject()->className();
        EXPECT_TRUE(model.isDropTargeted);
        tinted = window.grab().toImage();
        EXPECT_NE(zone.grab().toImage(), plainZone);
        leave();
        EXPECT_FALSE(model.isDropTargeted);
    }
    EXPECT_NE(tinted.pixel(2, 2), plain.pixel(2, 2));
    EXPECT_EQ(window.grab().toImage().pixel(2, 2), plain.pixel(2, 2));
    EXPECT_EQ(zone.grab().toImage(), plainZone);

    for (const auto& [kind, url] :
         {std::pair(u"text/plain"_s, u"/s/a"_s), {u"text/uri-list"_s, u"http://x/a"_s}}) {
        QMimeData other;
        other.setData(kind, url.toUtf8());
        EXPECT_FALSE(drag<QDragEnterEvent>(*screen, other));
        EXPECT_FALSE(model.isDropTargeted);
        leave();
    }
    QLineEdit& field = find<QLineEdit>(u"IP address"_s);
    drag<QDragEnterEvent>(list(), files);
    EXPECT_TRUE(drag<QDragMoveEvent>(field, files));
    EXPECT_TRUE(model.isDropTargeted);
    EXPECT_TRUE(drag<QDropEvent>(field, files));
    EXPECT_FALSE(model.isDropTargeted);
    QStringList copied;
    for (const QStringList& call : fake.processes.calls) {
        if (call[0].endsWith(u"rsync"_s))
            copied << call[call.size() - 2];
    }
    EXPECT_EQ(copied.join(u' '), u"/s/b /s/a /s/c/"_s);
    EXPECT_EQ(field.text(), u"10.0.0.5"_s);

    drag<QDragEnterEvent>(field, files);
    screen.reset();
    EXPECT_FALSE(model.isDropTargeted) << "files do not hover over a screen that is gone";
}

} // namespace ternvault::test
