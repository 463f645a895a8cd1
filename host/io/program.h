// SPDX-License-Identifier: Apache-2.0
// Another program at work for us.
#pragma once

#include <string>
#include <vector>

namespace vantoro {

// Runs `name` from the PATH, without a shell: `input` on its standard input, its complaints on our standard error.
// Returns what it writes to its standard output. Throws std::runtime_error: a missing program with the Debian `package`
// it comes in, or one that fails.
std::string run_program(const std::string& name, std::vector<std::string> arguments, const std::string& input,
                        const std::string& package);

}  // namespace vantoro
