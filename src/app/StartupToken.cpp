#include "app/StartupToken.h"

#include "platform/linux/X11Windows.h"

#include <QGuiApplication>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

const auto x11Key = u"desktop-startup-id"_s;
const auto waylandKey = u"activation-token"_s;
constexpr auto x11Variable = "DESKTOP_STARTUP_ID";
/// Qt takes it from there at the next activation.
constexpr auto waylandVariable = "XDG_ACTIVATION_TOKEN";

} // namespace

QVariantMap takeStartupTokens() {
    QVariantMap tokens;
    if (qEnvironmentVariableIsSet(x11Variable)) {
        tokens[x11Key] = qEnvironmentVariable(x11Variable);
        qunsetenv(x11Variable);
    }
    if (qEnvironmentVariableIsSet(waylandVariable))
        tokens[waylandKey] = qEnvironmentVariable(waylandVariable);
    return tokens;
}

void useStartupTokens(const QVariantMap& platformData) {
    const QString token = platformData.value(waylandKey).toString();
    if (!token.isEmpty() && QGuiApplication::platformName().startsWith(u"wayland"_s))
        qputenv(waylandVariable, token.toUtf8());
    x11::endStartup(platformData.value(x11Key).toString().toUtf8());
}

} // namespace ternvault
