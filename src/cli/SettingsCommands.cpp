#include "cli/SettingsCommands.h"

#include "cli/ExitStatus.h"
#include "cli/SecretInput.h"
#include "cli/Terminal.h"
#include "model/SettingsKeys.h"

#include <algorithm>
#include <array>
#include <variant>

namespace ternvault::cli {

using namespace Qt::StringLiterals;

namespace {

using TextField = Published<QString> AppModel::*;
using SwitchField = Published<bool> AppModel::*;

struct Setting {
    QString key;
    std::variant<TextField, SwitchField> field;
    bool isSecret;
    QString meaning;
};

const std::array<Setting, 8>& settings() {
    static const std::array<Setting, 8> all{{
        {u"serverIP"_s, &AppModel::serverIP, false, u"address of the PC"_s},
        {u"agentPort"_s, &AppModel::agentPort, false, u"port of the PC's agent"_s},
        {u"agentToken"_s, &AppModel::agentToken, true, u"token of the PC's agent (secret)"_s},
        {u"smbUser"_s, &AppModel::smbUser, false, u"name of the SMB account"_s},
        {u"smbPassword"_s, &AppModel::smbPassword, true, u"password of the SMB account (secret)"_s},
        {u"selectedShare"_s, &AppModel::selectedShare, false, u"share to mount"_s},
        {u"autoConnect"_s, &AppModel::autoConnect, false, u"keep the volume mounted: on or off"_s},
        {u"showDesktopIcon"_s, &AppModel::showDesktopIcon, false, u"show it on the desktop: on or off"_s},
    }};
    return all;
}

const Setting* find(const QString& key) {
    const auto found = std::find_if(settings().begin(), settings().end(),
                                    [&](const Setting& setting) { return setting.key == key; });
    return found == settings().end() ? nullptr : &*found;
}

int refuse(const QString& message) {
    printError(u"ternvault-cli: "_s + message);
    return usageError;
}

int refuseUnknown(const QString& key) {
    return refuse(u"unknown setting '"_s + key + u"'; ternvault-cli --help lists them"_s);
}

bool hasControlCharacters(const QString& text) {
    return std::any_of(text.begin(), text.end(),
                       [](QChar character) { return character.category() == QChar::Other_Control; });
}

std::optional<bool> parseSwitch(const QString& text) {
    const QString word = text.toLower();
    if (word == u"on"_s || word == u"true"_s || word == u"yes"_s || word == u"1"_s)
        return true;
    if (word == u"off"_s || word == u"false"_s || word == u"no"_s || word == u"0"_s)
        return false;
    return std::nullopt;
}

/// The secret store reports nothing when it is written, so a password is read back.
bool isKept(const AppModel& model, SecretStore& secrets, TextField field) {
    if (field != &AppModel::smbPassword)
        return true;
    const KeychainStore keychain(secrets);
    return keychain.password(keys::smbPassword, keychainService).value_or(QString()) == *(model.*field);
}

int setText(AppModel& model, SecretStore& secrets, TextField field, const QString& value) {
    if (hasControlCharacters(value))
        return refuse(u"the value holds control characters"_s);
    model.*field = value;
    if (isKept(model, secrets, field))
        return success;
    printError(u"ternvault-cli: the secret could not be stored"_s);
    return failure;
}

int setSwitch(AppModel& model, const Setting& setting, const QString& value) {
    const std::optional<bool> parsed = parseSwitch(value);
    if (!parsed)
        return refuse(setting.key + u" is either on or off, not '"_s + value + u"'"_s);
    model.*std::get<SwitchField>(setting.field) = *parsed;
    return success;
}

int setSecret(AppModel& model, SecretStore& secrets, const Setting& setting) {
    const std::optional<QString> value = readSecret(setting.key);
    if (!value)
        return refuse(u"no value for "_s + setting.key + u" on standard input"_s);
    return setText(model, secrets, std::get<TextField>(setting.field), *value);
}

} // namespace

QString describeSettings() {
    QString text;
    for (const Setting& setting : settings())
        text += u"  "_s + setting.key.leftJustified(17) + setting.meaning + u'\n';
    return text;
}

int setSetting(AppModel& model, SecretStore& secrets, const QStringList& arguments) {
    const Setting* const setting = arguments.isEmpty() ? nullptr : find(arguments[0]);
    if (setting == nullptr)
        return refuseUnknown(arguments.value(0));
    if (setting->isSecret) {
        if (arguments.size() != 1)
            return refuse(setting->key + u" is a secret: it is read from a prompt or from standard input"_s);
        return setSecret(model, secrets, *setting);
    }
    if (arguments.size() != 2)
        return refuse(u"set "_s + setting->key + u" takes one value"_s);
    if (std::holds_alternative<SwitchField>(setting->field))
        return setSwitch(model, *setting, arguments[1]);
    return setText(model, secrets, std::get<TextField>(setting->field), arguments[1]);
}

int getSetting(const AppModel& model, const QStringList& arguments) {
    const Setting* const setting = arguments.size() == 1 ? find(arguments[0]) : nullptr;
    if (setting == nullptr)
        return refuseUnknown(arguments.value(0));
    if (const auto* const field = std::get_if<SwitchField>(&setting->field)) {
        printLine(*(model.*(*field)) ? u"on"_s : u"off"_s);
        return success;
    }
    const QString& value = *(model.*std::get<TextField>(setting->field));
    if (setting->isSecret)
        printLine(value.isEmpty() ? u"(not set)"_s : u"(set)"_s);
    else
        printLine(value);
    return success;
}

} // namespace ternvault::cli
