#include "platform/linux/LoadedHttpClient.h"

#include "platform/linux/HttpModule.h"

#include <QFile>
#include <QLibrary>

#include <filesystem>
#include <system_error>
#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

/// From the folder of the programs, in the build and once installed.
constexpr auto module = "../lib/ternvault/ternvault-http.so";

#define TERNVAULT_TEXT_OF(name) #name
#define TERNVAULT_NAME_OF(macro) TERNVAULT_TEXT_OF(macro)
constexpr auto factoryName = TERNVAULT_NAME_OF(TERNVAULT_MAKE_HTTP_CLIENT);

QString modulePath() {
    std::error_code ignored;
    const auto programs = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    return QFile::decodeName((programs / module).c_str());
}

} // namespace

LoadedHttpClient::~LoadedHttpClient() {
    if (loader_.joinable())
        loader_.join();
}

void LoadedHttpClient::send(const HttpRequest& request, std::function<void(HttpOutcome)> done) {
    if (client_) {
        client_->send(request, std::move(done));
        return;
    }
    waiting_.emplace_back(request, std::move(done));
    if (!loader_.joinable())
        beginToLoad();
}

LoadedHttpClient::Loaded LoadedHttpClient::load(MainLoop& mainLoop) {
    QLibrary library(modulePath());
    const auto make = reinterpret_cast<decltype(&TERNVAULT_MAKE_HTTP_CLIENT)>(library.resolve(factoryName));
    if (make == nullptr)
        return {nullptr, library.errorString()};
    return {std::shared_ptr<HttpClient>(make(mainLoop)), {}};
}

void LoadedHttpClient::beginToLoad() {
    loader_ = std::thread([weak = anchor_.weak(), &mainLoop = mainLoop_] {
        mainLoop.post([weak, loaded = load(mainLoop)] {
            if (LoadedHttpClient* const self = weak.get())
                self->take(loaded);
        });
    });
}

void LoadedHttpClient::take(const Loaded& loaded) {
    loader_.join();
    client_ = loaded.client;
    for (auto& [request, done] : std::exchange(waiting_, {})) {
        if (client_)
            client_->send(request, std::move(done));
        else
            done(HttpFailure{HttpFailure::Kind::transport, loaded.problem});
    }
}

} // namespace ternvault
