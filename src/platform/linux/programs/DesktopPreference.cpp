#include "platform/linux/programs/DesktopPreference.h"

#include "platform/linux/SessionBus.h"
#include "platform/linux/programs/Outcome.h"

#include <QDeadlineTimer>
#include <QProcess>

#include <optional>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds patience(1500);
constexpr int patienceWithKilled = 500;

/// One Boolean setting, as a program reads and writes it.
struct Setting {
    QStringList read;
    QStringList write;
};

Setting gsetting(const QString& schema, const QString& key) {
    return {{u"gsettings"_s, u"get"_s, schema, key}, {u"gsettings"_s, u"set"_s, schema, key}};
}

Setting xfceSetting(const QString& channel, const QString& property) {
    const QStringList query{u"xfconf-query"_s, u"-c"_s, channel, u"-p"_s, property};
    // Created when it was never set.
    return {query, query + QStringList{u"-n"_s, u"-t"_s, u"bool"_s, u"-s"_s}};
}

/// The names by which the desktop calls itself.
QStringList runningDesktops() {
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':');
}

std::optional<Setting> settingOfRunningDesktop() {
    const QStringList desktops = runningDesktops();
    if (desktops.contains("XFCE"_L1))
        return xfceSetting(u"xfce4-desktop"_s, u"/desktop-icons/file-icons/show-network-removable"_s);
    if (desktops.contains("GNOME"_L1))
        return gsetting(u"org.gnome.shell.extensions.ding"_s, u"show-network-volumes"_s);
    return std::nullopt;
}

/// What the program prints; nothing when it fails or does not end in time.
std::optional<QString> outputOf(const QStringList& command, const QDeadlineTimer& deadline) {
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(command.front(), command.mid(1));
    if (!process.waitForFinished(static_cast<int>(deadline.remainingTime()))) {
        process.kill();
        process.waitForFinished(patienceWithKilled);
        return std::nullopt;
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return std::nullopt;
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

} // namespace

ProcessResult DesktopPreference::write(const QStringList& arguments) {
    const QStringList known{u"write"_s, u"com.apple.finder"_s, u"ShowMountedServersOnDesktop"_s, u"-bool"_s};
    const QString value = arguments.value(4);
    if (arguments != known + QStringList{value} || (value != "true"_L1 && value != "false"_L1))
        return misused(u"usage: defaults "_s + known.join(u' ') + u" true|false"_s);
    const std::optional<Setting> setting = settingOfRunningDesktop();
    // Without a bus the desktop's program would start one of its own.
    if (!setting || !sessionHasBus() || isSilent_)
        return {};
    const QDeadlineTimer deadline(patience);
    if (outputOf(setting->read, deadline) == value)
        return {};
    isSilent_ = deadline.hasExpired();
    if (isSilent_ || !outputOf(setting->write + QStringList{value}, deadline))
        return failed(u"defaults: “"_s + setting->write.join(u' ') + u"” does not work."_s);
    isWritten_ = true;
    return {};
}

ProcessResult DesktopPreference::redraw() {
    if (!isWritten_.exchange(false) || !runningDesktops().contains("XFCE"_L1))
        return {};
    const QDeadlineTimer deadline(patience);
    // Where no desktop runs, the command would start one.
    const QString owned =
        outputOf({u"gdbus"_s, u"call"_s, u"--session"_s, u"--dest"_s, u"org.freedesktop.DBus"_s,
                  u"--object-path"_s, u"/org/freedesktop/DBus"_s, u"--method"_s,
                  u"org.freedesktop.DBus.NameHasOwner"_s, u"org.xfce.xfdesktop"_s},
                 deadline)
            .value_or(QString());
    if (owned == "(true,)"_L1 && !outputOf({u"xfdesktop"_s, u"--reload"_s}, deadline))
        return failed(u"“xfdesktop --reload” does not work."_s);
    return {};
}

} // namespace ternvault
