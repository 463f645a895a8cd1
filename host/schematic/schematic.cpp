// SPDX-License-Identifier: Apache-2.0
#include "schematic/schematic.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <unordered_map>

#include "schematic/wiring.h"
#include "support/json_text.h"

namespace vantoro {

namespace {

using nlohmann::json;

constexpr std::size_t kMaxFileBytes = 64U << 20U;
constexpr int kMaxAllPins = 1'000'000;
constexpr double kMaxBufferBytes = 2.0 * (1U << 30U);
constexpr double kMaxSeconds = 1e9;
constexpr std::string_view kInputId = "input";
constexpr std::string_view kOutputId = "output";

bool good_id(std::string_view id)
{
    const auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    const auto inner = [&](char c) { return letter(c) || (c >= '0' && c <= '9') || c == '-'; };
    return !id.empty() && letter(id.front()) && std::ranges::all_of(id, inner) && id != kInputId && id != kOutputId;
}

// Reads one document. Every step notes what it finds wrong and goes on with the rest.
class Reader {
public:
    Reader(std::vector<Problem>& problems, std::optional<int> channels) : problems_(problems), channels_(channels) {}

    Schematic read(std::string_view text, const std::vector<Setting>& settings)
    {
        JsonText parsed = parse_json(text, "blocks", problems_);
        if (parsed.value.is_discarded())
            return {};
        Schematic out = read(parsed, settings);
        locate(text, problems_);
        return out;
    }

    Schematic read(const JsonText& parsed, const std::vector<Setting>& settings)
    {
        if (!parsed.value.is_object()) {
            fault("", parsed.value, "a schematic is an object: {\"blocks\": {...}, \"wires\": [...]}");
            return {};
        }
        read_top(parsed.value);
        read_blocks(parsed.value.value("blocks", json::object()), parsed.order);
        read_wires(parsed.value.value("wires", json::array()));
        wire_up();
        build_vectors();
        read_changes(parsed.value.value("changes", json::array()), settings);
        return std::move(out_);
    }

private:
    struct Step {
        double seconds;
        int block;
        std::string place, path, value;
    };

    void fault(std::string where, const json& value, std::string wanted)
    {
        problems_.push_back({std::move(where), as_text(value), std::move(wanted)});
    }

    void known_keys(const std::string& where, const json& object, std::initializer_list<std::string_view> keys)
    {
        for (const auto& [key, value] : object.items()) {
            if (std::ranges::find(keys, key) != keys.end())
                continue;
            const std::string near = nearest(key, std::vector(keys));
            fault(where + pointer_step(key), json(key),
                  near.empty() ? "unknown key" : "unknown key; did you mean \"" + near + "\"?");
        }
    }

    // A whole number in [min, max] under `key`, if there is one.
    std::optional<int> whole(const std::string& where, const json& object, const char* key, int min, int max)
    {
        const auto it = object.find(key);
        if (it == object.end())
            return {};
        const double number = it->is_number() ? it->get<double>() : std::nan("");
        if (number >= min && number <= max && number == std::floor(number))
            return static_cast<int>(number);
        fault(where + '/' + key, *it, "a whole number, " + std::to_string(min) + " to " + std::to_string(max));
        return {};
    }

    void text_only(const std::string& where, const json& object, std::initializer_list<const char*> keys)
    {
        for (const char* key : keys)
            if (const auto it = object.find(key); it != object.end() && !it->is_string())
                fault(where + '/' + key, *it, "a text");
    }

    static std::string text_of(const json& object, const char* key)
    {
        const auto it = object.find(key);
        return it != object.end() && it->is_string() ? it->get<std::string>() : std::string();
    }

    void read_top(const json& top)
    {
        known_keys(
            "", top,
            {"$schema", "title", "note", "rate", "blockSize", "inputs", "outputs", "blocks", "wires", "changes"});
        text_only("", top, {"$schema", "title", "note"});
        out_.title = text_of(top, "title");
        out_.rate = whole("", top, "rate", kMinRate, kMaxRate);
        out_.block_size = whole("", top, "blockSize", 1, kMaxBlockSize).value_or(out_.block_size);
        inputs_ = whole("", top, "inputs", 0, kMaxPins);
        outputs_ = whole("", top, "outputs", 0, kMaxPins);
        if (inputs_ && channels_ && *inputs_ != *channels_)
            fault("/inputs", top["inputs"], "the input has " + std::to_string(*channels_) + " channels");
        if (!top.contains("blocks"))
            fault("/blocks", nullptr, "blocks by id: {\"trim\": {\"type\": \"BASIC_GAIN\"}}");
    }

    void read_blocks(const json& blocks, const std::vector<std::string>& order)
    {
        if (!blocks.is_object() || blocks.size() > kMaxBlocks) {
            fault("/blocks", blocks.is_object() ? json(blocks.size()) : blocks,
                  "an object of at most " + std::to_string(kMaxBlocks) + " blocks by id");
            return;
        }
        // A repeated "blocks" leaves ids in the order that the document has lost.
        for (const std::string& id : order)
            if (const auto block = blocks.find(id);
                block != blocks.end() && ids_.emplace(id, static_cast<int>(out_.blocks.size())).second)
                read_block(id, *block);
    }

    void read_block(const std::string& id, const json& block)
    {
        const std::string where = "/blocks" + pointer_step(id);
        if (!good_id(id))
            fault(where, json(id),
                  "an id of letters, digits, _ and -, not beginning with a digit, and neither input nor output");
        out_.blocks.push_back({id, {}, nullptr, {}, json::object(), {}, {}});
        nodes_.push_back({id, nullptr, {}, {}, true});
        if (!block.is_object()) {
            fault(where, block, "a block: {\"type\": ..., \"params\": {...}}");
            return;
        }
        known_keys(where, block, {"type", "inputs", "outputs", "params", "title", "note"});
        text_only(where, block, {"title", "note"});
        out_.blocks.back().title = text_of(block, "title");
        Node& node = nodes_.back();
        node.inputs = whole(where, block, "inputs", 0, kMaxPins);
        node.outputs = whole(where, block, "outputs", 0, kMaxPins);
        node.type = out_.blocks.back().type = read_type(where, block);
        node.broken = !node.type;
        json& params = out_.blocks.back().params;
        params = block.value("params", json::object());
        if (!params.is_object()) {
            fault(where + "/params", params, "parameters by name: {\"gain\": 0.5}");
            params = json::object();
        }
    }

    const BlockType* read_type(const std::string& where, const json& block)
    {
        const auto it = block.find("type");
        if (it == block.end()) {
            fault(where + "/type", nullptr, "a block type by name or code; 'vantoro blocks' lists them");
            return nullptr;
        }
        const BlockType* type = nullptr;
        if (it->is_string())
            type = find_type(it->get<std::string>());
        else if (it->is_number_integer() && *it >= 0 && *it <= 0xffff)
            type = find_type(it->get<int>());
        if (!type)
            fault(where + "/type", *it, "an unknown type" + alternatives(*it));
        else if ((type->code & 0xff00) == EN_IN || (type->code & 0xff00) == EN_OUT) {
            fault(where + "/type", *it, "a terminal is no block: wire to \"input\" or \"output\"");
            return nullptr;
        }
        return type;
    }

    static std::string alternatives(const json& type)
    {
        std::string text;
        for (const std::string& name :
             type.is_string() ? nearest_types(type.get<std::string>()) : std::vector<std::string>{})
            text += (text.empty() ? "; did you mean " : " or ") + name;
        return text.empty() ? "; 'vantoro blocks' lists them" : text + '?';
    }

    // ---- wires ----

    int input_node() const { return static_cast<int>(out_.blocks.size()); }
    int output_node() const { return input_node() + 1; }

    void read_wires(const json& wires)
    {
        if (!wires.is_array()) {
            fault("/wires", wires, "an array of wires: [[\"input\", \"trim\"], [\"trim\", \"output\"]]");
            return;
        }
        for (std::size_t i = 0; i < wires.size(); ++i) {
            const std::string where = "/wires/" + std::to_string(i);
            const json& wire = wires[i];
            if (!wire.is_array() || wire.size() != 2 || !wire[0].is_string() || !wire[1].is_string()) {
                fault(where, wire, "a wire is a pair of texts: [\"eq.0\", \"mix.1\"]");
                continue;
            }
            const End from = read_end(where + "/0", wire[0], true);
            const End to = read_end(where + "/1", wire[1], false);
            if (from.node != kUnknownNode && to.node != kUnknownNode)
                wires_.push_back({from, to, static_cast<int>(i)});
        }
    }

    End read_end(const std::string& where, const json& value, bool source)
    {
        End end;
        std::string id;
        if (!parse_end(value.get_ref<const std::string&>(), id, end)) {
            fault(where, value, "a block's pins: \"eq\" (all), \"eq.0\", \"eq.0-1\" or \"eq.1-\", by number from 0");
            return end;
        }
        if (id == kInputId || id == kOutputId) {
            if (source == (id == kInputId))
                end.node = source ? input_node() : output_node();
            else
                fault(where, value,
                      source ? "a wire does not start at \"output\"" : "a wire does not end at \"input\"");
            return end;
        }
        if (const auto it = ids_.find(id); it != ids_.end())
            end.node = it->second;
        else
            fault(where, value, missing_block(id));
        return end;
    }

    std::string missing_block(const std::string& id) const
    {
        constexpr std::size_t kMostCompared = 1000;  // per name; many names may be wrong
        std::vector<std::string_view> names{kInputId, kOutputId};
        for (std::size_t b = 0; b < std::min(out_.blocks.size(), kMostCompared); ++b)
            names.push_back(out_.blocks[b].id);
        const std::string near = nearest(id, names);
        return near.empty() ? "there is no such block" : "there is no such block; did you mean \"" + near + "\"?";
    }

    void wire_up()
    {
        nodes_.push_back({std::string(kInputId), nullptr, 0, channels_ ? channels_ : inputs_});
        nodes_.push_back({std::string(kOutputId), nullptr, outputs_, 0});
        settle_pins(nodes_, wires_, problems_);
        if (!affordable())
            return;
        const auto sources = connect(nodes_, wires_, problems_);
        out_.order = order_of(nodes_, sources, input_node(), problems_);
        for (std::size_t b = 0; b < out_.blocks.size(); ++b)
            out_.blocks[b].sources = heard(sources[b]);
        out_.outputs = heard(sources[static_cast<std::size_t>(output_node())]);
        out_.inputs = *nodes_[static_cast<std::size_t>(input_node())].outputs;
    }

    // Bounds what a few characters of JSON can make the program allocate.
    bool affordable()
    {
        double pins = 0;
        double outputs = 0;
        for (const Node& node : nodes_) {
            pins += node.inputs.value_or(0) + node.outputs.value_or(0);
            outputs += node.outputs.value_or(0);
        }
        const double bytes = outputs * out_.block_size * sizeof(float);
        if (pins <= kMaxAllPins && bytes <= kMaxBufferBytes)
            return true;
        fault("/blocks",
              json(std::to_string(std::llround(pins)) + " pins, " + std::to_string(std::llround(bytes / (1U << 20U))) +
                   " MiB of buffers"),
              "at most " + std::to_string(kMaxAllPins) + " pins and 2048 MiB");
        return false;
    }

    std::vector<Source> heard(std::vector<Source> sources)
    {
        for (Source& source : sources) {
            if (source.block != input_node())
                continue;
            source.block = Source::kTerminal;
            out_.hears_input = true;
        }
        return sources;
    }

    // ---- parameters ----

    void build_vectors()
    {
        for (std::size_t b = 0; b < out_.blocks.size(); ++b) {
            const Node& node = nodes_[b];
            if (node.broken)
                continue;
            Block& block = out_.blocks[b];
            const std::string where = "/blocks" + pointer_step(block.id);
            block.pins = {*node.inputs, *node.outputs};
            const std::size_t before = problems_.size();
            block.vector = build_vector(*block.type, block.pins, block.params, problems_);
            for (std::size_t p = before; p < problems_.size(); ++p)
                problems_[p].where.insert(0, where + "/params");
            if (problems_.size() > before)
                faulty_.insert(static_cast<int>(b));
            if (block.type->code == EN_QVALGO_REVERB && out_.block_size % 4 != 0)
                fault(where + "/type", json(block.type->name),
                      "the reverb works on fours of samples: a blockSize that is a multiple of 4");
        }
    }

    // The document's changes and the command line's, in the order of time; those of one moment in the order given.
    void read_changes(const json& changes, const std::vector<Setting>& settings)
    {
        std::vector<Step> steps;
        if (!changes.is_array())
            fault("/changes", changes, "an array: [{\"at\": 1.5, \"set\": {\"trim.gain\": 0.5}}]");
        else
            for (std::size_t i = 0; i < changes.size(); ++i)
                read_change("/changes/" + std::to_string(i), changes[i], steps);
        for (const Setting& setting : settings)
            add_step("--set " + setting.text, setting.block, {setting.seconds, 0, "", setting.path, setting.value},
                     steps);
        std::ranges::stable_sort(steps, {}, &Step::seconds);
        for (const Step& step : steps)
            apply(step);
    }

    void read_change(const std::string& where, const json& change, std::vector<Step>& steps)
    {
        if (!change.is_object() || !change.contains("at") || !change.contains("set") || !change["set"].is_object()) {
            fault(where, change, "a change: {\"at\": seconds, \"set\": {\"block.parameter\": value}}");
            return;
        }
        known_keys(where, change, {"at", "set", "note"});
        const json& at = change["at"];
        const double seconds = at.is_number() ? at.get<double>() : -1;
        if (!(seconds >= 0 && seconds <= kMaxSeconds))
            fault(where + "/at", at, "seconds from the start, 0 or more");
        for (const auto& [target, value] : change["set"].items()) {
            const std::string place = where + "/set" + pointer_step(target);
            const auto dot = target.find('.');
            if (dot == target.npos)
                fault(place, json(target), "a block and its parameter: \"trim.gain\"");
            else
                add_step(place, target.substr(0, dot),
                         {seconds, 0, "", target.substr(dot + 1), value.dump(-1, ' ', true)}, steps);
        }
    }

    void add_step(const std::string& place, const std::string& id, Step step, std::vector<Step>& steps)
    {
        const auto it = ids_.find(id);
        if (it == ids_.end()) {
            problems_.push_back({place, id, missing_block(id)});
            return;
        }
        step.place = place;
        step.block = it->second;
        if (!nodes_[static_cast<std::size_t>(step.block)].broken && !faulty_.contains(step.block))
            steps.push_back(std::move(step));
    }

    void apply(const Step& step)
    {
        Block& block = out_.blocks[static_cast<std::size_t>(step.block)];
        json& params = current_.try_emplace(step.block, block.params).first->second;
        std::vector<Problem> found;
        if (set_value(*block.type, block.pins, params, step.path, step.value, found)) {
            std::vector<float> vector = build_vector(*block.type, block.pins, params, found);
            if (step.seconds > 0) {
                out_.changes.push_back({step.seconds, step.block, std::move(vector)});
            } else {
                block.params = params;
                block.vector = std::move(vector);
            }
        }
        for (Problem& problem : found)
            problems_.push_back({step.place, problem.value, problem.where + ": " + problem.wanted});
    }

    std::vector<Problem>& problems_;
    std::optional<int> channels_, inputs_, outputs_;
    Schematic out_;
    std::vector<Node> nodes_;
    std::unordered_map<std::string, int> ids_;
    std::vector<Wire> wires_;
    std::set<int> faulty_;         // blocks whose parameters are not right
    std::map<int, json> current_;  // parameters as the changes so far left them
};

std::string read_file(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string text;
    char chunk[16384];
    while (file && text.size() <= kMaxFileBytes) {
        file.read(chunk, sizeof chunk);
        text.append(chunk, static_cast<std::size_t>(file.gcount()));
    }
    if (!file.eof())
        throw UserError(
            {{.where = {},
              .value = {},
              .wanted = text.size() > kMaxFileBytes ? "longer than 64 MiB"
                                                    : "cannot be read: " + std::string(std::strerror(errno)),
              .file = path}});
    return text;
}

}  // namespace

Setting parse_setting(std::string_view text)
{
    Setting setting{std::string(text), 0, {}, {}, {}};
    const auto equals = text.find('=');
    const auto dot = text.substr(0, equals).find('.');
    if (equals == text.npos || dot == text.npos || dot == 0 || dot + 1 == equals)
        throw UserError({{"--set", setting.text, "BLOCK.PARAM=VALUE or BLOCK.PARAM=VALUE@SECONDS"}});
    setting.block = text.substr(0, dot);
    setting.path = text.substr(dot + 1, equals - dot - 1);
    std::string value(text.substr(equals + 1));
    if (const auto at = value.rfind('@'); at != value.npos) {
        std::size_t used = 0;
        const std::string moment = value.substr(at + 1);
        try {
            setting.seconds = std::stod(moment, &used);
        } catch (const std::exception&) {
            used = 0;
        }
        if (used == 0 || used != moment.size() || !(setting.seconds >= 0 && setting.seconds <= kMaxSeconds))
            throw UserError({{"--set", setting.text, "after @ the seconds from the start, 0 or more"}});
        value.resize(at);
    }
    setting.value = std::move(value);
    return setting;
}

Schematic parse_schematic(std::string_view text, std::optional<int> channels, const std::vector<Setting>& settings)
{
    std::vector<Problem> problems;
    Schematic schematic = Reader(problems, channels).read(text, settings);
    if (!problems.empty())
        throw UserError(std::move(problems));
    return schematic;
}

Schematic read_schematic(const std::string& path, std::optional<int> channels, const std::vector<Setting>& settings)
{
    const std::string text = read_file(path);
    std::vector<Problem> problems;
    Schematic schematic = Reader(problems, channels).read(text, settings);
    for (Problem& problem : problems)
        if (!problem.where.starts_with("--"))  // an option stands in no file
            problem.file = path;
    if (!problems.empty())
        throw UserError(std::move(problems));
    return schematic;
}

}  // namespace vantoro
