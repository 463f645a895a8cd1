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

void add_blocks_command(CommandLine& line)
{
    auto options = std::make_shared<Options>();
    Command command = line.add("blocks", "List the block types, or describe one");
    command.option("type", options->type, "TYPE", "Name (BASIC_GAIN), a part of it, or code (289)");
    command.flag("--json", options->json, "Everything about it, for programs");
    command.flag("--schema", options->schema, "The JSON schema of schematics, for editors")
        .excludes("type")
        .excludes("--json");
    command.runs([options] {
        run(*options);
        return 0;
    });
}

}  // namespace vantoro
