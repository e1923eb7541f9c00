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

void LoadedHttpClient::send(const HttpRequest& request, std::function<void(HttpOutcome)> done) {
    if (!client_) {
        QLibrary library(modulePath());
        const auto make =
            reinterpret_cast<decltype(&TERNVAULT_MAKE_HTTP_CLIENT)>(library.resolve(factoryName));
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
