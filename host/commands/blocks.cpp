// SPDX-License-Identifier: Apache-2.0
// vantoro blocks [NAME|CODE] [--json]: the catalog, or one type's sheet.
#include <iostream>
#include <memory>

#include <nlohmann/json.hpp>

#include "catalog/catalog.h"
#include "commands/commands.h"

namespace vantoro {
namespace {

struct Options {
    std::string type;
    bool json = false;
};

nlohmann::ordered_json every_type()
{
    auto out = nlohmann::ordered_json::array();
    for (const Category& category : categories())
        for (const BlockType& type : category.types)
            out.push_back(to_json(type));
    return out;
}

[[noreturn]] void unknown(const std::string& name)
{
    std::string text = "no block type '" + name + "'";
    const char* before = "; did you mean ";
    for (const std::string& near : nearest_types(name)) {
        text += before + near;
        before = ", ";
    }
    throw UserError(text + "; 'vantoro blocks' lists them all");
}

int run(const Options& options)
{
    if (options.type.empty()) {
        std::cout << (options.json ? every_type().dump(2) + "\n" : overview());
        return 0;
    }
    const BlockType* type = find_type(options.type);
    if (!type)
        unknown(options.type);
    std::cout << (options.json ? to_json(*type).dump(2) + "\n" : sheet(*type));
    return 0;
}

}  // namespace

void add_blocks_command(CLI::App& app, int& status)
{
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("blocks", "List the block types, or describe one");
    command->add_option("type", options->type, "Name (BASIC_GAIN) or code (289)");
    command->add_flag("--json", options->json, "Machine-readable");
    command->callback([options, &status] { status = run(*options); });
}

}  // namespace vantoro
