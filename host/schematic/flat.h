// SPDX-License-Identifier: Apache-2.0
// A schematic written out: every pin counted, every value a plain number, definitions and units resolved.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "schematic/schematic.h"

namespace vantoro {

// A document that reads back as the same schematic, to the last bit of its values. Values that are defaults are left
// out.
nlohmann::ordered_json flat_json(const Schematic& schematic);

}  // namespace vantoro
