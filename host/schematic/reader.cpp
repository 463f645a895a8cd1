// SPDX-License-Identifier: Apache-2.0
#include "schematic/reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <tuple>
#include <utility>

#include "schematic/draft.h"
#include "schematic/loose_ends.h"
#include "support/json_fields.h"
#include "support/json_text.h"
#include "support/printable.h"

namespace vantoro {

namespace {

using nlohmann::json;

constexpr std::size_t kMaxFileBytes = 64U << 20U;
constexpr std::size_t kMaxDefinitions = 10'000;

const json& member(const json& object, const char* name, const json& otherwise)
{
    const auto found = object.find(name);
    return found == object.end() ? otherwise : *found;
}

// Numbers in place of expressions, wherever numbers stand outside blocks.
void resolve_values(json& document, const Fields& fields, Draft& draft)
{
    const json* define = fields.find("define");
    const bool good = define && define->is_object() && define->size() <= kMaxDefinitions;
    if (define && !good)
        draft.fault("/define", define->is_object() ? json(define->size()) : *define,
                    "at most " + std::to_string(kMaxDefinitions) +
                        " names and their values: {\"corner\": 350, \"twice\": \"=corner * 2\"}");
    draft.definitions = Definitions(good ? *define : json::object(), draft.rate(), draft.problems, draft.suggestions);
    const auto resolve = [&](json& object, std::initializer_list<const char*> members, const std::string& where) {
        for (const char* name : members)
            if (object.is_object() && object.contains(name))
                draft.definitions.resolve(object[name], where + pointer_step(name), draft.unresolved);
    };
    resolve(document, {"blockSize", "inputs", "outputs"}, "");
    if (document.contains("changes") && document["changes"].is_array())
        for (std::size_t i = 0; i < document["changes"].size(); ++i)
            resolve(document["changes"][i], {"at", "over", "set"}, "/changes/" + std::to_string(i));
}

void read_head(json& document, Draft& draft)
{
    const Fields fields(document, "", draft.problems);
    fields.allow({"$schema", "title", "note", "rate", "blockSize", "inputs", "outputs", "arithmetic", "define", "parts",
                  "blocks", "wires", "changes"});
    fields.text("$schema");
    fields.text("note");
    fields.need("blocks", "blocks by id: {\"trim\": {\"type\": \"BASIC_GAIN\"}}");
    Schematic& out = draft.out;
    out.title = printable(fields.text("title"));
    out.rate = fields.whole("rate", kMinRate, kMaxRate, "Hz");
    resolve_values(document, fields, draft);
    out.block_size = fields.whole("blockSize", 1, kMaxBlockSize).value_or(out.block_size);
    draft.quiet = read_arithmetic(fields).value_or(false);
    draft.inputs = fields.whole("inputs", 0, kMaxPins);
    draft.outputs = fields.whole("outputs", 0, kMaxPins);
    if (const auto channels = draft.options.channels; draft.inputs && channels && draft.inputs != channels)
        fields.fault("inputs", "the input has " + std::to_string(*channels) + " channels");
    if (const json* parts = fields.find("parts"); parts && parts->is_object())
        draft.parts.written = *parts;
    else if (parts)
        fields.fault("parts", "parts by name: {\"driver\": {\"blocks\": {...}, \"wires\": [...]}}");
}

void read_document(JsonText& text, Draft& draft)
{
    json& document = text.value;
    if (!document.is_object()) {
        draft.fault("", document, "a schematic is an object: {\"blocks\": {...}, \"wires\": [...]}");
        return;
    }
    read_head(document, draft);
    draft.parts.order = std::move(text.order);
    read_blocks(member(document, "blocks", json::object()), draft.parts.order["/blocks"], 0, draft.definitions, draft);
    read_wires(member(document, "wires", json::array()), 0, draft);
    for (std::size_t s = 1; s < draft.parts.scopes.size(); ++s)
        read_wires(member(draft.parts.scopes[s].part->body, "wires", json::array()), static_cast<int>(s), draft);
    if (draft.out.blocks.size() > kMaxBlocks)
        return draft.fault("/blocks", json(draft.out.blocks.size()),
                           "at most " + std::to_string(kMaxBlocks) + " blocks, with those of parts");
    if (!wire_up(draft))
        return;
    build_vectors(draft);
    read_changes(member(document, "changes", json::array()), draft);
    if (!has_errors(draft.problems) && draft.unresolved.empty())  // which leave ends loose themselves
        for (const auto& warnings :
             {loose_ends(draft.out, draft.inputs), draft.definitions.unused(), unused_parts(draft.parts)})
            draft.problems.insert(draft.problems.end(), warnings.begin(), warnings.end());
}

Draft read_text(std::string_view text, const ReadOptions& options)
{
    Draft draft{options};
    JsonText parsed = parse_document(text, "blocks", draft.problems);
    if (parsed.value.is_discarded())
        return draft;
    read_document(parsed, draft);
    draft.definitions.explain(draft.problems);
    draft.problems.insert(draft.problems.end(), draft.unresolved.begin(), draft.unresolved.end());
    if (draft.problems.empty())
        return draft;
    place_in_parts(text, draft);
    locate(text, draft.problems);
    // In the order of the text, then of those of the parts, then what stands elsewhere.
    std::ranges::stable_sort(draft.problems, {}, [](const Problem& p) {
        return std::tuple(p.line == 0, std::string_view(p.file), p.line, p.column);
    });
    for (Problem& problem : draft.problems)
        if (!options.places && problem.file.empty())
            problem.line = problem.column = 0;
    return draft;
}

Schematic finish(Draft draft, std::vector<Problem>* warnings)
{
    if (has_errors(draft.problems))
        throw UserError(std::move(draft.problems));
    if (warnings)
        *warnings = std::move(draft.problems);
    return std::move(draft.out);
}

}  // namespace

std::string read_file(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string text;
    char chunk[16384];
    while (file && text.size() <= kMaxFileBytes) {
        file.read(chunk, sizeof chunk);
        text.append(chunk, static_cast<std::size_t>(file.gcount()));
    }
    if (!file.eof() || text.size() > kMaxFileBytes)
        throw UserError(
            {{.where = {},
              .value = {},
              .wanted = text.size() > kMaxFileBytes ? "longer than 64 MiB"
                                                    : "cannot be read: " + std::string(std::strerror(errno)),
              .file = path}});
    return text;
}

std::string beside(const std::string& schematic, const std::string& name)
{
    return (std::filesystem::path(schematic).parent_path() / name).string();
}

FileSource read_beside(const std::string& schematic, const std::string& name)
{
    const std::string path = beside(schematic, name);
    return {path, read_file(path)};
}

Schematic parse_schematic(std::string_view text, const ReadOptions& options, std::vector<Problem>* warnings)
{
    return finish(read_text(text, options), warnings);
}

Schematic read_schematic(const std::string& path, const ReadOptions& options, std::vector<Problem>* warnings)
{
    ReadOptions reading = options;
    reading.file = [&](const std::string& name) { return read_beside(path, name); };
    Draft draft = read_text(read_file(path), reading);
    for (Problem& problem : draft.problems)
        if (problem.line > 0 && problem.file.empty())  // not on the command line
            problem.file = path;
    draft.out.files.insert(draft.out.files.begin(), path);
    return finish(std::move(draft), warnings);
}

}  // namespace vantoro
