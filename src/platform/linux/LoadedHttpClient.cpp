#include "platform/linux/LoadedHttpClient.h"

#include <QFile>
#include <QLibrary>

#include <filesystem>
#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

/// From the folder of the programs, in the build and once installed.
constexpr auto module = "../lib/ternvault/ternvault-http.so";

QString modulePath() {
    const auto programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    return QFile::decodeName((programs / module).c_str());
}

} // namespace

void LoadedHttpClient::send(const HttpRequest& request, std::function<void(HttpOutcome)> done) {
    if (!client_) {
        QLibrary library(modulePath());
        const auto make =
            reinterpret_cast<decltype(&ternvaultMakeHttpClient)>(library.resolve("ternvaultMakeHttpClient"));
        if (make == nullptr) {
            const HttpFailure failure{HttpFailure::Kind::transport, library.errorString()};
            mainLoop_.post([done = std::move(done), failure] { done(failure); });
            return;
        }
        client_.reset(make(mainLoop_));
    }
    client_->send(request, std::move(done));
}

} // namespace ternvault
