// SPDX-License-Identifier: Apache-2.0
// The JSON schema of schematics, for editors: the form of a document, and the parameters of every block type.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace vantoro {

nlohmann::ordered_json schematic_schema();

}  // namespace vantoro
