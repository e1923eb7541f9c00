#pragma once

#include "platform/HttpClient.h"

#include <QString>
#include <QUrl>

#include <optional>

namespace ternvault {

/// Where the agent is, from the settings as the user typed them; nothing when they make no address. A scheme
/// in `serverIP` is dropped: the agent speaks plain HTTP.
std::optional<QUrl> agentBaseURL(const QString& serverIP, const QString& agentPort);

/// A request that carries the agent's token.
HttpRequest authorizedRequest(const QUrl& url, const QByteArray& method, const QString& agentToken);

} // namespace ternvault
