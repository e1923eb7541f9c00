#include "cli/SetupCommands.h"

#include "agent/LegalVersion.h"
#include "cli/ExitStatus.h"
#include "cli/SecretInput.h"
#include "cli/Terminal.h"

namespace ternvault::cli {

using namespace Qt::StringLiterals;

namespace {

int refuse(const QString& reason) {
    printError(u"ternvault-cli: "_s + reason);
    return failure;
}

} // namespace

Task<int> setUp(AppModel& model, AuthMode mode) {
    if (!model.legalAccepted)
        co_return refuse(u"the legal documents are not accepted yet; see ternvault-cli accept-legal"_s);
    if (model.smbPassword->isEmpty()) {
        const std::optional<QString> password = readSecret(u"smbPassword"_s);
        if (!password)
            co_return refuse(u"no password on standard input"_s);
        model.smbPassword = *password;
    }
    model.authMode = mode;
    co_await model.completeAuthFlow();
    if (model.setupError->has_value()) {
        printError(**model.setupError);
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
