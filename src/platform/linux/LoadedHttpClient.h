#pragma once

#include "base/Lifetime.h"
#include "platform/HttpClient.h"
#include "platform/MainLoop.h"

#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace ternvault {

/// HTTP by libcurl, which is loaded with the first request, beside the main thread: it brings thirty
/// libraries along, and the window is shown earlier without waiting for them. Main thread.
class LoadedHttpClient final : public HttpClient {
public:
    explicit LoadedHttpClient(MainLoop& mainLoop) : mainLoop_(mainLoop) {}
    LoadedHttpClient(const LoadedHttpClient&) = delete;
    LoadedHttpClient& operator=(const LoadedHttpClient&) = delete;
    ~LoadedHttpClient() override;

    /// Where the module is missing, requests fail and say so.
    void send(const HttpRequest& request, std::function<void(HttpOutcome)> done) override;

private:
    struct Loaded {
        std::shared_ptr<HttpClient> client;
        /// Why there is none.
        QString problem;
    };
    static Loaded load(MainLoop& mainLoop);
    void beginToLoad();
    void take(const Loaded& loaded);

    LifetimeAnchor<LoadedHttpClient> anchor_{this};
    MainLoop& mainLoop_;
    std::shared_ptr<HttpClient> client_;
    std::thread loader_;
    /// For the module.
    std::vector<std::pair<HttpRequest, std::function<void(HttpOutcome)>>> waiting_;
};

} // namespace ternvault
