#include "app/TapRefusalNotice.h"

#include <QSettings>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

const auto toldAboutWayland = u"toldAboutWayland"_s;

} // namespace

void TapRefusalNotice::show() {
    if (tap_.refusal() == x11::TapRefusal::waylandSession) {
        if (desktopState_.value(toldAboutWayland).toBool())
            return;
        desktopState_.setValue(toldAboutWayland, true);
    }
    tell();
}

void TapRefusalNotice::tell() {
    switch (tap_.refusal()) {
    case x11::TapRefusal::none:
    case x11::TapRefusal::noDisplay:
        break;
    case x11::TapRefusal::waylandSession:
        notices_.show(
            u"Pastes made in file managers are not taken over, because on Wayland no program sees keys that "
            u"are meant for another. Paste in this window instead, drop files onto it, or choose “Send to "
            u"Tern Vault” in the file manager's menu."_s);
        break;
    case x11::TapRefusal::keyTaken:
        notices_.show(
            u"Pastes made in file managers are not taken over, because another program has reserved Ctrl+V. "
            u"Free it there, then close this window and open it again. Until then choose "
            u"“Paste Files into Tern Vault” in the menu, or drop files onto this window."_s);
        break;
    case x11::TapRefusal::noPasteKey:
        notices_.show(
            u"Pastes made in file managers are not taken over, because no key of this keyboard types a V. "
            u"Once one does, close this window and open it again."_s);
        break;
    }
}

} // namespace ternvault
