// SPDX-License-Identifier: Apache-2.0
// The subcommands: each adds itself to the program and leaves its exit status behind when it has run.
#pragma once

#include <CLI/CLI.hpp>

namespace vantoro {

inline constexpr int kUsageError = 2;  // something the user wrote is wrong; nothing was touched

void add_blocks_command(CLI::App& app, int& status);

}  // namespace vantoro
