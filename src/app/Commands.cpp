#include "app/Commands.h"

#include <QMenu>
#include <QMenuBar>
#include <QShortcut>

namespace ternvault {

using namespace Qt::StringLiterals;

Commands::Commands()
    : showWindow(u"&Tern Vault"_s), pasteFiles(u"&Paste Files into Tern Vault"_s), addFiles(u"&Add Files…"_s),
      takePastesOver(u"Take Over Pastes in &File Managers"_s), settings(u"&Settings…"_s),
      closeWindow(u"&Close"_s), quit(u"&Quit"_s), minimise(u"&Minimise"_s), legal(u"&Legal"_s),
      about(u"&About Tern Vault"_s) {
    pasteFiles.setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_V);
    pasteFiles.setAutoRepeat(false);
    takePastesOver.setCheckable(true);
    addFiles.setShortcut(Qt::CTRL | Qt::Key_O);
    settings.setShortcut(Qt::CTRL | Qt::Key_Comma);
    closeWindow.setShortcut(Qt::CTRL | Qt::Key_W);
    quit.setShortcut(Qt::CTRL | Qt::Key_Q);
    minimise.setShortcut(Qt::CTRL | Qt::Key_M);
}

void Commands::addShortcutsTo(QWidget& window) {
    window.addActions({&pasteFiles, &addFiles, &settings, &closeWindow, &quit, &minimise});
}

void Commands::fill(QMenuBar& bar, QMenu* edit) {
    QMenu* const file = bar.addMenu(u"&File"_s);
    file->addAction(&settings);
    file->addSeparator();
    file->addActions({&closeWindow, &quit});
    edit->addSeparator();
    edit->addAction(&takePastesOver);
    bar.addMenu(edit);
    bar.addMenu(u"&Transfer"_s)->addActions({&pasteFiles, &addFiles});
    bar.addMenu(u"&Window"_s)->addActions({&minimise, &showWindow});
    bar.addMenu(u"&Help"_s)->addActions({&legal, &about});
    // As the desktops have it; Qt leaves it out.
    new QShortcut(Qt::Key_F10, &bar, [&bar] { bar.setActiveAction(bar.actions().first()); });
}

void Commands::fillTrayMenu(QMenu& menu) {
    const auto add = [this, &menu](const QString& title, QAction* command) {
        QObject::connect(menu.addAction(title), &QAction::triggered, &showWindow, [this, command] {
            // It tells what becomes of the command.
            showWindow.trigger();
            if (command != nullptr)
                command->trigger();
        });
    };
    add(u"&Open Tern Vault"_s, nullptr);
    add(pasteFiles.text(), &pasteFiles);
    add(addFiles.text(), &addFiles);
    menu.addSeparator();
    menu.addAction(&quit);
}

} // namespace ternvault
