// SPDX-License-Identifier: Apache-2.0
// Lists of filters of room-correction programs, into equalisers and out of them.
#pragma once

#include <optional>
#include <string>

#include "schematic/schematic.h"

namespace vantoro {

struct FilterImport {
    std::string into, block;  // a schematic and the id of its equaliser; empty: printed, and the only one
    std::optional<int> rate;
    bool strict = false;
};
// `text` is that of the file `path`. Throws UserError.
int import_filters(const std::string& path, const std::string& text, const FilterImport& options);

// The list of the equaliser with this id; empty: of the only one. Throws UserError.
std::string exported_filters(const Schematic& schematic, const std::string& file, const std::string& name, int rate,
                             bool strict);

}  // namespace vantoro
