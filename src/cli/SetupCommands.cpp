#include "cli/SetupCommands.h"

#include "agent/LegalVersion.h"
#include "cli/ExitStatus.h"
#include "cli/SettingsCommands.h"
#include "cli/Terminal.h"

namespace ternvault::cli {

using namespace Qt::StringLiterals;

namespace {

/// Only the agent's own words can be none.
QString reasonOf(const QString& setupError) {
    return setupError.trimmed().isEmpty() ? u"The agent did not create the account and gave no reason."_s
                                          : setupError;
}

} // namespace

Task<int> setUp(AppModel& model, SecretStore& secrets, AuthMode mode) {
    if (!model.legalAccepted) {
        printError(
            u"ternvault-cli: the legal documents are not accepted yet; see ternvault-cli accept-legal"_s);
        co_return failure;
    }
    const bool isPasswordNew = model.smbPassword->isEmpty();
    if (isPasswordNew) {
        if (const int status = setSetting(model, secrets, {u"smbPassword"_s}); status != success)
            co_return status;
    }
    model.authMode = mode;
    co_await model.completeAuthFlow();
    if (model.setupError->has_value()) {
        printError(reasonOf(**model.setupError));
        if (isPasswordNew)
            model.smbPassword = QString();
        co_return failure;
    }
    printLine(model.status);
    co_return success;
}

int resetSetup(AppModel& model) {
    model.resetSetup();
    printLine(model.status);
    return success;
}

int acceptLegal(AppModel& model) {
    printLine(u"Privacy Policy: "_s + privacyURL().toString());
    printLine(u"Terms & Conditions: "_s + termsURL().toString());
    model.acceptedPrivacy = true;
    model.acceptedTerms = true;
    model.acceptLegal();
    printLine(model.status);
    return success;
}

} // namespace ternvault::cli
