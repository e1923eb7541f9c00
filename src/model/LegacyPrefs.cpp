#include "model/LegacyPrefs.h"

#include "model/SettingsKeys.h"

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1String migratedFields[] = {
    QLatin1String("serverIP"),      QLatin1String("agentPort"),       QLatin1String("agentToken"),
    QLatin1String("smbUser"),       QLatin1String("selectedShare"),   QLatin1String("setupComplete"),
    QLatin1String("legalAccepted"), QLatin1String("legalAcceptedAt"), QLatin1String("legalVersion"),
};

bool isBlankString(const QVariant& value) {
    return value.typeId() == QMetaType::QString && value.toString().trimmed().isEmpty();
}

} // namespace

void migratePrefsIfNeeded(UserDefaults& defaults) {
    for (const QLatin1String field : migratedFields) {
        const std::optional<QVariant> legacy = defaults.object(u"mossbox."_s + field);
        if (!legacy || isBlankString(*legacy))
            continue;
        const QString currentKey = u"ternvault."_s + field;
        const std::optional<QVariant> current = defaults.object(currentKey);
        if (!current || isBlankString(*current))
            defaults.writeBack(currentKey, *legacy);
    }
    defaults.set(keys::migratedFromMossBox, true);
}

} // namespace ternvault
