#pragma once

#include "platform/HttpClient.h"
#include "platform/MainLoop.h"

/// What the module exports, under a name that holds the version: after an upgrade a program that still runs
/// must not take the module of another one. The caller owns the client.
extern "C" ternvault::HttpClient* TERNVAULT_MAKE_HTTP_CLIENT(ternvault::MainLoop& mainLoop);
