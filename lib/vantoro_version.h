// SPDX-License-Identifier: Apache-2.0
// The version, semantic: a new major number breaks callers, a new minor one adds to what there is. The build reads it
// from here.
#ifndef VANTORO_VANTORO_VERSION_H
#define VANTORO_VANTORO_VERSION_H

#include "common/api.h"

#define VANTORO_VERSION_MAJOR 1
#define VANTORO_VERSION_MINOR 0
#define VANTORO_VERSION_PATCH 0
#define VANTORO_VERSION_STRING "1.0.0"

LBX_BEGIN_C

// VANTORO_VERSION_STRING of the library that runs, which a shared one may have been replaced by since the build.
const char* Vantoro_version(void);

LBX_END_C

#endif
