#include "agent/LegalVersion.h"

namespace ternvault {

using namespace Qt::StringLiterals;

bool isCurrentLegalVersionAccepted(const UserDefaults& defaults) {
    static const QString currentVersion = u"2026-08-05"_s;
    return defaults.boolean(u"ternvault.legalAccepted"_s).value_or(false) &&
           defaults.string(u"ternvault.legalVersion"_s) == currentVersion;
}

} // namespace ternvault
