// SPDX-License-Identifier: Apache-2.0
#include "commands/filter_lists.h"

#include <algorithm>
#include <cstdio>

#include "catalog/filter_list.h"
#include "catalog/words.h"
#include "commands/commands.h"
#include "control/document.h"
#include "support/json_lines.h"

namespace vantoro {

namespace {

constexpr const char* kPrinted = "FILTER_TEXTEQ";  // has more filters than the other, and a gain

// The equaliser with this id, or the only one.
const Block& equaliser_in(const Schematic& schematic, const std::string& file, const std::string& id)
{
    if (!id.empty()) {
        const Block& block = target_of(schematic, id).block;
        if (!is_equaliser(*block.type) || block.id != id)
            throw UserError({{"--block", id, "a text equaliser or a graphical one"}});
        return block;
    }
    const Block* found = nullptr;
    for (const Block& block : schematic.blocks)
        if (is_equaliser(*block.type)) {
            if (found)
                throw UserError(file + ": has several equalisers; name one with --block");
            found = &block;
        }
    if (!found)
        throw UserError(file + ": has no equaliser");
    return *found;
}

void print_or_refuse(std::vector<Problem> problems, bool strict)
{
    for (Problem& problem : problems)
        problem.warning = problem.warning && !strict;
    if (has_errors(problems))
        throw UserError(std::move(problems));
    print_problems(problems);
}

}  // namespace

int import_filters(const std::string& path, const std::string& text, const FilterImport& options)
{
    std::vector<Problem> problems;
    if (options.into.empty()) {
        const BlockType& type = *find_type(kPrinted);
        const auto bands = bands_of(text, path, type, options.rate.value_or(kDefaultRate), problems);
        print_or_refuse(std::move(problems), options.strict);
        std::fputs(json_lines({{"type", type.name}, {"params", {{"bands", tidy(bands)}}}}).c_str(), stdout);
        return 0;
    }
    Folder folder(options.into);
    read_schematic(options.into, {.rate = options.rate});  // its problems name the file; a document knows of none
    Document document(folder, {.rate = options.rate});
    rate_of(document.schematic(), options.rate);
    const Block& block = equaliser_in(document.schematic(), options.into, options.block);
    const auto bands = bands_of(text, path, *block.type, document.rate(), problems);
    print_or_refuse(std::move(problems), options.strict);
    std::printf("%s: %zu bands in %s\n", options.into.c_str(), bands.size(), block.id.c_str());
    document.set({{block.id + ".bands", bands}});
    document.save(document.revision());
    return 0;
}

std::string exported_filters(const Schematic& schematic, const std::string& file, const std::string& name, int rate,
                             bool strict)
{
    const Block& block = equaliser_in(schematic, file, name);
    std::vector<Problem> problems;
    const nlohmann::json params = named_values(*block.type, block.pins, block.vector);
    std::string list = filter_list_of(params.at("bands"), *block.type, rate, problems);
    for (Problem& problem : problems) {
        problem.where.insert(0, "/blocks/" + block.id + "/params/bands");
        problem.file = file;
    }
    print_or_refuse(std::move(problems), strict);
    return list;
}

}  // namespace vantoro
