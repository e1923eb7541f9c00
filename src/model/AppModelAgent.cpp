#include "agent/AgentRequests.h"
#include "agent/JsonDecoding.h"
#include "base/Utf8.h"
#include "model/AppModel.h"

#include <algorithm>

namespace ternvault {

using namespace Qt::StringLiterals;

std::optional<QUrl> AppModel::agentBaseURL() const {
    return ternvault::agentBaseURL(serverIP, agentPort);
}

HttpRequest AppModel::authorizedRequest(const QUrl& url, const QByteArray& method) const {
    return ternvault::authorizedRequest(url, method, agentToken);
}

Task<> AppModel::fetchDisks() {
    isBusy = true;
    bool isListed = false;
    if (std::optional<HttpRequest> request = disksRequest()) {
        const HttpOutcome outcome = co_await askAgent(platform_.http, std::move(*request));
        if (const auto* const answer = std::get_if<HttpResponse>(&outcome))
            isListed = showDisks(*answer);
        else if (const auto& failure = std::get<HttpFailure>(outcome);
                 failure.kind == HttpFailure::Kind::notHttp)
            status = u"Bad response from agent"_s;
        else
            showAgentUnreachable(failure.description);
    }
    isListingCurrent_ = isListed;
    isBusy = false;
}

/// The request for the drive listing, or `status` says why there is none to send.
std::optional<HttpRequest> AppModel::disksRequest() {
    const std::optional<QUrl> base = agentBaseURL();
    if (!base) {
        status = u"Invalid server IP"_s;
        return std::nullopt;
    }
    const std::optional<QUrl> url = agentURL(*base, u"api/disks"_s);
    if (!url) {
        status = u"Invalid agent URL"_s;
        return std::nullopt;
    }
    if (!hasAgentToken()) {
        refreshMounted();
        status = isMounted() ? mountedStatusMessage(std::nullopt)
                             : u"Agent token required — paste it from Settings"_s;
        return std::nullopt;
    }
    return authorizedRequest(*url, "GET");
}

/// Whether the answer brought the lists.
bool AppModel::showDisks(const HttpResponse& answer) {
    if (answer.status == 401) {
        status = u"Unauthorized — check Agent Token in Settings (⌘,)"_s;
        return false;
    }
    if (answer.status != 200) {
        const QString body = decodeUtf8(answer.body).value_or(QString());
        status = u"Agent error "_s + QString::number(answer.status) + u": "_s +
                 (body.isEmpty() ? u"is mossbox-agent running?"_s : body);
        return false;
    }
    try {
        DisksResponse response = decodeDisksResponse(answer.body);
        disks = std::move(response.disks);
        shares = std::move(response.shares);
    } catch (const DecodingError& error) {
        showAgentUnreachable(QString::fromUtf8(error.what()));
        return false;
    }
    if (selectedShare->isEmpty() && !shares->empty())
        selectedShare = shares->front().name;
    refreshMounted();
    status =
        isMounted() ? mountedStatusMessage(static_cast<std::int64_t>(shares->size())) : connectedMessage();
    return true;
}

QString AppModel::connectedMessage() const {
    const auto usable =
        std::count_if(disks->begin(), disks->end(), [](const ServerDisk& disk) { return disk.available; });
    return u"Connected — "_s + QString::number(shares->size()) + u" share(s), "_s + QString::number(usable) +
           u" usable disk(s)"_s;
}

void AppModel::showAgentUnreachable(const QString& reason) {
    status = u"Cannot reach agent at "_s + *serverIP + u':' + *agentPort + u" — "_s + reason;
}

} // namespace ternvault
