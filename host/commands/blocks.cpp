// SPDX-License-Identifier: Apache-2.0
// vantoro blocks [NAME|CODE] [--json | --schema]: the block types, one type's sheet, or the schema of schematics.
#include <iostream>
#include <memory>

#include <nlohmann/json.hpp>

#include "catalog/catalog.h"
#include "commands/commands.h"
#include "schematic/schema.h"
#include "support/json_lines.h"

namespace vantoro {
namespace {

struct Options {
    std::string type;
    bool json = false;
    bool schema = false;
};

const BlockType& type_named(const std::string& name)
{
    if (const BlockType* type = find_type(name))
        return *type;
    std::string text = "no block type '" + name + "'";
    const char* before = "; did you mean ";
    for (const std::string& near : nearest_types(name)) {
        text += before + near;
        before = ", ";
    }
    throw UserError(text + "; 'vantoro blocks' lists them all");
}

void run(const Options& options)
{
    if (options.schema)
        std::cout << json_lines(schematic_schema());
    else if (options.type.empty())
        std::cout << (options.json ? json_lines(catalog_json()) : overview());
    else if (options.json)
        std::cout << json_lines(to_json(type_named(options.type)));
    else
        std::cout << sheet(type_named(options.type));
}

}  // namespace

void add_blocks_command(CLI::App& app, int& status)
{
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("blocks", "List the block types, or describe one");
    CLI::Option* type = command->add_option("type", options->type, "Name (BASIC_GAIN) or code (289)");
    CLI::Option* json = command->add_flag("--json", options->json, "Everything about it, for programs");
    command->add_flag("--schema", options->schema, "The JSON schema of schematics, for editors")
        ->excludes(type)
        ->excludes(json);
    command->callback([options, &status] {
        run(*options);
        status = 0;
    });
}

}  // namespace vantoro
