// SPDX-License-Identifier: Apache-2.0
// The document and the protocol, without sockets and without audio.
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "catalog/layout.h"
#include "control/control.h"
#include "control/document.h"
#include "control/patch.h"
#include "fake_player.h"
#include "memory_store.h"
#include "schematic/bypass.h"
#include "server/gate.h"
#include "support/json_text.h"
#include "support/json_walk.h"

namespace {

using namespace vantoro;
using nlohmann::json;
using nlohmann::ordered_json;

constexpr const char* kRoom = R"({
  "title": "room",
  "inputs": 2,
  "blocks": {
    "eq": {"type": "FILTER_GRAPHICAL_EQ", "params": {"bands": [{"fc": 1e2, "boostDb": 3.0}, {"fc": 8000}]}},
    "trim": {
      "type": "BASIC_GAIN",
      "note": "last"
    },
    "comp": {"type": "DP_COMPRESSOR_RMS"}
  },
  "wires": [["input", "eq"], ["eq", "trim"], ["trim", "comp"], ["comp", "output"]]
}
)";

std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// Lines of each text between those at the start and at the end that both have.
std::pair<std::size_t, std::size_t> changed_lines(const std::string& before, const std::string& after)
{
    const auto a = lines_of(before), b = lines_of(after);
    const std::size_t least = std::min(a.size(), b.size());
    std::size_t front = 0, back = 0;
    while (front < least && a[front] == b[front])
        ++front;
    while (back < least - front && a[a.size() - 1 - back] == b[b.size() - 1 - back])
        ++back;
    return {a.size() - front - back, b.size() - front - back};
}

TEST(Patch, KeepsEveryCharacterThatDidNotChange)
{
    const struct {
        const char *text, *to, *wanted;
    } cases[] = {
        {R"({ "a" : 1.0,  "b":[1,2] })", R"({"a":1,"b":[1,3]})", R"({ "a" : 1.0,  "b":[1,3] })"},
        {R"({"a":1e3,"b":2})", R"({"a":1000,"b":2,"c":{"d":[1,2]}})", R"({"a":1e3,"b":2,"c":{"d":[1,2]}})"},
        {"{\n  \"a\": 1,\n  \"b\": 2\n}\n", R"({"a":1,"b":2,"c":3})", "{\n  \"a\": 1,\n  \"c\": 3,\n  \"b\": 2\n}\n"},
        {"{\n  \"a\": 1,\n  \"b\": 2\n}\n", R"({"a":1})", "{\n  \"a\": 1\n}\n"},
        {"{\n  \"a\": 1,\n  \"b\": 2\n}\n", R"({"b":2})", "{\n  \"b\": 2\n}\n"},
        {"{\"w\": [\n  [1, 2],\n  [3, 4],\n  [5, 6]\n]}", R"({"w":[[1,2],[5,6]]})",
         "{\"w\": [\n  [1, 2],\n  [5, 6]\n]}"},
        {"{\"w\": [\n  [1, 2],\n  [5, 6]\n]}", R"({"w":[[1,2],[3,4],[5,6]]})",
         "{\"w\": [\n  [1, 2],\n  [3, 4],\n  [5, 6]\n]}"},
        {R"({"b":[1, 2.5, 0.10]})", R"({"b":[1,0.1]})", R"({"b":[1, 0.10]})"},
        {R"({"a": {}})", R"({"a":{"b":1,"c":true}})", R"({"a": {"b": 1, "c": true}})"},
        {R"({"a": {"b": 1}})", R"({"a":{}})", R"({"a": {}})"},
        {"\xef\xbb\xbf{\"a\\u0062\": \"x\\\"\"}", R"({"ab":"y"})", "\xef\xbb\xbf{\"a\\u0062\": \"y\"}"},
        {R"({"a": 1})", R"({"a":[1]})", R"({"a": [1]})"},
        // Comments go with what they stand at.
        {"{\n  // head\n  \"a\": 1, // one\n  /* two */ \"b\": 2 // b\n} // end", R"({"a":1,"b":3,"c":4})",
         "{\n  // head\n  \"a\": 1, // one\n  \"c\": 4,\n  /* two */ \"b\": 3 // b\n} // end"},
        {"{\n  \"a\" /* x */ : 1, // one\n  \"b\": 2 // b\n}", R"({"a":1})", "{\n  \"a\" /* x */ : 1 // one\n}"},
        {"{\n  \"a\": 1, // one\n  \"b\": 2, // b\n  // c\n  \"c\": 3\n}", R"({"c":3})", "{\n  // c\n  \"c\": 3\n}"},
        {"{\"w\": [1, // one\n 2 // two, \"\n]}", R"({"w":[1,2,3]})", "{\"w\": [1, // one\n 2, // two, \"\n 3\n]}"},
        {"{\"w\":[0/**/,1//]\n]}", R"({"w":[0]})", "{\"w\":[0/**/\n]}"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(patched(c.text, ordered_json::parse(c.to)), c.wanted);
}

// ---- every value of every example ----

std::string file(const std::filesystem::path& path)
{
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void collect(const json& value, const std::string& path, std::vector<std::pair<std::string, json>>& out)
{
    if (value.is_structured())
        for (const auto& [key, part] : value.items())
            collect(part, path + (value.is_array() ? '[' + key + ']' : '.' + key), out);
    else
        out.emplace_back(path, value);
}

// Values that may do in place of one.
std::vector<json> others(const json& value, const BlockType& type)
{
    if (value.is_boolean())
        return {!value.get<bool>()};
    if (value.is_number()) {
        const double v = value.get<double>();
        return {v * 0.875 + 0.25, std::round(v) + 1, std::round(v) - 1, 0.5};
    }
    std::vector<json> out;
    const auto add = [&](const VantoroParam* param) {
        for (const VantoroChoice& choice : param ? choices_of(*param) : std::span<const VantoroChoice>())
            if (value != choice.name)
                out.emplace_back(choice.name);
    };
    for (const VantoroSlot& slot : layout_of(type)) {
        add(slot.kind == VANTORO_VALUE ? slot.param : nullptr);
        if (slot.kind == VANTORO_ROWS)
            for (const VantoroParam& column : columns_of(*slot.table))
                add(&column);
    }
    return out;
}

bool set_some_other(Document& document, const std::string& path, const json& value, const BlockType& type)
{
    for (const json& other : others(value, type))
        try {
            document.set({{path, other}});
            if (document.unsaved())
                return true;
        } catch (const UserError&) {  // does not do
        }
    return false;
}

TEST(Document, EveryValueOfEveryExampleIsSavedAsOneLine)
{
    int moved = 0, stuck = 0;
    for (const auto& entry : std::filesystem::directory_iterator(EXAMPLES)) {
        const std::string text = file(entry.path());
        if (text.find("\"file\":") != std::string::npos)
            continue;  // one value of a table that stands in a file: the whole table is written
        MemoryStore first(text);
        const Document original(first, {});
        for (const Block& block : original.schematic().blocks) {
            std::vector<std::pair<std::string, json>> values;
            collect(named_values(*block.type, block.pins, block.vector), block.id, values);
            for (const auto& [path, value] : values) {
                MemoryStore store(text);
                Document document(store, {});
                const std::string where = entry.path().filename().string() + ' ' + path;
                if (!set_some_other(document, path, value, *block.type)) {
                    ++stuck;
                    continue;
                }
                ++moved;
                const auto changes = document.changes();
                EXPECT_EQ(changes.size(), 1U) << where;
                EXPECT_EQ(changes[0].what, path);
                document.save(document.revision());
                const auto [before, after] = changed_lines(text, store.text);
                EXPECT_LE(before, 1U) << where << '\n' << store.text;
                EXPECT_EQ(after, 1U) << where << '\n' << store.text;
                EXPECT_EQ(json(parse_ordered(store.text)), json(document.json())) << where;
                EXPECT_FALSE(document.unsaved());
                document.undo();
                document.save(document.revision());
                EXPECT_TRUE(differences(parse_schematic(store.text), original.schematic()).empty()) << where;
            }
        }
    }
    EXPECT_GT(moved, 200);
    EXPECT_EQ(stuck, 0);
}

TEST(Document, WayBackIsPerGestureAndPerSide)
{
    MemoryStore store(kRoom);
    Document d(store, {});
    EXPECT_THROW(d.undo(), UserError);
    for (const int boost : {1, 2, 3, 4})
        d.set({{"eq.bands[1].boostDb", boost}}, "drag");
    d.set({{"trim.gain", -3}, {"eq.bands[0].fc", 50}});
    EXPECT_EQ(d.undo_depth(), 2U);
    EXPECT_EQ(d.undo_what(), "trim.gain and 1 more");
    d.undo();
    d.undo();
    EXPECT_FALSE(d.unsaved());
    EXPECT_EQ(d.saved(), d.revision());
    d.redo();
    EXPECT_EQ(d.json()["blocks"]["eq"]["params"]["bands"][1]["boostDb"], 4);
    d.set({{"eq.bands[1].boostDb", 5}}, "drag");  // not the gesture that was undone and redone
    EXPECT_EQ(d.undo_depth(), 2U);
    EXPECT_EQ(d.redo_depth(), 0U);
    EXPECT_TRUE(d.sides_differ());
    d.switch_to('b');
    EXPECT_FALSE(d.unsaved());
    EXPECT_EQ(d.undo_depth(), 0U);
    d.switch_to('a');
    d.copy();
    EXPECT_FALSE(d.sides_differ());
    d.switch_to('b');
    EXPECT_EQ(d.undo_what(), "copy of a");
    d.undo();
    EXPECT_FALSE(d.unsaved());
    const auto rev = d.revision();
    d.set({{"trim.gain", d.json()["blocks"]["trim"].contains("params") ? 0 : 1}});
    d.undo();
    EXPECT_GT(d.revision(), rev);
    for (int i = 0; i < 2000; ++i)
        d.set({{"trim.gain", i % 7}});
    EXPECT_EQ(d.undo_depth(), 500U);
}

TEST(Document, FileIsNeverLost)
{
    MemoryStore store(kRoom);
    Document d(store, {});
    d.set({{"trim.gain", 2}});
    EXPECT_THROW(d.save(d.revision() - 1), UserError);
    const std::string edited = std::string(kRoom).replace(std::string(kRoom).find("8000"), 4, "9000");
    store.text = edited;
    EXPECT_THROW(d.save(d.revision()), UserError);  // a conflict: both are kept
    EXPECT_EQ(store.text, edited);
    EXPECT_TRUE(d.unsaved());
    EXPECT_FALSE(d.poll());  // moving
    EXPECT_TRUE(d.poll());
    EXPECT_TRUE(d.file_changed());
    d.reload();
    EXPECT_FALSE(d.unsaved());
    EXPECT_EQ(d.json()["blocks"]["eq"]["params"]["bands"][1]["fc"], 9000);
    d.undo();  // what was not saved is still there
    EXPECT_EQ(d.json()["blocks"]["trim"]["params"]["gain"], 2);
    d.redo();
    store.text = "{\"blocks\": {\"eq\":";  // an editor at work, or a mistake
    d.poll();
    EXPECT_TRUE(d.poll());
    ASSERT_EQ(d.file_problems().size(), 1U);
    EXPECT_GT(d.file_problems()[0].line, 0);
    store.text = edited;
    d.poll();
    EXPECT_TRUE(d.poll());
    EXPECT_TRUE(d.file_problems().empty());
    store.text = kRoom;  // nothing unsaved: taken at once
    d.poll();
    EXPECT_TRUE(d.poll());
    EXPECT_EQ(d.undo_what(), "reload");
    EXPECT_FALSE(d.unsaved());
    for (const char* wrong : {R"({"inputs": 1, "blocks": {}, "wires": [["input", "output"]]})",
                              R"({"rate": 44100, "blocks": {}, "inputs": 2, "wires": [["input", "output"]]})"})
        EXPECT_THROW(d.edit(ordered_json::parse(wrong)), UserError);
    EXPECT_EQ(store.writes, 0);
}

TEST(Document, ANumberTakesThePlaceOfAnExpression)
{
    const std::string text = R"({
  "define": {"c": 350, "g": 3},  // corners
  "blocks": {
    "eq": {"type": "FILTER_2ND_GENERAL", "params": {"type": "Gen_Param", "fc": "=c * 2", "boostDb": "=g"}},
    "text": {"type": "FILTER_TEXTEQ", "params": {"bands": [{"fc": "=c"}, {"fc": "0.7 kHz", "boostDb": 1}]}}
  },
  "wires": [["input", "eq"], ["eq", "text"], ["text", "output"]]
})";
    MemoryStore store(text);
    Document d(store, {.settings = {parse_setting("eq.q==g / 2")}});
    EXPECT_EQ(d.json()["blocks"]["eq"]["params"]["q"], "=g / 2");
    EXPECT_TRUE(d.set({{"eq.fc", 900}, {"text.bands[1].fc", 800}, {"eq.q", 2}}).empty());
    d.set({{"text.bands[1].boostDb", "=c / 175"}});
    EXPECT_THROW(d.set({{"eq.fc", "=d"}}), UserError);
    d.save(d.revision());
    std::string wanted = text;
    for (const auto& [from, to] : {std::pair("\"=c * 2\"", "900"),
                                   {"\"0.7 kHz\"", "800"},
                                   {": 1}", ": \"=c / 175\"}"},
                                   {"\"=g\"}", "\"=g\", \"q\": 2}"}})
        wanted.replace(wanted.find(from), std::string_view(from).size(), to);
    EXPECT_EQ(store.text, wanted);
}

// What the page sets in a part belongs to that use, in whatever spelling, and is saved there; no message names a file.
TEST(Document, AValueInAPartIsSetInItsUse)
{
    const std::string text = R"({
  "inputs": 1,
  "parts": {"way": {"blocks": {"eq": {"type": "FILTER_TEXTEQ", "params": {"bands": [{"fc": 100}, {"fc": 200}]}}},
                    "wires": [["input", "eq"], ["eq", "output"]]}},
  "blocks": {"a": {"part": "way"}, "b": {"part": "way", "set": {"eq.bands[01].fc": 900, "eq.bands[0].fc": 50}}},
  "wires": [["input", "a"], ["a", "b"], ["b", "output"]]
})";
    MemoryStore store(text);
    Document document(store, {});
    document.set({{"a/eq.bands[1].fc", 300}});
    document.set({{"b/eq.bands[1].fc", 400}});
    EXPECT_THROW(document.set({{"b/eq.bands[1].fv", 400}}), UserError);
    document.save(document.revision());
    const auto saved = json::parse(store.text);
    EXPECT_EQ(saved["parts"], json::parse(text)["parts"]);
    EXPECT_EQ(saved["blocks"]["a"]["set"], json({{"eq.bands[1].fc", 300}}));
    EXPECT_EQ(saved["blocks"]["b"]["set"]["eq.bands[0].fc"], 50);
    const auto set = document.schematic().blocks[1].vector;
    EXPECT_EQ(std::ranges::count(set, 400.0F), 1);
    EXPECT_EQ(std::ranges::count(set, 900.0F), 0);
    auto other = document.json();
    other["parts"]["way"] = "way.json";
    EXPECT_THROW(document.edit(other), UserError);
    document.undo();
    EXPECT_EQ(std::ranges::count(document.schematic().blocks[1].vector, 900.0F), 1);
}

// A file of taps: read again when it is saved, kept by name in what is saved, and numbers where a value in it is set. A
// client may name it again, and no other.
TEST(Document, ATableInAFileFollowsTheFile)
{
    const auto folder = std::filesystem::temp_directory_path() / ("taps" + std::to_string(::getpid()));
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "taps.txt") << "1\n0.5\n";
    const std::string text = R"({"inputs": 1, "blocks": {"g": {"type": "BASIC_GAIN"},
  "f": {"type": "FILTER_FIR", "params": {"taps": { "file":"taps.txt" }}}},
  "wires": [["input", "g"], ["g", "f"], ["f", "output"]]})";
    std::ofstream(folder / "room.json") << text;
    Folder store((folder / "room.json").string());
    Document d(store, {});
    const auto taps = [&] { return d.schematic().blocks[1].vector; };
    d.set({{"g.gain", 2}});
    d.save(d.revision());
    EXPECT_NE(file(folder / "room.json").find(R"({"taps": { "file":"taps.txt" }})"), std::string::npos);
    std::ofstream(folder / "taps.txt") << "0.25\n0.125\n3\n";
    d.poll();
    EXPECT_TRUE(d.poll());
    EXPECT_EQ(taps(), (std::vector<float>{3, 0.25F, 0.125F, 3}));
    d.set({{"f.taps[1]", 0.75}});
    EXPECT_EQ(taps(), (std::vector<float>{3, 0.25F, 0.75F, 3}));
    EXPECT_EQ(d.json()["blocks"]["f"]["params"]["taps"], json({0.25, 0.75, 3}));
    d.set({{"f.taps", {{"file", "taps.txt"}}}});
    EXPECT_EQ(taps(), (std::vector<float>{3, 0.25F, 0.125F, 3}));
    EXPECT_THROW(d.set({{"f.taps", {{"file", "room.json"}}}}), UserError);
    std::filesystem::remove_all(folder);
}

TEST(Document, PresetsAreWholeSchematicsByName)
{
    const auto folder = std::filesystem::temp_directory_path() / ("presets" + std::to_string(::getpid()));
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "room.json") << kRoom;
    std::ofstream(folder / "room.a b.json") << kRoom;
    Folder store((folder / "room.json").string());
    Document d(store, {});
    EXPECT_TRUE(d.presets().empty());
    d.set({{"trim.gain", 2}});
    d.store_preset("day-1");
    EXPECT_EQ(file(folder / "room.json"), kRoom);
    EXPECT_EQ(changed_lines(kRoom, file(folder / "room.day-1.json")).second, 1U);
    d.undo();
    d.load_preset("day-1");
    EXPECT_EQ(d.undo_what(), "preset day-1");
    EXPECT_EQ(d.presets(), std::vector<std::string>{"day-1"});
    for (const char* bad : {"", "../room", "a/b", "a.b", "day 1", "night"})
        EXPECT_THROW(d.load_preset(bad), UserError);
    const std::string longest(64, 'x');
    d.store_preset(longest);
    EXPECT_THROW(d.store_preset(longest + 'x'), UserError);
    EXPECT_THROW(d.remove_preset("night"), UserError);
    d.remove_preset(longest);
    d.save(d.revision());
    std::ofstream(folder / "room.json", std::ios::app) << '\n';
    EXPECT_THROW(d.save(d.revision()), UserError);
    std::filesystem::remove_all(folder);
}

TEST(Bypass, ListenersHearWhatTheBlockHears)
{
    const Schematic whole = parse_schematic(kRoom);
    const Schematic without = bypassed(whole, {"eq", "trim", "nobody"});
    for (int pin = 0; pin < 2; ++pin) {
        const auto p = static_cast<std::size_t>(pin);
        EXPECT_EQ(feed_text(without, without.blocks[2].sources[p]), "input." + std::to_string(pin));
        EXPECT_EQ(feed_text(soloed(whole, {1}), soloed(whole, {1}).outputs[p]), pin == 1 ? "comp.1" : "silence");
    }
    const Schematic other = parse_schematic(file(std::string(EXAMPLES) + "/loudspeaker.json"));
    std::string can;
    for (const Block& block : other.blocks)
        can += can_be_bypassed(block) ? block.id + ' ' : "";
    EXPECT_EQ(can, "subsonic eq loudness makeup compressor limiter in_level bands_left bands_right ");

    MemoryStore store(kRoom);
    Document d(store, {});
    d.bypass({{"eq", true}, {"trim", true}});
    ordered_json shorter = ordered_json::parse(kRoom);
    shorter["blocks"].erase("trim");
    shorter["wires"] = ordered_json::parse(R"([["input", "eq"], ["eq", "comp"], ["comp", "output"]])");
    d.edit(shorter);
    EXPECT_EQ(d.bypassed_ids(), std::set<std::string>{"eq"}) << "what is still there is still bypassed";
}

// ---- the protocol ----

struct Desk : Peers {
    Desk() : document(store, {}), player(document.heard(), 48000), control(document, player, {"1", "", devices}, *this)
    {
        control.join(1, false);
        control.join(2, false);
    }
    void send(int client, Message text) override { got[client].push_back(json::parse(*text)); }
    void close(int client) override { closed.push_back(client); }
    static ordered_json devices() { return ordered_json::array(); }

    json ask(const std::string& text, int client = 1)
    {
        got.clear();
        control.take(client, text);
        return got[client].empty() ? json() : got[client].front();
    }
    std::string wrong(const std::string& text)
    {
        const json answer = ask(text);
        return answer.contains("problems") ? answer["problems"][0]["where"].get<std::string>() + ": " +
                                                 answer["problems"][0]["wanted"].get<std::string>()
                                           : "";
    }

    MemoryStore store{kRoom};
    Document document;
    FakePlayer player;
    Control control;
    std::map<int, std::vector<json>> got;
    std::vector<int> closed;
};

TEST(Protocol, RefusesWhatItDoesNotKnow)
{
    Desk desk;
    EXPECT_EQ(desk.wrong(R"({"id":1,"get":[]})"), "/get: hello first: {\"id\": 1, \"hello\": {\"protocol\": 1}}");
    EXPECT_EQ(desk.wrong(R"({"id":1,"hello":{"protocol":2}})"), "/hello/protocol: a whole number from 1 to 1");
    ASSERT_TRUE(desk.ask(R"({"id":1,"hello":{"protocol":1,"client":"a"}})").contains("hello"));
    const char* const wrong[] = {"",
                                 "[]",
                                 "7",
                                 "{",
                                 "{}",
                                 R"({"id":1})",
                                 R"({"get":[]})",
                                 R"({"id":"x","get":[]})",
                                 R"({"id":1,"get":[],"undo":true})",
                                 R"({"id":1,"get":[],"gesture":"g"})",
                                 R"({"id":1,"get":[1]})",
                                 R"({"id":1,"get":"eq"})",
                                 R"({"id":1,"get":["nobody"]})",
                                 R"({"id":1,"get":["eq.nothing"]})",
                                 R"({"id":1,"get":[],"get":[]})",
                                 R"({"id":1,"set":[]})",
                                 R"({"id":1,"set":{"eq":1}})",
                                 R"({"id":1,"set":{"":1}})",
                                 R"({"id":1,"set":{"eq.bands[9].fc":1}})",
                                 R"({"id":1,"set":{"eq.bands[0].fc":"x"}})",
                                 R"({"id":1,"set":{"trim.gain":2,"trim.gian":1}})",
                                 R"({"id":1,"set":{},"gesture":1})",
                                 R"({"id":1,"edit":{"schematic":[]}})",
                                 R"({"id":1,"edit":{}})",
                                 R"({"id":1,"undo":false})",
                                 R"({"id":1,"undo":true})",
                                 R"({"id":1,"ab":"c"})",
                                 R"({"id":1,"bypass":{"eq":1}})",
                                 R"({"id":1,"bypass":{"nobody":true}})",
                                 R"({"id":1,"solo":["output.2"]})",
                                 R"({"id":1,"solo":"output.0"})",
                                 R"({"id":1,"preset":{"load":"../room"}})",
                                 R"({"id":1,"preset":{"store":"a/b"}})",
                                 R"({"id":1,"preset":{"list":true,"load":"x"}})",
                                 R"({"id":1,"preset":{}})",
                                 R"({"id":1,"save":{"rev":99}})",
                                 R"({"id":1,"save":{"rev":1,"path":"/etc/passwd"}})",
                                 R"({"id":1,"save":{}})",
                                 R"({"id":1,"speaker":{"text":"no rows"}})",
                                 R"({"id":1,"speaker":{}})",
                                 R"({"id":1,"curve":{}})",
                                 R"({"id":1,"response":{"from":"input.2","to":[]}})",
                                 R"({"id":1,"response":{"blocks":["nobody"]}})",
                                 R"({"id":1,"response":{"pointsPerOctave":0}})",
                                 R"({"id":1,"subscribe":{"meters":-1}})",
                                 R"({"id":1,"subscribe":{"spectrum":{"rate":1,"signals":["eq.7"]}}})",
                                 R"({"id":1,"subscribe":{"spectrum":{"rate":1,"points":1}}})",
                                 R"({"id":1,"subscribe":{"level":1}})"};
    for (const char* text : wrong)
        EXPECT_FALSE(desk.wrong(text).empty()) << text;
    EXPECT_FALSE(desk.wrong(std::string(100, '[')).empty());
    EXPECT_FALSE(desk.wrong("{\"id\":1,\"get\":[\"" + std::string(Control::kMaxMessage, 'x') + "\"]}").empty());
    EXPECT_EQ(desk.wrong(R"({"id":1,"set":{"eq.bands[0].type":"nix"}})").substr(0, 32),
              "/blocks/eq/params/bands/0/type: ");
    EXPECT_EQ(desk.player.plays(), 0);
    EXPECT_EQ(desk.document.revision(), 1U);
    EXPECT_EQ(desk.document.json(), ordered_json::parse(kRoom));
    EXPECT_TRUE(desk.closed.empty());
}

TEST(Protocol, EveryClientHearsWhatAnotherDid)
{
    Desk desk;
    for (const int client : {1, 2})
        desk.ask(R"({"id":0,"hello":{"protocol":1,"client":"page"}})", client);
    EXPECT_EQ(desk.ask(R"({"id":7,"set":{"eq.bands[0].boostDb":-3.0000000001,"trim.gain":2}})"),
              json({{"id", 7}, {"rev", 2}}));
    const json pushed = {{"changed",
                          {{"rev", 2},
                           {"saved", 1},
                           {"by", "page 1"},
                           {"values", {{"eq.bands[0].boostDb", -3}, {"trim.gain", 2}}},
                           {"undo", 1},
                           {"redo", 0},
                           {"undoWhat", "eq.bands[0].boostDb and 1 more"},
                           {"abDiffers", true}}}};
    EXPECT_EQ(desk.got[2], std::vector<json>{pushed});
    EXPECT_EQ(desk.got[1][1], pushed);
    EXPECT_EQ(desk.player.revision(), 2U);
    desk.ask(R"({"id":8,"bypass":{"eq":true}})");
    EXPECT_EQ(desk.got[2][0]["state"]["bypass"], json({"eq"}));
    EXPECT_EQ(desk.got[2][0]["state"]["wires"][0], json({{"from", "input.0"}, {"to", "eq.0"}}));
    EXPECT_EQ(feed_text(desk.player.heard(), desk.player.heard().blocks[1].sources[0]), "input.0");
    EXPECT_EQ(desk.ask(R"({"id":9,"get":["eq.bands[0].boostDb","trim"]})")["values"]["eq.bands[0].boostDb"], -3);
    EXPECT_EQ(desk.ask(R"({"id":9,"save":{"rev":3,"list":true}})")["changes"].size(), 2U);
    EXPECT_EQ(desk.store.text, kRoom);
    EXPECT_EQ(desk.ask(R"({"id":9,"save":{"rev":3}})")["saved"], 3);
    EXPECT_EQ(json::parse(desk.store.text)["blocks"]["trim"]["params"]["gain"], 2);
    const json warned = desk.ask(R"({"id":9,"set":{"eq.bands[0].fc":30000}})");
    EXPECT_EQ(warned["warnings"][0]["where"], "/blocks/eq/params/bands/0/fc");
    // An edit from outside, seen after it came to rest.
    desk.got.clear();
    desk.store.text = std::string(desk.store.text).replace(desk.store.text.find("8000"), 4, "nine");
    desk.control.look_at_file();
    desk.control.look_at_file();
    EXPECT_EQ(desk.got[1][0]["problems"][0]["line"], 5);
    desk.control.farewell("the end");
    EXPECT_EQ(desk.got[2].back(), json({{"bye", "the end"}}));
    EXPECT_EQ(desk.closed, (std::vector<int>{1, 2}));
}

TEST(Protocol, PushesLevelsAtTheRatesAskedFor)
{
    Desk desk;
    desk.ask(R"({"id":0,"hello":{"protocol":1}})");
    const json order = desk.ask(
        R"({"id":1,"subscribe":{"meters":30,"status":2,"spectrum":{"rate":10,"signals":["eq.0"],"points":64}}})");
    EXPECT_EQ(order["signals"].size(), 10U);
    desk.got.clear();
    for (int ms = 0; ms < 10000; ms += 10)
        desk.control.tick(1000 + ms / 1000.0);
    std::map<std::string, int> count;
    json levels;
    for (const json& message : desk.got[1])
        if (++count[message.begin().key()]; message.contains("spectrum"))
            levels = message["spectrum"]["eq.0"];
    EXPECT_NEAR(count["meters"], 300, 2);
    EXPECT_NEAR(count["status"], 20, 1);
    EXPECT_NEAR(count["spectrum"], 100, 1);
    EXPECT_EQ(desk.got[1][0]["meters"]["peak"].size(), 10U);
    // A sine of -6 dB, at its frequency.
    const auto highest = std::max_element(levels.begin(), levels.end());
    EXPECT_NEAR(highest->get<double>(), -6, 1);
    const double hz = order["frequency"][static_cast<std::size_t>(highest - levels.begin())];
    EXPECT_NEAR(std::log2(hz / 600), 0, 0.15);
    EXPECT_LT(levels.back().get<double>(), -100);
    desk.ask(R"({"id":1,"subscribe":{"meters":0,"status":0,"spectrum":{"rate":0}}})");
    desk.got.clear();
    desk.control.tick(2000);
    EXPECT_TRUE(desk.got.empty());
}

TEST(Protocol, DrawsResponses)
{
    Desk desk;
    desk.ask(R"({"id":0,"hello":{"protocol":1}})");
    desk.ask(R"({"id":1,"speaker":{"text":"100 80\n1000 90\n10000 85\n"}})");
    const json answer = desk.ask(
        R"({"id":1,"response":{"from":"input.0","to":["output.0"],"blocks":["eq","trim","comp"],"pointsPerOctave":12}})");
    const json& responses = answer["responses"];
    const std::size_t points = answer["frequency"].size();
    ASSERT_EQ(responses["eq"]["db"].size(), points);
    ASSERT_EQ(responses["eq"]["bands"].size(), 2U);
    // The bands make the block; the compressor is left out of the whole, which is said.
    for (std::size_t i = 0; i < points; ++i) {
        const double bands =
            responses["eq"]["bands"][0]["db"][i].get<double>() + responses["eq"]["bands"][1]["db"][i].get<double>();
        EXPECT_NEAR(bands, responses["eq"]["db"][i].get<double>(), 0.003);
        EXPECT_NEAR(responses["output.0"]["db"][i].get<double>() - responses["trim"]["db"][i].get<double>(), bands,
                    0.005);
    }
    EXPECT_EQ(responses["output.0"]["note"], "without comp, not linear");
    EXPECT_TRUE(responses["comp"].contains("note"));
    EXPECT_TRUE(answer["speaker"]["db"][0].is_null());
    // Below its curve's first point a compressor does what the curve says: here its default.
    const json curve = desk.ask(R"({"id":1,"curve":{"block":"trim"}})")["curve"];
    for (std::size_t i = 0; i < curve["in"].size(); ++i)
        EXPECT_NEAR(curve["out"][i].get<double>() - curve["in"][i].get<double>(),
                    responses["trim"]["db"][0].get<double>(), 0.01);
}

TEST(Gate, KnowsTheNamesOfItsServer)
{
    const Gate gate = make_gate("::", true, 7420, {"desk.lan"});
    for (const char* name : {"[::]:7420", "localhost:7420", "[::1]:7420", "desk.lan", "DESK.lan:7420"}) {
        EXPECT_TRUE(gate.host_allowed(name)) << name;
        EXPECT_TRUE(gate.origin_allowed(std::string("https://") + name)) << name;
    }
    for (const char* name : {"desk.lan:1", "localhost", "[::1]", "tuner.example:7420", ""})
        EXPECT_FALSE(gate.host_allowed(name)) << name;
}

TEST(Protocol, WantsTheToken)
{
    MemoryStore store(kRoom);
    Document document(store, {});
    FakePlayer player(document.heard(), 48000);
    struct : Peers {
        void send(int, Message text) override { last = *text; }
        void close(int client) override { closed = client; }
        std::string last;
        int closed = 0;
    } peers;
    Control control(document, player, {"1", "0123456789abcdef", [] { return ordered_json::array(); }}, peers);
    for (const char* token :
         {"", R"(,"token":"")", R"(,"token":"0123456789abcdee")", R"(,"token":"0123456789abcdef0")"}) {
        control.join(3, false);
        control.take(3, std::string(R"({"id":1,"hello":{"protocol":1)") + token + "}}");
        EXPECT_EQ(peers.closed, 3) << token;
        EXPECT_EQ(peers.last, R"({"bye":"wrong token"})");
        control.take(3, R"({"id":1,"set":{"trim.gain":2}})");
        control.leave(3);
        peers.closed = 0;
    }
    EXPECT_EQ(document.revision(), 1U);
    control.join(4, false);
    control.take(4, R"({"id":1,"hello":{"protocol":1,"token":"0123456789abcdef"}})");
    EXPECT_TRUE(control.greeted(4));
}

}  // namespace
