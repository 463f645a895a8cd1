// SPDX-License-Identifier: Apache-2.0
// Text of C files: what both kinds of export write alike.
#pragma once

#include <string>
#include <string_view>

#include "export/product.h"

namespace vantoro {

struct CFiles {
    std::string source, header;
};

// A line comment, whatever is in the text.
std::string comment(std::string_view text);

// The same float again, as a constant of type float.
std::string float_constant(float v);

// What a product is and where it comes from, as comments.
std::string banner(const Product& product);

// Begins and ends a header; `includes` are lines.
std::string header_begin(const Product& product, std::string_view includes);
std::string header_end(const Product& product);

// "48000 Hz", "any rate"
std::string rate_text(int rate);

// The number of an entry and what it says: "fc = 1000 Hz".
std::string entry_text(const VectorEntry& entry);

}  // namespace vantoro
