// SPDX-License-Identifier: Apache-2.0
// A measured loudspeaker response from a text file: two lines of heading, then rows of frequency (Hz, rising), level
// (dB) and phase (degrees), separated by blanks.
#pragma once

#include <string>

#include "analysis/response.h"

namespace vantoro {

// The file's response on an axis. Between rows level and phase run in straight lines over the frequency, the phase the
// shorter way round; where the file ends nothing is known, and the values are not numbers.
// Throws UserError: file, line, and what would be right.
Spectrum read_speaker(const std::string& path, const Axis& axis);

}  // namespace vantoro
