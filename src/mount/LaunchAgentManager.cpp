#include "mount/LaunchAgentManager.h"

#include "platform/PropertyList.h"

#include <QFile>

#include <system_error>

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

const QString label = u"space.larkspur.ternvault.autoconnect"_s;
const QString serviceManager = u"/bin/launchctl"_s;

QString text(const fs::path& path) {
    return QFile::decodeName(path.c_str());
}

QByteArray agentContent(const fs::path& application) {
    return writePropertyList(QVariantMap{
        {u"Label"_s, label},
        {u"ProgramArguments"_s,
         QVariantList{u"/usr/bin/open"_s, u"-a"_s, text(application), u"--args"_s, u"--auto-mount"_s}},
        {u"RunAtLoad"_s, true},
        {u"KeepAlive"_s, false},
        {u"ThrottleInterval"_s, 5},
    });
}

template <typename Action>
void ignoringFailure(const Action& action) {
    try {
        action();
    } catch (const std::system_error&) {
        // The login entry is a convenience; nobody is told.
    }
}

} // namespace

LaunchAgentManager::LaunchAgentManager(const Platform& platform)
    : processes_(platform.processes), files_(platform.files), locations_(platform.locations) {}

void LaunchAgentManager::setEnabled(bool enabled) const {
    const std::optional<fs::path> file = agentFile();
    if (file)
        ignoringFailure([&] { files_.createDirectories(file->parent_path()); });
    if (enabled)
        install(file);
    else
        uninstall(file);
}

std::optional<fs::path> LaunchAgentManager::agentFile() const {
    const std::optional<fs::path> home = locations_.home();
    if (!home)
        return std::nullopt;
    return *home / "Library/LaunchAgents" / (label.toStdString() + ".plist");
}

void LaunchAgentManager::install(const std::optional<fs::path>& file) const {
    if (file) {
        const QByteArray content = agentContent(locations_.applicationBundle());
        ignoringFailure([&] { files_.write(*file, content.toStdString()); });
    }
    unload();
    if (file)
        processes_.run(serviceManager, {u"bootstrap"_s, domain(), text(*file)});
}

void LaunchAgentManager::uninstall(const std::optional<fs::path>& file) const {
    unload();
    if (file)
        ignoringFailure([&] { files_.remove(*file); });
}

void LaunchAgentManager::unload() const {
    processes_.run(serviceManager, {u"bootout"_s, domain() + u'/' + label});
}

QString LaunchAgentManager::domain() const {
    return u"gui/"_s + QString::number(locations_.userId());
}

} // namespace ternvault
