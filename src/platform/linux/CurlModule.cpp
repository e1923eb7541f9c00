#include "platform/linux/CurlHttpClient.h"
#include "platform/linux/HttpModule.h"

extern "C" Q_DECL_EXPORT ternvault::HttpClient* TERNVAULT_MAKE_HTTP_CLIENT(ternvault::MainLoop& mainLoop) {
    return new ternvault::CurlHttpClient(mainLoop);
}
