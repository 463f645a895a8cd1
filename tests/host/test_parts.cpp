// SPDX-License-Identifier: Apache-2.0
// Parts of schematics: what is made of them, and the two places of what is wrong with them.
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "schematic/difference.h"
#include "schematic/reader.h"

namespace {

using namespace vantoro;

// A schematic around parts, blocks and wires.
std::string graph(const std::string& parts, const std::string& blocks, const std::string& wires = "")
{
    return "{\"rate\": 48000, \"inputs\": 2, \"define\": {\"base\": 3},\n\"parts\": {" + parts + "},\n\"blocks\": {" +
           blocks + "},\n\"wires\": [" + wires + "]}";
}

// What is wrong, or warned of.
std::string told(const std::string& text)
{
    std::vector<Problem> problems;
    try {
        parse_schematic(text, {}, &problems);
    } catch (const UserError& error) {
        problems = error.problems();
    }
    std::string all;
    for (const Problem& problem : problems)
        all += text_of(problem) + '\n';
    return all;
}

constexpr const char* kDriver = R"*("driver": {
  "parameters": {"trim": 0, "corner": "350 Hz"},
  "define": {"half": "=trim / 2"},
  "blocks": {
    "level": {"type": "BASIC_GAIN", "params": {"type": "Linear", "gain": "=db(half)"}},
    "cut": {"type": "FILTER_1ST", "params": {"type": "LP1st", "fc": "=corner"}}
  },
  "wires": [["input", "level"], ["level", "cut"], ["cut", "output"]]})*";

}  // namespace

// Names, parts in parts, open and named pins, values that uses set, and pins that go straight through.
TEST(Parts, AreTheBlocksTheyAreMadeOf)
{
    const std::string pair = R"("pair": {"inputs": ["low", "high"], "outputs": 3,
        "blocks": {"a": {"part": "driver", "set": {"trim": 1, "cut.fc": 700}}, "b": {"part": "driver"}},
        "wires": [["input.low", "a"], ["input.1", "b"], ["a", "output.0"], ["b", "output.1"], ["input.high", "output.2"]]},)";
    const Schematic parts =
        parse_schematic(graph(pair + kDriver,
                              R"("p": {"part": "pair", "set": {"a/cut.fc": "=base * 300", "b/level.gain": 0.5}},
                 "w": {"part": "driver", "set": {"trim": "=-base * 2", "corner": "0.9 kHz"}})",
                              R"(["input.0", "p.high"], ["input.1", "p.low"], ["p", "w"], ["w", "output"])"));
    const Schematic flat = parse_schematic(R"*({"rate": 48000, "inputs": 2, "blocks": {
        "p/a/level": {"type": "BASIC_GAIN", "inputs": 1, "params": {"type": "Linear", "gain": "=db(0.5)"}},
        "p/a/cut": {"type": "FILTER_1ST", "inputs": 1, "params": {"type": "LP1st", "fc": 900}},
        "p/b/level": {"type": "BASIC_GAIN", "inputs": 1, "params": {"type": "Linear", "gain": 0.5}},
        "p/b/cut": {"type": "FILTER_1ST", "inputs": 1, "params": {"type": "LP1st", "fc": 350}},
        "w/level": {"type": "BASIC_GAIN", "inputs": 3, "params": {"type": "Linear", "gain": "=db(-3)"}},
        "w/cut": {"type": "FILTER_1ST", "inputs": 3, "params": {"type": "LP1st", "fc": 900}}},
        "wires": [["input.1", "p/a/level"], ["p/a/level", "p/a/cut"], ["input.0", "p/b/level"], ["p/b/level", "p/b/cut"],
                  ["p/a/cut", "w/level.0"], ["p/b/cut", "w/level.1"], ["input.0", "w/level.2"], ["w/level", "w/cut"],
                  ["w/cut", "output"]]})*");
    EXPECT_EQ(differences(parts, flat), std::vector<std::string>{});
    EXPECT_EQ(parts.order, flat.order);
}

TEST(Parts, SayWhereAProblemIsAndWhereThePartIsUsed)
{
    const auto part = [](const std::string& block) {
        return R"("d": {"parameters": {"n": 2}, "blocks": {"g": {"type": "BASIC_GAIN", "params": {)" + block + "}}}}";
    };
    const struct {
        std::string text, told;
    } cases[] = {
        {graph(kDriver, R"("a": {"part": "drivre"})"),
         "\"drivre\": a part that \"parts\" has; did you mean \"driver\"?"},
        {graph(kDriver, R"("a": {"part": "driver", "set": {"trin": 1}})"), "/blocks/a/set/trin: \"trin\": a parameter"},
        {graph(kDriver, R"("a": {"part": "driver", "set": {"cutt.fc": 1}})"), "did you mean \"a/cut\"?"},
        {graph(kDriver, R"("a": {"part": "driver"})", R"(["a.low", "output"])"), "a has no names for its outputs"},
        {graph(kDriver, R"("a": {"part": "driver"}, "a/cut": {"type": 289})"), "another id: a part that is used"},
        {graph(kDriver, R"("a": {"part": "driver", "set": {"trim": "x"}})"), "\"trim\" alone, as it is no number"},
        {graph(part(R"("gain": "=m")"), R"("a": {"part": "d"}, "b": {"part": "d"}, "c": {"part": "d"})"),
         "/parts/d/blocks/g/params/gain: \"=m\": a name that \"define\" has, not \"m\"; did you mean \"n\"? "
         "(in \"a\" at 3:12, and 2 other uses)\n"},
        {graph(R"("a": {"blocks": {"b": {"part": "b"}}}, "b": {"blocks": {"a": {"part": "a"}}})",
               R"("x": {"part": "a"})"),
         "/parts/b/blocks/a/part: \"a\": a part that is not made of itself (in \"x/b\" at 3:12)\n"},
        {graph(R"("t": {"blocks": {}, "wires": [["input", "output"]]})", R"("a": {"part": "t"}, "b": {"part": "t"})",
               R"(["a", "b"], ["b.0", "a.0"], ["a", "output"])"),
         "a cycle"},
        {graph(kDriver, R"("g": {"type": 289})"), "warning: 2:11: /parts/driver: not used, so not checked\n"},
        {graph(R"("d": "d.json")", R"("a": {"part": "d"})"), "2:11: /parts/d: \"d.json\": files are read for"},
        {graph(R"("d": {"blocks": {}, "wires": [["input", "g"]]})", R"("a": {"part": "d"})"),
         "/parts/d/wires/0/1: \"g\": there is no such block (in \"a\" at 3:12)\n"},
    };
    for (const auto& c : cases)
        EXPECT_NE(told(c.text).find(c.told), std::string::npos) << told(c.text) << "instead of\n" << c.told;
}

// Levels of ten uses each would soon be more blocks than there is room for anywhere.
TEST(Parts, StayWithinBounds)
{
    std::string bomb = R"("p0": {"blocks": {"g": {"type": 289}}})", chain = bomb;
    for (int level = 1; level <= 20; ++level) {
        const std::string below = "{\"part\": \"p" + std::to_string(level - 1) + "\"}";
        const std::string begin = ", \"p" + std::to_string(level) + R"(": {"blocks": {"a": )" + below;
        chain += begin + "}}";
        bomb += begin;
        for (char id = 'b'; id < 'k'; ++id)
            bomb += ", \"" + std::string(1, id) + "\": " + below;
        bomb += "}}";
    }
    EXPECT_NE(told(graph(bomb, R"("x": {"part": "p15"})")).find("at most 100000"), std::string::npos);
    EXPECT_NE(told(graph(chain, R"("x": {"part": "p20"})")).find("parts in at most 16 levels"), std::string::npos);
}

TEST(Parts, StandInFilesBesideTheSchematic)
{
    const auto folder = std::filesystem::path(testing::TempDir()) / "parts";
    std::filesystem::create_directories(folder);
    const auto read = [&](const std::string& part) -> std::string {
        std::ofstream(folder / "p.json") << part;
        std::ofstream(folder / "s.json") << graph(R"("p": "p.json")", R"("a": {"part": "p"}, "b": {"part": "p"})");
        try {
            return read_schematic(folder / "s.json").blocks.back().id;
        } catch (const UserError& error) {
            return text_of(error.problems().front());
        }
    };
    const std::string file = (folder / "p.json").string();
    EXPECT_EQ(read(R"({"blocks": {"g": {"type": "BASIC_GAIN"}}})"), "b/g");
    const std::string unknown = read("{\n \"blocks\": {\"g\": {\"type\": 99999}}}");
    EXPECT_TRUE(unknown.starts_with(file + ":2:19: /blocks/g/type: 99999: unknown type")) << unknown;
    EXPECT_TRUE(unknown.ends_with("(in \"a\" at 3:12 of the schematic, and 1 other use)")) << unknown;
    EXPECT_TRUE(read("{\n]").starts_with(file + ":2:1: syntax error"));
    std::filesystem::remove_all(folder);
}
