#include "agent/AgentRequests.h"
#include "agent/CreateUser.h"
#include "async/Await.h"
#include "model/AppModel.h"
#include "model/SettingsKeys.h"

#include <QTextBoundaryFinder>

#include <exception>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int shortestPassword = 4;

/// Characters as the user sees them: an emoji of several code points is one.
int characterCount(const QString& text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

std::optional<QString> complaint(const QString& host, const QString& user, const QString& password) {
    if (host.isEmpty())
        return u"Enter the server IP address"_s;
    if (user.isEmpty())
        return u"Enter a username"_s;
    if (characterCount(password) < shortestPassword)
        return u"Password must be at least 4 characters"_s;
    return std::nullopt;
}

} // namespace

Task<> AppModel::completeAuthFlow() {
    setupError = std::nullopt;
    const QString user = smbUser->trimmed().toLower();
    const QString password = smbPassword;
    const QString host = serverIP->trimmed();
    if (const std::optional<QString> found = complaint(host, user, password)) {
        setupError = found;
        co_return;
    }
    smbUser = user;
    isBusy = true;
    bool hasAccount = true;
    if (authMode == AuthMode::create)
        hasAccount = co_await createAccount(user, password);
    if (hasAccount)
        co_await mountWithAccount(host, user, password);
    isBusy = false;
}

/// False, and `setupError` says why, when there is no new account.
Task<bool> AppModel::createAccount(QString user, QString password) {
    try {
        co_await createUserOnServer(user, password);
        co_return true;
    } catch (const CreateUserError& error) {
        setupError = error.message();
        if (error.userExists())
            authMode = AuthMode::login;
    } catch (const std::exception& error) {
        setupError = QString::fromUtf8(error.what());
    }
    co_return false;
}

Task<> AppModel::createUserOnServer(QString username, QString password) {
    const std::optional<QUrl> base = agentBaseURL();
    const std::optional<QUrl> url = base ? agentURL(*base, u"api/create_user"_s) : std::nullopt;
    if (!url)
        throw CreateUserError::server(u"bad_url"_s, u"Invalid server IP"_s);
    if (!hasAgentToken())
        throw CreateUserError::server(u"no_token"_s, u"Agent token required (Settings → Agent token)"_s);
    HttpRequest request = authorizedRequest(*url, "POST");
    request.headers.emplace_back("Content-Type", "application/json");
    request.body = createUserBody(username, password);
    const HttpOutcome outcome = co_await askAgent(platform_.http, std::move(request));
    if (const auto* const answer = std::get_if<HttpResponse>(&outcome))
        co_return checkCreateUserAnswer(*answer);
    const auto& failure = std::get<HttpFailure>(outcome);
    if (failure.kind == HttpFailure::Kind::notHttp)
        throw CreateUserError::server(u"bad_response"_s, u"Bad response from agent"_s);
    throw std::runtime_error(failure.description.toStdString());
}

Task<> AppModel::mountWithAccount(QString host, QString user, QString password) {
    const QString share = selectedShare->isEmpty() ? QString(defaultShareName) : *selectedShare;
    selectedShare = share;
    refreshMounted();
    if (!isMounted()) {
        Task<> mounting = mounter_.mount(host, share, user, password, productVolumeName);
        if (const std::optional<QString> failure = co_await failureOf(std::move(mounting))) {
            refreshMounted();
            if (!isMounted()) {
                setupError = u"Login failed: "_s + *failure;
                status = u"Mount failed: "_s + *failure;
                co_return;
            }
        }
    }
    refreshMounted();
    if (!isMounted()) {
        setupError = u"Could not mount Tern Vault — check username/password and server IP"_s;
        co_return;
    }
    finishSetupSuccess(share);
}

void AppModel::finishSetupSuccess(const QString& share) {
    setupComplete = true;
    followStoredAutoConnect();
    bringLoginEntryInLine([this] { return isLoginEntryWanted(); });
    applyDesktopIconVisibility(!showDesktopIcon);
    setupError = std::nullopt;
    status = u"Mounted "_s + share +
             (autoConnect ? u" — will reconnect at login"_s : u" — not set to open at login"_s);
    tasks_.spawn(fetchDisks());
}

void AppModel::resetSetup() {
    setupComplete = false;
    smbPassword.storeWithoutHandler(QString());
    keychain_.setPassword(QString(), keys::smbPassword);
    keychain_.deletePassword(keys::smbPassword, keychainService);
    // Again: a process that started meanwhile still found an account, and took the setup for complete.
    store(keys::setupComplete, *setupComplete);
    status = u"Setup reset — Create or Login to continue"_s;
    setupError = std::nullopt;
    authMode = AuthMode::login;
    bringLoginEntryInLine([this] { return isLoginEntryWanted(); });
}

} // namespace ternvault
