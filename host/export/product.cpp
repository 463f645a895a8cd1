// SPDX-License-Identifier: Apache-2.0
#include "export/product.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>

#include "catalog/words.h"
#include "support/problem.h"

namespace vantoro {

namespace {

char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }
char upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

std::string in_upper_case(std::string text)
{
    std::ranges::transform(text, text.begin(), upper);
    return text;
}

// "boostDb" is boost_db, "low-pass" low_pass; what C does not allow becomes an underscore.
std::string snake(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (i > 0 && c >= 'A' && c <= 'Z' && !(text[i - 1] >= 'A' && text[i - 1] <= 'Z') && out.back() != '_')
            out += '_';
        out += is_letter(c) || is_digit(c) ? lower(c) : '_';
    }
    return out;
}

std::string unit_word(std::string_view unit)
{
    if (unit == "%")
        return "percent";
    std::string out;
    for (const char c : unit)
        out += is_letter(c) || is_digit(c) ? lower(c) : '_';
    return out;
}

// "fc" in Hz is fc_hz; "boost_db" says it already.
std::string with_unit(const std::string& name, const std::string& unit)
{
    return unit.empty() || name == unit || name.ends_with('_' + unit) ? name : name + '_' + unit;
}

// Names that were given, in one case: each comes once.
class Names {
public:
    // With a number after it where the name is taken.
    std::string take(const std::string& wanted)
    {
        std::string name = wanted;
        for (int n = 2; !taken_.insert(name).second; ++n)
            name = wanted + '_' + std::to_string(n);
        return name;
    }

private:
    std::set<std::string> taken_;
};

// What functions of the file begin with that it keeps to itself.
constexpr std::string_view kWordsInside[] = {"block", "gathered", "in", "initial", "out", "pins", "set", "vector"};

// What the number is: under a choice that does not read it, what it would be.
const VantoroParam& meant(const VectorEntry& entry) { return entry.meaning.as ? *entry.meaning.as : *entry.param; }

// "bands[3].boostDb" is band3_boost_db, "gains[0][1]" gain0_1_db. A column set by row has no numbers.
std::string name_of(const VectorEntry& entry, bool by_row)
{
    const VantoroParam& param = meant(entry);
    std::string name = snake(param.name);
    if (entry.table) {
        const auto open = entry.name.find('['), close = entry.name.rfind(']');
        std::string table = snake(entry.name.substr(0, open));
        if (table.size() > 1 && table.ends_with('s'))
            table.pop_back();
        std::string place = entry.name.substr(open + 1, close - open - 1);  // "3", "0][1"
        if (const auto both = place.find("]["); both != place.npos)
            place.replace(both, 2, "_");
        name = table + (by_row ? "" : place) + (entry.table->column_count > 1 ? '_' + name : "");
    }
    return with_unit(name, unit_word(param.unit));
}

std::string range_of(const VantoroParam& param, PinCounts pins)
{
    const int below = Vantoro_count_per(param.below, pins.inputs, pins.outputs);
    if (below > 0)
        return "whole, 0 to " + std::to_string(below - 1);
    if (param.kind == VANTORO_FLAG)
        return "0 or 1";
    if (param.choice_count == 0)
        return (param.kind == VANTORO_INTEGER ? "whole, " : "") + limits_text(param.range);
    std::string out;
    for (const VantoroChoice& choice : choices_of(param))
        out += (out.empty() ? "" : ", ") + std::to_string(choice.value) + ' ' + choice.name;
    return out;
}

std::string help_of(const Block& block, const VectorEntry& entry, bool by_row)
{
    const VantoroParam& param = meant(entry);
    const std::string name = by_row ? entry.name.substr(0, entry.name.find('[')) +
                                          (entry.table->column_count > 1 ? "[]." + std::string(param.name) : "[]")
                                    : entry.name;
    std::string out = block.id + '.' + name + ": " + (param.unit[0] != '\0' ? std::string(param.unit) + ", " : "") +
                      range_of(param, block.pins);
    if (entry.meaning.by)
        out += std::string(entry.meaning.as ? "; as it is under " : "; not read under ") + entry.meaning.by->name;
    return out;
}

bool is_settable(const VectorEntry& entry)
{
    return !entry.sizes && (entry.param->flags & unsigned{VANTORO_UNUSED}) == 0;
}

std::size_t place_of_row(const ProductNode& node, const VectorEntry& like, std::size_t row)
{
    const auto found = std::ranges::find_if(node.entries, [&](const VectorEntry& entry) {
        return entry.param && entry.table == like.table && entry.row == row && entry.column == like.column;
    });
    return static_cast<std::size_t>(found - node.entries.begin());
}

class Maker {
public:
    explicit Maker(Product& product) : product_(product)
    {
        for (const char* macro : {"H", "RATE", "BLOCK_SIZE", "INPUTS", "OUTPUTS", "PRESET_WORDS", "STRIDE", "ALIGNED"})
            names_.take(product.constant + '_' + macro);
    }

    void add(const Block& block)
    {
        ProductNode& node = product_.nodes.emplace_back();
        node.block = &block;
        node.constant = names_.take(product_.constant + '_' + in_upper_case(snake(block.id)));
        node.name = lower_case_of(node.constant);
        node.entries = entries_of(*block.type, block.pins, block.vector);
    }

    void name_parameters(ProductNode& node)
    {
        std::map<const VantoroTable*, std::size_t> cells;
        for (const VectorEntry& entry : node.entries)
            cells[entry.table] += entry.param ? 1 : 0;
        for (std::size_t at = 0; at < node.entries.size(); ++at) {
            const VectorEntry& entry = node.entries[at];
            const std::size_t rows =
                entry.table ? cells[entry.table] / static_cast<std::size_t>(entry.table->column_count) : 1;
            const bool by_row = rows > kMostNamedRows;
            if (!entry.param || (by_row && entry.row > 0))
                continue;
            const std::string unit = unit_word(meant(entry).unit);
            const std::string constant = names_.take(node.constant + '_' + in_upper_case(name_of(entry, by_row)));
            node.parameters.push_back({lower_case_of(constant), constant, unit.empty() ? "value" : unit,
                                       help_of(*node.block, entry, by_row), &meant(entry), at, by_row ? rows : 1,
                                       by_row ? place_of_row(node, entry, 1) - at : 1, is_settable(entry)});
        }
    }

private:
    // Without the product's name.
    std::string lower_case_of(const std::string& constant) const
    {
        std::string name = constant.substr(product_.constant.size() + 1);
        std::ranges::transform(name, name.begin(), lower);
        return name;
    }

    Product& product_;
    Names names_;
};

}  // namespace

Product make_product(const std::string& name, const std::string& path, const Schematic& schematic, int rate)
{
    const auto inner = [](char c) { return is_letter(c) || is_digit(c) || c == '_'; };
    if (name.empty() || !is_letter(name.front()) || !std::ranges::all_of(name, inner))
        throw UserError(name + ": a name for C: letters, digits and _, beginning with a letter");
    if (std::ranges::find(kWordsInside, name) != std::end(kWordsInside))
        throw UserError(name + ": the C file uses this word itself; another name is wanted");
    Product product{name, in_upper_case(name), std::filesystem::path(path).filename().string(), schematic, rate, {}};
    Maker maker(product);
    for (const int b : schematic.order)
        maker.add(schematic.blocks[static_cast<std::size_t>(b)]);
    for (ProductNode& node : product.nodes)
        maker.name_parameters(node);
    return product;
}

}  // namespace vantoro
