#pragma once

#include "platform/HttpClient.h"
#include "platform/MainLoop.h"

#include <memory>

namespace ternvault {

/// HTTP by libcurl, which is loaded with the first request: it brings thirty libraries along, and starting
/// without them shows the window a tenth earlier. Main thread.
class LoadedHttpClient final : public HttpClient {
public:
    explicit LoadedHttpClient(MainLoop& mainLoop) : mainLoop_(mainLoop) {}

    /// Where the module is missing, requests fail and say so.
    void send(const HttpRequest& request, std::function<void(HttpOutcome)> done) override;

private:
    MainLoop& mainLoop_;
    std::unique_ptr<HttpClient> client_;
};

} // namespace ternvault
