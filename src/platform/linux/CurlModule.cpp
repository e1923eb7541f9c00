#include "platform/linux/CurlHttpClient.h"
#include "platform/linux/LoadedHttpClient.h"

extern "C" Q_DECL_EXPORT ternvault::HttpClient* ternvaultMakeHttpClient(ternvault::MainLoop& mainLoop) {
    return new ternvault::CurlHttpClient(mainLoop);
}
