// SPDX-License-Identifier: Apache-2.0
// Standard input, output and error: there from the start, and checked at the end.
#pragma once

namespace vantoro {

// At the start of the program. Those that are closed are opened so that using them fails: a file of ours would
// otherwise get their number, and log lines would land in it.
void open_standard_streams();

// At the end: writes out what was printed. Throws std::runtime_error if any of it was lost.
void finish_standard_output();

}  // namespace vantoro
