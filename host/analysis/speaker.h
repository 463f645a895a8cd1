// SPDX-License-Identifier: Apache-2.0
// A measured loudspeaker response from a text file, as measuring programs export it (FRD): rows of frequency (Hz,
// rising), level (dB) and, if there is one, phase (degrees; else 0). Blanks, tabs, commas or semicolons separate;
// columns after these are left out. Where blanks or semicolons separate, a number may have a decimal comma. Lines that
// begin with * # ; or " are comments, and what comes before the first row is heading.
#pragma once

#include <string>

#include "analysis/response.h"

namespace vantoro {

// The file's response on an axis. Between rows level and phase run in straight lines over the frequency, the phase the
// shorter way round; where the file ends nothing is known, and the values are not numbers.
// Throws UserError: file, line, and what would be right.
Spectrum read_speaker(const std::string& path, const Axis& axis);
// The same of a text; `name` stands for the file in messages.
Spectrum parse_speaker(const std::string& text, const std::string& name, const Axis& axis);

}  // namespace vantoro
