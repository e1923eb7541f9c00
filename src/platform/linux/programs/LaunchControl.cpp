#include "platform/linux/programs/LaunchControl.h"

#include "platform/PropertyList.h"
#include "platform/linux/programs/AutostartEntry.h"
#include "platform/linux/programs/Outcome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>

#include <algorithm>

#include <unistd.h>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int noSuchService = 3;

/// An agent that opens an application at login.
struct LoginAgent {
    QString label;
    QString application;
    QStringList arguments;
};

/// As a part of a file's name, it leads nowhere else.
bool isLabel(const QString& text) {
    static const QRegularExpression pattern(u"\\A[A-Za-z0-9][A-Za-z0-9.-]*\\z"_s);
    return pattern.match(text).hasMatch();
}

bool hasControlCharacter(const QString& text) {
    return std::any_of(text.begin(), text.end(),
                       [](QChar character) { return character.category() == QChar::Other_Control; });
}

/// `open -a APPLICATION --args ARGUMENT...`
std::optional<LoginAgent> agentFrom(const QVariantMap& root) {
    const QVariant label = root.value(u"Label"_s);
    QStringList command;
    for (const QVariant& argument : root.value(u"ProgramArguments"_s).toList()) {
        if (argument.typeId() != QMetaType::QString || hasControlCharacter(argument.toString()))
            return std::nullopt;
        command << argument.toString();
    }
    if (label.typeId() != QMetaType::QString || !isLabel(label.toString()) ||
        root.value(u"RunAtLoad"_s) != QVariant(true) || command.size() < 4 ||
        command[0] != "/usr/bin/open"_L1 || command[1] != "-a"_L1 || !command[2].startsWith(u'/') ||
        command[3] != "--args"_L1)
        return std::nullopt;
    return LoginAgent{label.toString(), command[2], command.mid(4)};
}

std::optional<LoginAgent> readAgent(const QString& path) {
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const auto content = readPropertyList(file.readAll());
    const auto* const root = std::get_if<QVariant>(&content);
    return root != nullptr ? agentFrom(root->toMap()) : std::nullopt;
}

} // namespace

LaunchControl::LaunchControl(const std::optional<std::filesystem::path>& configuration)
    : folder_(configuration ? QFile::decodeName((*configuration / "autostart").c_str()) : QString()) {}

ProcessResult LaunchControl::operator()(const QStringList& arguments) const {
    if (folder_.isEmpty())
        return failed(u"launchctl: This user has no folder for settings."_s);
    const QString domain = u"gui/"_s + QString::number(::getuid());
    if (arguments.size() == 3 && arguments[0] == "bootstrap"_L1 && arguments[1] == domain)
        return load(arguments[2]);
    const QString service = arguments.value(1);
    const QString label = service.mid(domain.size() + 1);
    if (arguments.size() == 2 && arguments[0] == "bootout"_L1 && service == domain + u'/' + label &&
        isLabel(label))
        return unload(label);
    return misused(u"usage: launchctl bootstrap %1 PLIST, or launchctl bootout %1/LABEL"_s.arg(domain));
}

ProcessResult LaunchControl::load(const QString& propertyList) const {
    const std::optional<LoginAgent> agent = readAgent(propertyList);
    if (!agent)
        return failed(u"launchctl: "_s + propertyList +
                      u" is no agent that opens an application at login."_s);
    const QByteArray text = autostartEntry(u"Tern Vault"_s, agent->application, agent->arguments);
    QDir().mkpath(folder_);
    QSaveFile entry(entryFile(agent->label));
    if (!entry.open(QIODevice::WriteOnly) || entry.write(text) != text.size() || !entry.commit())
        return failed(u"launchctl: "_s + entry.fileName() + u": "_s + entry.errorString());
    return {};
}

ProcessResult LaunchControl::unload(const QString& label) const {
    QFile entry(entryFile(label));
    if (!entry.exists())
        return failed(u"launchctl: There is no service "_s + label + u'.', noSuchService);
    if (!entry.remove())
        return failed(u"launchctl: "_s + entry.fileName() + u": "_s + entry.errorString());
    return {};
}

QString LaunchControl::entryFile(const QString& label) const {
    return folder_ + u'/' + label + u".desktop"_s;
}

} // namespace ternvault
