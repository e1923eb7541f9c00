#include "agent/LegalVersion.h"

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

QUrl document(const QString& name) {
    return QUrl(u"https://" TERNVAULT_LEGAL_HOST "/apps/TernVault/"_s + name, QUrl::StrictMode);
}

} // namespace

QUrl privacyURL() {
    return document(u"privacy"_s);
}

QUrl termsURL() {
    return document(u"terms"_s);
}

} // namespace ternvault
