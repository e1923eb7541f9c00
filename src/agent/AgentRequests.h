#pragma once

#include "base/Task.h"
#include "platform/HttpClient.h"

#include <QString>
#include <QUrl>

#include <optional>

namespace ternvault {

/// Where the agent is, from the settings as the user typed them; nothing when they make no address. A scheme
/// in `serverIP` is dropped: the agent speaks plain HTTP.
std::optional<QUrl> agentBaseURL(const QString& serverIP, const QString& agentPort);

/// The address of `path`, a relative one, at the agent; nothing when they make no address.
std::optional<QUrl> agentURL(QUrl base, const QString& path);

/// A request that carries the agent's token.
HttpRequest authorizedRequest(const QUrl& url, const QByteArray& method, const QString& agentToken);

/// Asks the agent. An address without a host is asked nothing, so that what the request carries goes nowhere:
/// the outcome is a transport failure.
Task<HttpOutcome> askAgent(HttpClient& http, HttpRequest request);

} // namespace ternvault
