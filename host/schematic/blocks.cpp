// SPDX-License-Identifier: Apache-2.0
// Reading the blocks of a document and their parameters.
#include <algorithm>
#include <string_view>
#include <unordered_set>

#include "schematic/draft.h"
#include "schematic/table_file.h"
#include "support/json_fields.h"
#include "support/json_text.h"
#include "support/nearest.h"
#include "support/printable.h"

namespace vantoro {

namespace {

using nlohmann::json;

bool good_step(std::string_view name)
{
    const auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    const auto inner = [&](char c) { return letter(c) || (c >= '0' && c <= '9') || c == '-'; };
    return !name.empty() && letter(name.front()) && std::ranges::all_of(name, inner) && name != kInputId &&
           name != kOutputId;
}

// The blocks of a part that is used have ids of several names, "tweeter/eq", as the plain schematic has them.
bool good_id(std::string_view id)
{
    for (;;) {
        const std::string_view name = id.substr(0, id.find('/'));
        const bool good = good_step(name);
        if (!good || name.size() == id.size())
            return good;
        id.remove_prefix(name.size() + 1);
    }
}

std::string unknown_type(const json& type, const Draft& draft)
{
    std::string text;
    if (type.is_string() && draft.problems.size() < kMostShown)
        for (const std::string& name : nearest_types(type.get<std::string>()))
            text += (text.empty() ? "; did you mean " : " or ") + name;
    return "unknown type" + (text.empty() ? "; 'vantoro blocks' lists them" : text + '?');
}

const BlockType* type_of(const json& type)
{
    if (type.is_string())
        return find_type(type.get<std::string>());
    return type.is_number_integer() && type >= 0 && type <= 0xffff ? find_type(type.get<int>()) : nullptr;
}

const BlockType* read_type(const Fields& fields, const Draft& draft)
{
    const json* value = fields.need("type", "a block type by name or code; 'vantoro blocks' lists them");
    if (!value)
        return nullptr;
    const BlockType* type = type_of(*value);
    const bool terminal = type && is_terminal(*type);
    if (!type)
        fields.fault("type", unknown_type(*value, draft));
    else if (terminal)
        fields.fault("type", "a terminal is not a block; wire to \"input\" or \"output\"");
    return terminal ? nullptr : type;
}

json read_params(const Fields& fields)
{
    const json* params = fields.find("params");
    if (!params)
        return json::object();
    if (params->is_object())
        return *params;
    fields.fault("params", "parameters by name: {\"gain\": 0.5}");
    return json::object();
}

// Whether a block runs in the second arithmetic.
bool read_quiet(const Fields& fields, const BlockType& type, const Draft& draft)
{
    const std::optional<bool> own = read_arithmetic(fields);
    if (own == true && !has_quiet(type))
        fields.fault("arithmetic", std::string("documented: ") + type.name + " has no other");
    return has_quiet(type) && draft.options.quiet.value_or(own.value_or(draft.quiet));
}

void read_block(const std::string& id, const json& value, Draft& draft)
{
    const std::string where = "/blocks" + pointer_step(id);
    Block& block = draft.out.blocks.emplace_back();
    Node& node = draft.nodes.emplace_back();
    json& params = draft.params.emplace_back(json::object());
    block.id = node.id = id;
    node.broken = true;
    if (!value.is_object()) {
        draft.fault(where, value, "a block: {\"type\": ..., \"params\": {...}}");
        return;
    }
    const Fields fields(value, where, draft.problems);
    fields.allow({"type", "inputs", "outputs", "params", "arithmetic", "title", "note"});
    fields.text("note");
    block.title = printable(fields.text("title"));
    node.inputs = fields.whole("inputs", 0, kMaxPins);
    node.outputs = fields.whole("outputs", 0, kMaxPins);
    node.type = block.type = read_type(fields, draft);
    node.broken = !node.type;
    block.quiet = node.type && read_quiet(fields, *node.type, draft);
    params = read_params(fields);
}

// A block, or the use of a part.
void read_item(const std::string& id, json value, int scope, Definitions& names, Draft& draft)
{
    const std::string flat = draft.parts.scopes[static_cast<std::size_t>(scope)].prefix + id;
    const std::string where = "/blocks" + pointer_step(flat);
    if (draft.is_taken(flat)) {
        draft.fault(where, json(id), "another id: a part that is used has a block of this one");
        return;
    }
    if (scope > 0)
        draft.parts.owners[flat] = scope;
    if (!good_id(id))
        draft.fault(where, json(id), "an id: letters, digits, _ and -, not starting with a digit, not input or output");
    for (const char* name : {"inputs", "outputs", "params", "set"})
        if (value.is_object() && value.contains(name))
            names.resolve(value[name], where + pointer_step(name), draft.unresolved);
    if (value.is_object() && value.contains("part"))
        return use_part(id, value, scope, draft);
    draft.ids.emplace(flat, draft.input());
    read_block(flat, value, draft);
}

}  // namespace

std::optional<bool> read_arithmetic(const Fields& fields)
{
    constexpr const char* kName = "arithmetic";
    const json* value = fields.find(kName);
    if (!value)
        return std::nullopt;
    if (*value != "quiet" && *value != "documented") {
        fields.fault(kName, "\"documented\" or \"quiet\"");
        return std::nullopt;
    }
    return *value == "quiet";
}

void Draft::fault(std::string where, const json& value, std::string wanted)
{
    problems.push_back({std::move(where), as_text(value), std::move(wanted)});
}

std::optional<FileSource> Draft::read_file(const std::string& name, const std::string& where,
                                           std::vector<Problem>& found)
{
    constexpr std::size_t kMostBytes = 64U << 20U;
    std::string wanted = "files are read for schematics that are files themselves";
    try {
        if (options.file) {
            FileSource source = options.file(name);
            file_bytes += source.text.size();
            out.files.push_back(source.path);
            if (file_bytes <= kMostBytes)
                return source;
            wanted = "files of at most 64 MiB together";
        }
    } catch (const UserError& error) {
        wanted = error.problems().front().wanted;
    }
    found.push_back({where, as_text(json(name)), std::move(wanted)});
    return {};
}

std::string Draft::no_block(const std::string& id, const std::string& prefix)
{
    if (uses.contains(prefix + id))
        return "a block; \"" + id + "\" is a part, whose blocks go by names such as \"" + id + "/eq\"";
    const auto known = [&] {
        std::vector<std::string_view> names{kInputId, kOutputId};
        const auto add = [&](std::string_view name) {
            if (name.starts_with(prefix))
                names.push_back(name.substr(prefix.size()));
        };
        for (const Block& block : out.blocks)
            add(block.id);
        for (std::size_t s = 0; s < sides.size(); s += 2)
            add(sides[s].id);
        return names;
    };
    const auto [near, fresh] = unknown.try_emplace(prefix + id);
    if (fresh && problems.size() < kMostShown)
        near->second = suggestions->nearest_to(id, known);
    return "there is no such block" + did_you_mean(near->second, "\"");
}

void read_blocks(const json& blocks, const std::vector<std::string>& order, int scope, Definitions& names, Draft& draft)
{
    if (!blocks.is_object() || blocks.size() > kMaxBlocks) {
        draft.fault("/blocks", blocks.is_object() ? json(blocks.size()) : blocks,
                    "an object of at most " + std::to_string(kMaxBlocks) + " blocks by id");
        return;
    }
    // With "blocks" repeated, the order names blocks that the document no longer has.
    std::unordered_set<std::string_view> seen;
    for (const std::string& id : order)
        if (const auto block = blocks.find(id); block != blocks.end() && seen.insert(id).second)
            read_item(id, *block, scope, names, draft);
}

void build_vectors(Draft& draft)
{
    for (std::size_t b = 0; b < draft.out.blocks.size(); ++b) {
        Node& node = draft.nodes[b];
        if (node.broken)
            continue;
        Block& block = draft.out.blocks[b];
        const std::string where = "/blocks" + pointer_step(block.id);
        block.pins = {*node.inputs, *node.outputs};
        std::vector<Problem> found;
        read_table_files(*block.type, draft.params[b], draft, found);
        block.vector = build_vector(*block.type, block.pins, draft.params[b], found, draft.pace());
        node.broken = has_errors(found);
        for (Problem& problem : found) {
            problem.where.insert(0, where + "/params");
            draft.problems.push_back(std::move(problem));
        }
        if (draft.out.block_size % block.type->block_multiple != 0)
            draft.fault(where + "/type", json(block.type->name),
                        "it needs a blockSize that is a multiple of " + std::to_string(block.type->block_multiple));
        if (draft.out.block_size > block.type->max_block)
            draft.fault(where + "/type", json(block.type->name),
                        "it needs a blockSize of at most " + std::to_string(block.type->max_block));
    }
}

}  // namespace vantoro
