#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <utility>
#include <variant>
#include <vector>

namespace ternvault {

struct HttpRequest {
    QUrl url;
    QByteArray method;
    /// Longest wait without progress; not a limit on the whole exchange.
    std::chrono::milliseconds timeout;
    /// Names and values, in this order.
    std::vector<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;
};

/// A whole answer, whatever its status.
struct HttpResponse {
    int status = 0;
    QByteArray body;
};

/// Why there is no whole answer.
struct HttpFailure {
    enum class Kind {
        /// Not reached, not answered, broken off, or too large.
        transport,
        /// Something answered that does not speak HTTP.
        notHttp,
    };
    Kind kind = Kind::transport;
    /// For the user.
    QString description;

    /// For a request whose address names no host.
    static HttpFailure noHost() { return {Kind::transport, QStringLiteral("The address names no host.")}; }
};

using HttpOutcome = std::variant<HttpResponse, HttpFailure>;

/// Exchanges one request for one answer, by plain HTTP, straight to the host that the address names (no
/// proxy, no cache, no cookies). A redirect of a GET is followed on the same host and port; any other is an
/// answer like every other, so that what the headers hold goes to no other host. A request that is not a GET
/// is sent once at the most, and one whose address names no host never.
class HttpClient {
public:
    virtual ~HttpClient() = default;

    /// Largest body that is taken from an answer.
    static constexpr qint64 largestBody = qint64(8) * 1024 * 1024;

    /// Never blocks. `done` is called once, on a later turn. Main thread.
    virtual void send(const HttpRequest& request, std::function<void(HttpOutcome)> done) = 0;
};

} // namespace ternvault
