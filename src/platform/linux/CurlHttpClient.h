#pragma once

#include "platform/HttpClient.h"
#include "platform/MainLoop.h"

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace ternvault {

/// HTTP by libcurl, all exchanges on one thread of its own. Its end drops the exchanges under way: their
/// `done` is not called any more.
class CurlHttpClient final : public HttpClient {
public:
    explicit CurlHttpClient(MainLoop& mainLoop);
    ~CurlHttpClient() override;
    CurlHttpClient(const CurlHttpClient&) = delete;
    CurlHttpClient& operator=(const CurlHttpClient&) = delete;

    void send(const HttpRequest& request, std::function<void(HttpOutcome)> done) override;

private:
    class Exchange;

    void serve();
    bool takeNew();
    void finishEnded();
    /// `result` is libcurl's CURLcode.
    void tell(Exchange& exchange, int result);

    MainLoop& mainLoop_;
    /// libcurl's CURLM; used by the thread alone, but for waking it up.
    void* multi_;
    /// Used by the thread alone.
    std::vector<std::unique_ptr<Exchange>> exchanges_;

    std::mutex mutex_;
    std::vector<std::unique_ptr<Exchange>> new_;
    bool leaving_ = false;
    /// Last: it uses all of the above.
    std::thread thread_;
};

} // namespace ternvault
