#include "platform/linux/CurlHttpClient.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <new>
#include <optional>
#include <utility>

#include <curl/curl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int mostRedirects = 20;
constexpr int httpPort = 80;
/// Below it are interim answers.
constexpr long firstFinalStatus = 200;
/// libcurl has the same limit for one line.
constexpr qint64 largestHeaders = qint64(100) * 1024;
/// How often a silent exchange is looked at, in milliseconds.
constexpr int lookInterval = 500;

/// Programs that this process starts get none of its connections.
curl_socket_t openSocket(void*, curlsocktype, curl_sockaddr* address) {
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

bool holdsLineBreak(const HttpRequest& request) {
    return std::any_of(request.headers.begin(), request.headers.end(), [](const auto& header) {
        return std::any_of(header.second.begin(), header.second.end(),
                           [](char byte) { return byte == '\r' || byte == '\n' || byte == '\0'; });
    });
}

/// Why the request is not sent at all.
std::optional<HttpFailure> refusal(const HttpRequest& request) {
    // In an address without a host, libcurl takes the first part of the path for one.
    if (request.url.host().isEmpty())
        return HttpFailure::noHost();
    if (holdsLineBreak(request))
        return HttpFailure{HttpFailure::Kind::transport, u"The request's header holds a line break."_s};
    return std::nullopt;
}

} // namespace

/// One exchange, redirects included.
class CurlHttpClient::Exchange {
public:
    Exchange(const HttpRequest& request, std::function<void(HttpOutcome)> done)
        : request_(request), done_(std::move(done)), easy_(curl_easy_init()) {
        if (easy_ == nullptr)
            throw std::bad_alloc();
        for (const auto& [name, value] : request_.headers)
            headers_ = curl_slist_append(headers_, (name + ": " + value).constData());
        setOptions();
        setTarget();
    }
    ~Exchange() {
        curl_easy_cleanup(easy_);
        curl_slist_free_all(headers_);
    }
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    CURL* handle() const { return easy_; }
    std::function<void(HttpOutcome)> takeDone() { return std::move(done_); }

    /// Prepares the next request when the answer is a redirect to be followed.
    bool isRedirected(CURLcode result) {
        const std::optional<QUrl> target = redirection();
        if (result != CURLE_OK || !areHeadersWhole_ || !target || redirects_ == mostRedirects)
            return false;
        ++redirects_;
        request_.url = *target;
        setTarget();
        return true;
    }

    HttpOutcome outcome(CURLcode result) const {
        using Kind = HttpFailure::Kind;
        if (isTooLarge_ || result == CURLE_FILESIZE_EXCEEDED)
            return HttpFailure{Kind::transport, u"The answer is larger than 8 MiB."_s};
        // A line beyond its limit is what libcurl calls out of memory.
        if (headerSize_ > largestHeaders || result == CURLE_OUT_OF_MEMORY)
            return HttpFailure{Kind::transport, u"The answer's headers are larger than 100 KiB."_s};
        if (result == CURLE_ABORTED_BY_CALLBACK || result == CURLE_OPERATION_TIMEDOUT)
            return HttpFailure{Kind::transport, u"The request timed out."_s};
        // What does not begin like HTTP could only be its version 0.9, which is not taken.
        if (result == CURLE_UNSUPPORTED_PROTOCOL)
            return HttpFailure{Kind::notHttp, u"The answer is not HTTP."_s};
        if (result != CURLE_OK)
            return HttpFailure{Kind::transport, description(result)};
        // libcurl takes a connection that closes there for the headers' end.
        if (!areHeadersWhole_)
            return HttpFailure{Kind::transport, u"The answer broke off within its headers."_s};
        if (redirection())
            return HttpFailure{Kind::transport, u"The answer leads round in a circle."_s};
        return HttpResponse{static_cast<int>(status()), body_};
    }

private:
    using SteadyClock = std::chrono::steady_clock;

    void setOptions() {
        curl_easy_setopt(easy_, CURLOPT_PROTOCOLS_STR, "http");
        curl_easy_setopt(easy_, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
        curl_easy_setopt(easy_, CURLOPT_PROXY, "");
        curl_easy_setopt(easy_, CURLOPT_NOSIGNAL, 1L);
        // Nobody waits for a name server that stays silent.
        curl_easy_setopt(easy_, CURLOPT_QUICK_EXIT, 1L);
        curl_easy_setopt(easy_, CURLOPT_OPENSOCKETFUNCTION, &openSocket);
        // On a connection that was kept, a request may be sent again when it turns out to be closed.
        curl_easy_setopt(easy_, CURLOPT_FORBID_REUSE, 1L);
        curl_easy_setopt(easy_, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request_.timeout.count()));
        curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, headers_);
        curl_easy_setopt(easy_, CURLOPT_ERRORBUFFER, error_.data());
        curl_easy_setopt(easy_, CURLOPT_PREREQFUNCTION, &Exchange::connected);
        curl_easy_setopt(easy_, CURLOPT_PREREQDATA, this);
        curl_easy_setopt(easy_, CURLOPT_HEADERFUNCTION, &Exchange::takeHeader);
        curl_easy_setopt(easy_, CURLOPT_HEADERDATA, this);
        // Without it, a length that fits into no number would count as none.
        curl_easy_setopt(easy_, CURLOPT_MAXFILESIZE_LARGE, curl_off_t(largestBody));
        curl_easy_setopt(easy_, CURLOPT_WRITEFUNCTION, &Exchange::take);
        curl_easy_setopt(easy_, CURLOPT_WRITEDATA, this);
        curl_easy_setopt(easy_, CURLOPT_NOPROGRESS, 0L);
        curl_easy_setopt(easy_, CURLOPT_XFERINFOFUNCTION, &Exchange::look);
        curl_easy_setopt(easy_, CURLOPT_XFERINFODATA, this);
        if (!isGet()) {
            curl_easy_setopt(easy_, CURLOPT_POSTFIELDSIZE, static_cast<long>(request_.body.size()));
            curl_easy_setopt(easy_, CURLOPT_POSTFIELDS, request_.body.constData());
            curl_easy_setopt(easy_, CURLOPT_CUSTOMREQUEST, request_.method.constData());
        }
    }

    void setTarget() {
        curl_easy_setopt(easy_, CURLOPT_URL, request_.url.toEncoded(QUrl::RemoveFragment).constData());
        body_.clear();
        areHeadersWhole_ = false;
        headerSize_ = 0;
        progress_ = {};
        noteProgress();
    }

    void noteProgress() { lastProgress_ = SteadyClock::now(); }

    bool isGet() const { return request_.method == "GET"; }
    long status() const {
        long code = 0;
        curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &code);
        return code;
    }

    /// Where to ask again; nothing when the answer stands as it is.
    std::optional<QUrl> redirection() const {
        constexpr std::array<long, 5> redirects{301, 302, 303, 307, 308};
        const char* location = nullptr;
        curl_easy_getinfo(easy_, CURLINFO_REDIRECT_URL, &location);
        const bool isRedirect = std::find(redirects.begin(), redirects.end(), status()) != redirects.end();
        if (location == nullptr || !isRedirect || !isGet())
            return std::nullopt;
        const QUrl target = QUrl::fromEncoded(location, QUrl::StrictMode);
        const QUrl& here = request_.url;
        const bool staysHere = target.scheme() == here.scheme() && target.host() == here.host() &&
                               target.port(httpPort) == here.port(httpPort);
        return staysHere ? std::optional(target) : std::nullopt;
    }

    QString description(CURLcode result) const {
        const bool hasDetail = error_[0] != '\0';
        return QString::fromUtf8(hasDetail ? error_.data() : curl_easy_strerror(result));
    }

    static int connected(void* user, char*, char*, int, int) {
        static_cast<Exchange*>(user)->noteProgress();
        return CURL_PREREQFUNC_OK;
    }

    /// Called for every line, those of interim answers and trailers too. Progress is the end of the answer's
    /// own headers alone, so that none of them goes on for ever.
    static std::size_t takeHeader(const char* line, std::size_t, std::size_t size, void* user) {
        auto& self = *static_cast<Exchange*>(user);
        self.headerSize_ += static_cast<qint64>(size);
        if (self.headerSize_ > largestHeaders)
            return 0;
        const bool isEnd = line[0] == '\r' || line[0] == '\n';
        if (isEnd && !self.areHeadersWhole_ && self.status() >= firstFinalStatus) {
            self.areHeadersWhole_ = true;
            self.noteProgress();
        }
        return size;
    }

    static std::size_t take(const char* data, std::size_t, std::size_t size, void* user) {
        auto& self = *static_cast<Exchange*>(user);
        self.isTooLarge_ = self.body_.size() + static_cast<qint64>(size) > largestBody;
        if (self.isTooLarge_)
            return 0;
        self.body_.append(data, static_cast<qint64>(size));
        return size;
    }

    /// Ends an exchange that came no further for too long.
    static int look(void* user, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
        auto& self = *static_cast<Exchange*>(user);
        if (const std::pair progress(received, sent); progress != self.progress_) {
            self.progress_ = progress;
            self.noteProgress();
        }
        return SteadyClock::now() - self.lastProgress_ >= self.request_.timeout ? 1 : 0;
    }

    HttpRequest request_;
    std::function<void(HttpOutcome)> done_;
    CURL* easy_;
    curl_slist* headers_ = nullptr;
    std::array<char, CURL_ERROR_SIZE> error_{};
    bool areHeadersWhole_ = false;
    qint64 headerSize_ = 0;
    QByteArray body_;
    bool isTooLarge_ = false;
    int redirects_ = 0;
    std::pair<curl_off_t, curl_off_t> progress_;
    SteadyClock::time_point lastProgress_;
};

CurlHttpClient::CurlHttpClient(MainLoop& mainLoop) : mainLoop_(mainLoop) {
    curl_global_init(CURL_GLOBAL_ALL);
    multi_ = curl_multi_init();
    if (multi_ == nullptr)
        throw std::bad_alloc();
    // What wakes the thread up is nothing for the programs that this process starts.
    ::close_range(3, std::numeric_limits<unsigned>::max(), CLOSE_RANGE_CLOEXEC);
    thread_ = std::thread([this] { serve(); });
}

CurlHttpClient::~CurlHttpClient() {
    {
        const std::lock_guard lock(mutex_);
        leaving_ = true;
    }
    curl_multi_wakeup(multi_);
    thread_.join();
    for (const auto& exchange : exchanges_)
        curl_multi_remove_handle(multi_, exchange->handle());
    exchanges_.clear();
    curl_multi_cleanup(multi_);
}

void CurlHttpClient::send(const HttpRequest& request, std::function<void(HttpOutcome)> done) {
    if (const std::optional<HttpFailure> refused = refusal(request)) {
        mainLoop_.post([done = std::move(done), failure = *refused] { done(failure); });
        return;
    }
    auto exchange = std::make_unique<Exchange>(request, std::move(done));
    {
        const std::lock_guard lock(mutex_);
        new_.push_back(std::move(exchange));
    }
    curl_multi_wakeup(multi_);
}

void CurlHttpClient::serve() {
    while (takeNew()) {
        int running = 0;
        curl_multi_perform(multi_, &running);
        finishEnded();
        const int patience = exchanges_.empty() ? std::numeric_limits<int>::max() : lookInterval;
        curl_multi_poll(multi_, nullptr, 0, patience, nullptr);
    }
}

/// False when it is time to leave.
bool CurlHttpClient::takeNew() {
    const std::lock_guard lock(mutex_);
    for (std::unique_ptr<Exchange>& exchange : new_) {
        if (curl_multi_add_handle(multi_, exchange->handle()) == CURLM_OK)
            exchanges_.push_back(std::move(exchange));
        else
            tell(*exchange, CURLE_FAILED_INIT);
    }
    new_.clear();
    return !leaving_;
}

void CurlHttpClient::finishEnded() {
    int left = 0;
    while (const CURLMsg* const message = curl_multi_info_read(multi_, &left)) {
        CURL* const handle = message->easy_handle;
        const CURLcode result = message->data.result;
        const auto ended = std::find_if(exchanges_.begin(), exchanges_.end(), [handle](const auto& exchange) {
            return exchange->handle() == handle;
        });
        curl_multi_remove_handle(multi_, handle);
        if ((*ended)->isRedirected(result) && curl_multi_add_handle(multi_, handle) == CURLM_OK)
            continue;
        tell(**ended, result);
        exchanges_.erase(ended);
    }
}

void CurlHttpClient::tell(Exchange& exchange, int result) {
    const auto code = static_cast<CURLcode>(result);
    mainLoop_.post([done = exchange.takeDone(), outcome = exchange.outcome(code)] { done(outcome); });
}

} // namespace ternvault
