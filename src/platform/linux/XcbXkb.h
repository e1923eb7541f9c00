#pragma once

// A field in it is named by a keyword of C++.
#define explicit explicitBehaviour
#include <xcb/xkb.h>
#undef explicit
