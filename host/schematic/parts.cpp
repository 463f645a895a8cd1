// SPDX-License-Identifier: Apache-2.0
#include "schematic/parts.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <utility>

#include "schematic/draft.h"
#include "support/decimal.h"
#include "support/json_fields.h"
#include "support/json_text.h"
#include "support/nearest.h"

namespace vantoro {

namespace {

using nlohmann::json;

// Bound what a few characters of JSON can make the program do.
constexpr int kMostLevels = 16;
constexpr std::size_t kMostCharacters = 32U << 20U;  // of all uses, written out

std::size_t size_of(const json& object, const char* member)
{
    const auto found = object.find(member);
    return found != object.end() && found->is_structured() ? found->size() : 0;
}

// The key of a step of a JSON pointer.
std::string unescaped(std::string_view step)
{
    std::string key;
    for (std::size_t i = 0; i < step.size(); ++i)
        key += step[i] != '~' ? step[i] : step[++i] == '1' ? '/' : '~';
    return key;
}

// ---- the text of a part ----

// A count, or a name for each pin.
PartSide read_side(const Fields& part, const char* name)
{
    const json* value = part.find(name);
    if (!value || !value->is_array())
        return {part.whole(name, 0, kMaxPins), {}};
    PartSide side{static_cast<int>(value->size()), {}};
    for (const json& pin : *value)
        if (const std::string pin_name = pin.is_string() ? pin.get<std::string>() : "";
            good_name(pin_name) && std::ranges::find(side.names, pin_name) == side.names.end())
            side.names.push_back(pin_name);
    if (side.names.size() != value->size() || value->size() > static_cast<std::size_t>(kMaxPins))
        part.fault(name, "a count, or a name for each pin: [\"signal\", \"sidechain\"]");
    return side;
}

void check_kind(const Fields& part, const char* name, bool (json::*is_right)() const noexcept, const char* wanted)
{
    if (const json* value = part.find(name); value && !(value->*is_right)())
        part.fault(name, wanted);
}

// What holds for every use.
void check_text(PartText& part, std::vector<Problem>& problems)
{
    if (!part.body.is_object()) {
        problems.push_back({part.where, as_text(part.body), "a part: {\"blocks\": {...}, \"wires\": [...]}"});
        return;
    }
    const std::size_t before = problems.size();
    const Fields fields(part.body, part.where, problems);
    fields.allow({"$schema", "title", "note", "parameters", "define", "inputs", "outputs", "blocks", "wires"});
    for (const char* name : {"$schema", "title", "note"})
        fields.text(name);
    fields.need("blocks", "blocks by id");
    check_kind(fields, "blocks", &json::is_object, "an object of blocks by id");
    check_kind(fields, "wires", &json::is_array, "an array of wires: [[\"input\", \"eq\"], [\"eq\", \"output\"]]");
    check_kind(fields, "parameters", &json::is_object,
               "names and their defaults: {\"trim\": 0, \"corner\": \"350 Hz\"}");
    check_kind(fields, "define", &json::is_object, "names and their values: {\"twice\": \"=corner * 2\"}");
    part.inputs = read_side(fields, "inputs");
    part.outputs = read_side(fields, "outputs");
    part.good = problems.size() == before;
    part.size = part.body.dump(-1, ' ', false, json::error_handler_t::replace).size();
}

void read_part_text(const std::string& name, PartText& part, Draft& draft)
{
    const std::string file = part.body.get<std::string>();
    std::optional<FileSource> source = draft.read_file(file, part.where, draft.problems);
    if (!source)
        return;
    part.file = std::move(source->path);
    part.text = std::move(source->text);
    std::vector<Problem> found;
    JsonText parsed = parse_document(part.text, "blocks", found);
    part.where.clear();
    part.body = std::move(parsed.value);
    part.order = std::move(parsed.order["/blocks"]);
    if (!part.body.is_discarded())
        check_text(part, found);
    for (Problem& problem : found) {
        problem.file = part.file;
        problem.wanted += " (in the file of the part \"" + name + "\")";
        draft.problems.push_back(std::move(problem));
    }
}

// The member of an object that a wrong name may stand for.
std::string suggestion(const std::string& name, const json& object, const Draft& draft)
{
    const auto names = [&] {
        std::vector<std::string_view> known;
        for (const auto& [key, value] : object.items())
            known.push_back(key);
        return known;
    };
    return draft.problems.size() < kMostShown ? draft.suggestions->nearest_to(name, names) : std::string{};
}

// The part that a use names, read and checked; null, and a problem, where there is none.
PartText* part_of(const Fields& use, Draft& draft)
{
    const std::string name = use.text("part");
    const json& parts = draft.parts.written;
    if (!parts.contains(name)) {
        const std::string near = suggestion(name, parts, draft);
        if (use.find("part")->is_string())
            use.fault("part", "a part that \"parts\" has" + did_you_mean(near, "\""));
        return nullptr;
    }
    const auto [entry, fresh] = draft.parts.read.try_emplace(name);
    PartText& part = entry->second;
    if (fresh) {
        part.where = "/parts" + pointer_step(name);
        part.body = parts.at(name);
        part.order = draft.parts.order[part.where + "/blocks"];
        part.body.is_string() ? read_part_text(name, part, draft) : check_text(part, draft.problems);
    }
    return part.good ? &part : nullptr;
}

// ---- a use ----

// Why a part cannot be used here; empty: it can.
std::string refusal(const PartText& part, int scope, const Parts& parts)
{
    int levels = 1;
    for (int s = scope; s > 0; s = parts.scopes[static_cast<std::size_t>(s)].outer, ++levels)
        if (parts.scopes[static_cast<std::size_t>(s)].part == &part)
            return "a part that is not made of itself";
    return levels > kMostLevels ? "parts in at most " + std::to_string(kMostLevels) + " levels" : "";
}

// Whether there is room for one more use; else a problem, once.
bool affordable(const PartText& part, const std::string& id, Draft& draft)
{
    constexpr std::size_t kOneUse = 64;
    const std::size_t names = 1 + size_of(part.body, "blocks") + 2 * size_of(part.body, "wires");
    const std::size_t before = draft.parts.size;
    draft.parts.size += part.size + kOneUse + id.size() * names;
    const std::size_t blocks = draft.out.blocks.size() + draft.parts.scopes.size() + size_of(part.body, "blocks");
    const bool small = draft.parts.size <= kMostCharacters && blocks <= kMaxBlocks;
    if (small || before > kMostCharacters)
        return small;
    draft.problems.push_back({"/parts", std::to_string(blocks) + " blocks and uses of parts",
                              "at most " + std::to_string(kMaxBlocks) + ", and 32 MiB with all parts written out"});
    draft.parts.size = kMostCharacters + 1;
    return false;
}

// What a use sets: parameters by name, and values of blocks inside: "eq.fc".
struct UseValues {
    json parameters = json::object();
    std::vector<Draft::Override> overrides{};
};

std::string unknown_parameter(const std::string& name, const json& parameters, const Draft& draft)
{
    const std::string near = suggestion(name, parameters, draft);
    return "a parameter of the part, or a value of its blocks: \"eq.fc\"" + did_you_mean(near, "\"");
}

UseValues read_set(const Fields& use, const std::string& flat, const PartText& part, Draft& draft)
{
    UseValues out;
    const json* set = use.find("set");
    if (set && !set->is_object())
        use.fault("set", "parameters of the part, and values of its blocks: {\"trim\": -3, \"eq.fc\": 1000}");
    if (!set || !set->is_object())
        return out;
    const json parameters = part.body.value("parameters", json::object());
    for (const auto& [name, value] : set->items()) {
        const std::string place = "/blocks" + pointer_step(flat) + "/set" + pointer_step(name);
        const auto dot = name.find('.');
        if (dot != name.npos)
            out.overrides.push_back({place, flat + '/' + name.substr(0, dot), name.substr(dot + 1), value});
        else if (!parameters.contains(name))
            draft.fault(place, json(name), unknown_parameter(name, parameters, draft));
        else if (value.is_structured() || value.is_null())
            draft.fault(place, value, "a number, a text or a flag");
        else if (!is_expression(value))  // one that is wrong is still here, and reported
            out.parameters[name] = value;
    }
    return out;
}

// Problems of names, which are placed in "define", at their places in a part: some are parameters.
void place_names(std::vector<Problem>& problems, const json& parameters, const std::string& where)
{
    for (Problem& problem : problems) {
        const std::string step = problem.where.substr(std::string_view("/define").size());
        problem.where = where + (parameters.contains(unescaped(step.substr(1))) ? "/parameters" : "/define") + step;
    }
}

// What the names of a part stand for in one use: what the use sets, else the defaults, and what the part defines.
Definitions names_of(const Scope& scope, const json& set, Draft& draft)
{
    const json& body = scope.part->body;
    json names = body.value("define", json::object());
    const std::string where = "/blocks" + pointer_step(scope.prefix);
    const json parameters = body.value("parameters", json::object());
    for (const auto& [name, initial] : parameters.items()) {
        if (names.contains(name))
            draft.fault(where + "/define" + pointer_step(name), names[name], "another name; this is a parameter");
        names[name] = set.contains(name) ? set[name] : initial;
    }
    std::vector<Problem> wrong;
    Definitions definitions(names, draft.rate(), wrong, draft.suggestions, true);
    place_names(wrong, parameters, where);
    draft.problems.insert(draft.problems.end(), wrong.begin(), wrong.end());
    return definitions;
}

void open_side(Node& node, const PartSide& side)
{
    node.broken = false;
    node.inputs = node.outputs = side.count;
    node.names = side.names;
}

// The names that a part does not use are the same in every use.
void note_unused(const Definitions& names, PartText& part, Parts& parts)
{
    if (std::exchange(part.used, true))
        return;
    std::vector<Problem> unused = names.unused();
    place_names(unused, part.body.value("parameters", json::object()), part.where);
    for (Problem& problem : unused) {
        problem.file = part.file;
        parts.warnings.push_back(std::move(problem));
    }
}

// ---- places ----

// A place in the text of a part, for a problem of what was made of it.
struct PartPlace {
    int scope;
    std::string where;
};

std::optional<PartPlace> place_of_block(const std::string& where, const Parts& parts)
{
    constexpr std::string_view kBlocks = "/blocks/";
    if (!where.starts_with(kBlocks))
        return {};
    const auto end = std::min(where.find('/', kBlocks.size()), where.size());
    const std::string id = unescaped(where.substr(kBlocks.size(), end - kBlocks.size()));
    const auto owner = parts.owners.find(id);
    if (owner == parts.owners.end())
        return {};
    const Scope& scope = parts.scopes[static_cast<std::size_t>(owner->second)];
    const std::string inner = id.substr(scope.prefix.size());  // empty: the part itself
    return PartPlace{owner->second,
                     scope.part->where + (inner.empty() ? "" : "/blocks" + pointer_step(inner)) + where.substr(end)};
}

std::optional<PartPlace> place_of_wire(const std::string& where, const Parts& parts)
{
    constexpr std::string_view kWires = "/wires/";
    if (!where.starts_with(kWires))
        return {};
    const auto end = std::min(where.find('/', kWires.size()), where.size());
    const auto wire = number_of<int>(std::string_view(where).substr(kWires.size(), end - kWires.size()));
    if (!wire)
        return {};
    const auto scope = std::prev(std::ranges::upper_bound(parts.scopes, *wire, {}, &Scope::first_wire));
    if (!scope->part)
        return {};
    return PartPlace{static_cast<int>(scope - parts.scopes.begin()),
                     scope->part->where + Wire::place(*wire - scope->first_wire) + where.substr(end)};
}

std::optional<PartPlace> place_of(const Problem& problem, const Parts& parts)
{
    if (problem.line > 0 || !problem.file.empty())
        return {};  // it has its place
    const auto block = place_of_block(problem.where, parts);
    return block ? block : place_of_wire(problem.where, parts);
}

std::string id_of(const Scope& scope) { return scope.prefix.substr(0, scope.prefix.size() - 1); }

// A problem in a part, and the uses of the part that have it.
struct UseNote {
    std::size_t problem;
    int scope;  // of the first use
    std::size_t others = 0;
};

// "(in "tweeter" at 12:5, and 5 other uses)": where the use stands in the document, or the one that it is part of.
void name_uses(const std::vector<UseNote>& notes, std::string_view text, const Draft& draft,
               std::vector<Problem>& problems)
{
    const std::vector<Scope>& scopes = draft.parts.scopes;
    std::vector<Problem> places;
    for (const UseNote& note : notes) {
        const Scope* scope = &scopes[static_cast<std::size_t>(note.scope)];
        while (scope->outer > 0)
            scope = &scopes[static_cast<std::size_t>(scope->outer)];
        places.push_back({"/blocks" + pointer_step(id_of(*scope)), {}, {}});
    }
    locate(text, places);
    for (std::size_t i = 0; i < notes.size(); ++i) {
        Problem& problem = problems[notes[i].problem];
        const std::string at = std::to_string(places[i].line) + ':' + std::to_string(places[i].column);
        problem.wanted += " (in \"" + id_of(scopes[static_cast<std::size_t>(notes[i].scope)]) + '"';
        if (draft.options.places)
            problem.wanted += " at " + at + (problem.file.empty() ? "" : " of the schematic");
        if (notes[i].others > 0)
            problem.wanted += ", and " + count_text(static_cast<int>(notes[i].others), "other use");
        problem.wanted += ')';
    }
}

// The problems of a part's file, placed in its text.
void locate_in_files(const Parts& parts, std::vector<Problem>& problems)
{
    for (const auto& [name, part] : parts.read) {
        if (part.file.empty())
            continue;
        std::vector<Problem> mine;
        for (const Problem& problem : problems)
            if (problem.file == part.file && problem.line == 0)
                mine.push_back(problem);
        if (mine.empty())
            continue;
        locate(part.text, mine);
        auto placed = mine.begin();
        for (Problem& problem : problems)
            if (problem.file == part.file && problem.line == 0)
                problem = *placed++;
    }
}

}  // namespace

void use_part(const std::string& id, const json& use, int outer, Draft& draft)
{
    Parts& parts = draft.parts;
    const std::string flat = parts.scopes[static_cast<std::size_t>(outer)].prefix + id;
    const Fields fields(use, "/blocks" + pointer_step(flat), draft.problems);
    fields.allow({"part", "set", "note"});
    fields.text("note");
    const std::size_t side = draft.sides.size();
    draft.uses.emplace(flat, static_cast<int>(side));
    for (const std::string_view inside : {kInputId, kOutputId})
        draft.sides.push_back({.id = flat, .broken = true, .inside = inside});
    PartText* const part = part_of(fields, draft);
    if (!part)
        return;
    if (const std::string why = refusal(*part, outer, parts); !why.empty())
        return fields.fault("part", why);
    if (!affordable(*part, flat, draft))
        return;
    open_side(draft.sides[side], part->inputs);
    open_side(draft.sides[side + 1], part->outputs);
    const int number = static_cast<int>(parts.scopes.size());
    const Scope scope = parts.scopes.emplace_back(Scope{flat + '/', part, outer});
    parts.owners[scope.prefix] = number;
    UseValues values = read_set(fields, flat, *part, draft);
    Definitions names = names_of(scope, values.parameters, draft);
    read_blocks(part->body.at("blocks"), part->order, number, names, draft);
    std::ranges::move(values.overrides, std::back_inserter(draft.overrides));
    note_unused(names, *part, parts);
    draft.definitions.adopt(std::move(names));
}

void place_in_parts(std::string_view text, Draft& draft)
{
    const Parts& parts = draft.parts;
    std::unordered_map<std::string, std::size_t> seen;
    std::vector<Problem> kept;
    std::vector<UseNote> notes;
    for (Problem& problem : draft.problems) {
        const auto place = place_of(problem, parts);
        if (!place) {
            kept.push_back(std::move(problem));
            continue;
        }
        problem.where = place->where;
        problem.file = parts.scopes[static_cast<std::size_t>(place->scope)].part->file;
        const auto [before, fresh] = seen.emplace(
            problem.file + '\n' + problem.where + '\n' + problem.value + '\n' + problem.wanted, notes.size());
        if (!fresh) {
            ++notes[before->second].others;
            continue;
        }
        notes.push_back({kept.size(), place->scope});
        kept.push_back(std::move(problem));
    }
    name_uses(notes, text, draft, kept);
    draft.problems = std::move(kept);
    locate_in_files(parts, draft.problems);
}

std::vector<Problem> unused_parts(const Parts& parts)
{
    std::vector<Problem> warnings = parts.warnings;
    for (const auto& [name, body] : parts.written.items())
        if (!parts.read.contains(name))
            warnings.push_back({"/parts" + pointer_step(name), {}, "not used, so not checked", true});
    return warnings;
}

}  // namespace vantoro
