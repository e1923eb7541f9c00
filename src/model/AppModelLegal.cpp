#include "agent/LegalVersion.h"
#include "model/AppModel.h"
#include "model/SettingsKeys.h"

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

void open(Workspace& workspace, const QUrl& url) {
    if (url.isValid())
        workspace.openURL(url);
}

} // namespace

bool AppModel::isCurrentLegalVersionAccepted() const {
    return platform_.defaults.boolean(keys::legalAccepted).value_or(false) &&
           storedString(keys::legalVersion, {}) == currentLegalVersion;
}

void AppModel::acceptLegal() {
    legalError = std::nullopt;
    if (!acceptedPrivacy || !acceptedTerms) {
        legalError = u"Accept both the Privacy Policy and Terms & Conditions to continue"_s;
        return;
    }
    const std::chrono::duration<double> sinceEpoch = platform_.clock.wallNow().time_since_epoch();
    store(keys::legalAccepted, true);
    store(keys::legalVersion, currentLegalVersion);
    store(keys::legalAcceptedAt, sinceEpoch.count());
    legalAccepted = true;
    status = u"Legal accepted — Create or Login to continue"_s;
}

void AppModel::openPrivacyPolicy() {
    open(platform_.workspace, privacyURL());
}

void AppModel::openTerms() {
    open(platform_.workspace, termsURL());
}

} // namespace ternvault
