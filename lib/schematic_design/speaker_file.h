// SPDX-License-Identifier: Apache-2.0
// A measured loudspeaker response under a response check.
#pragma once

#include "schematic_design.h"

namespace lbx {

// Sets level and phase of every grid point to the file's, interpolated. Leaves them alone, with a report, when the file
// cannot be opened or holds no row.
void SpeakerResponse_Init(const char* filename, FreqResponseState* state);

}  // namespace lbx
