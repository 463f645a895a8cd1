// SPDX-License-Identifier: Apache-2.0
// The documented ends of the process, as the fuzz targets see them.
#pragma once

#include "support/exit_trap.h"

// True when the call reached exit(). What it had allocated and not yet handed to its block would have died with the
// process, and is no leak.
bool ends_process(const std::function<void()>& call);
