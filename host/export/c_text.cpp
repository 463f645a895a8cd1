// SPDX-License-Identifier: Apache-2.0
#include "export/c_text.h"

#include "support/decimal.h"
#include "support/printable.h"

namespace vantoro {

std::string comment(std::string_view text)
{
    std::string out = "// ";
    for (const char c : printable(text)) {
        if (c == '?' && out.back() == '?')
            out += ' ';  // no trigraph
        out += c;
    }
    return out.back() == '\\' ? out + ".\n" : out + '\n';  // no line goes on in the next
}

std::string float_constant(float v)
{
    const std::string text = decimal(v);
    return text + (text.find_first_of(".e") == text.npos ? ".0F" : "F");
}

std::string rate_text(int rate) { return rate > 0 ? std::to_string(rate) + " Hz" : "any rate"; }

std::string banner(const Product& product)
{
    const Schematic& schematic = product.schematic;
    return comment("Made by vantoro export of " + product.file +
                   (schematic.title.empty() ? "" : ": " + schematic.title)) +
           comment("Change the schematic, not this file.");
}

std::string header_begin(const Product& product, std::string_view includes)
{
    const std::string& upper = product.constant;
    const auto macro = [&](const char* name, std::size_t value, const char* unit) {
        return "#define " + upper + name + ' ' + std::to_string(value) + (unit[0] != '\0' ? "  // " : "") + unit + '\n';
    };
    return banner(product) + "#ifndef " + upper + "_H\n#define " + upper + "_H\n\n" + std::string(includes) +
           "\n#ifdef __cplusplus\nextern \"C\" {\n#endif\n\n" +
           macro("_RATE", static_cast<std::size_t>(product.rate), product.rate > 0 ? "Hz" : "any") +
           macro("_BLOCK_SIZE", static_cast<std::size_t>(product.schematic.block_size), "samples") +
           macro("_INPUTS", static_cast<std::size_t>(product.schematic.inputs), "channels") +
           macro("_OUTPUTS", product.schematic.outputs.size(), "channels");
}

std::string header_end(const Product& product)
{
    return "\n#ifdef __cplusplus\n}\n#endif\n\n#endif  // " + product.constant + "_H\n";
}

std::string entry_text(const VectorEntry& entry)
{
    if (!entry.param)
        return entry.name + ": " + value_text(entry);
    const bool other = entry.meaning.as && entry.meaning.as != entry.param &&
                       std::string_view(entry.meaning.as->name) != entry.param->name;
    return entry.name + (other ? std::string(" (") + entry.meaning.as->name + ')' : "") + " = " + value_text(entry) +
           (entry.meaning.as ? "" : ", not read");
}

}  // namespace vantoro
