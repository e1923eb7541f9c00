#include "agent/AgentRequests.h"

#include "async/Await.h"

#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

std::optional<QUrl> agentBaseURL(const QString& serverIP, const QString& agentPort) {
    const QString host = serverIP.trimmed().remove(u"http://"_s).remove(u"https://"_s);
    const QUrl url(u"http://"_s + host + u':' + agentPort.trimmed(), QUrl::StrictMode);
    return url.isValid() ? std::optional(url) : std::nullopt;
}

std::optional<QUrl> agentURL(QUrl base, const QString& path) {
    // Qt joins nothing to an address with neither host nor path.
    if (base.path().isEmpty())
        base.setPath(u"/"_s);
    const QUrl url = base.resolved(QUrl(path));
    return url.isValid() ? std::optional(url) : std::nullopt;
}

HttpRequest authorizedRequest(const QUrl& url, const QByteArray& method, const QString& agentToken) {
    const QByteArray token = agentToken.trimmed().toUtf8();
    return {url,
            method,
            std::chrono::seconds(15),
            {{"Authorization", "Bearer " + token}, {"X-TernVault-Token", token}},
            {}};
}

Task<HttpOutcome> askAgent(HttpClient& http, HttpRequest request) {
    if (request.url.host().isEmpty())
        co_return HttpFailure::noHost();
    co_return co_await exchange(http, std::move(request));
}

} // namespace ternvault
