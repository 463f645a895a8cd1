// SPDX-License-Identifier: Apache-2.0
// Texts of users as they may be shown: on a terminal, in a table, in a picture.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vantoro {

// Characters that break a line, move the cursor, or hide or reorder others become escapes (\n, \u001b), and so do bytes
// that are no UTF-8 (\xff).
std::string printable(std::string_view text);

// At most so many bytes, whole characters; what is cut off becomes " ...".
std::string shortened(std::string_view text, std::size_t bytes);

}  // namespace vantoro
