// SPDX-License-Identifier: Apache-2.0
// The rows of every category; their sources are this directory's other files.
#pragma once

#include "catalog/catalog.h"

namespace vantoro::rows {

extern const Category kLoudnessTypes, kBasic, kDynamics, kFilters, kDetectors, kMixers, kSwitching, kNonlinear,
    kSources, kVolumeTypes, kInputTerminals, kOutputTerminals, kRooms;

}  // namespace vantoro::rows
