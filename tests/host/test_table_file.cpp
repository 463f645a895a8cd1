// SPDX-License-Identifier: Apache-2.0
// Tables whose rows stand in files: what is read, and what is wrong with it.
#include <cmath>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "schematic/difference.h"
#include "schematic/reader.h"

namespace {

using namespace vantoro;

// A WAV file of 32-bit floats.
std::string wav(int rate, int channels, const std::vector<float>& samples)
{
    std::string out = "RIFF";
    const auto put = [&](std::uint32_t v, int bytes) {
        out.append(reinterpret_cast<const char*>(&v), std::size_t(bytes));
    };
    const auto size = static_cast<std::uint32_t>(4 * samples.size());
    const auto pins = static_cast<std::uint32_t>(channels), hertz = static_cast<std::uint32_t>(rate);
    put(36 + size, 4);
    out += "WAVEfmt ";
    put(16, 4), put(3, 2), put(pins, 2), put(hertz, 4), put(hertz * 4 * pins, 4), put(4 * pins, 2), put(32, 2);
    out += "data";
    put(size, 4);
    out.append(reinterpret_cast<const char*>(samples.data()), size);
    return out;
}

FileSource file(const std::string& name)
{
    const std::map<std::string, std::string> files{
        {"taps.txt", "# an impulse response\n0.5, +0.25\r\n\n-1e-3 # the last\n"},
        {"curve.csv", "-60;-60\n0;-30\n"},
        {"wrong.txt", "1\n2 x\nnan\n"},
        {"two.wav", wav(48000, 2, {0.5F, 1, 0.25F, 2, -1e-3F, 3})},
        {"nan.wav", wav(48000, 1, {0, NAN})},
        {"long.wav", wav(48000, 1, std::vector<float>(65537))},
        {"slow.wav", wav(44100, 1, {1})},
        {"cut.wav", wav(48000, 1, {1, 2, 3}).substr(0, 52)},
        {"noise", std::string("\0\1\2", 3)}};
    const auto found = files.find(name);
    if (found == files.end())
        throw UserError("there is none");
    return {"dir/" + name, found->second};
}

Schematic fir(const std::string& taps, const std::string& more = "")
{
    return parse_schematic(
        R"({"rate": 48000, "inputs": 1, "blocks": {"f": {"type": "FILTER_FIR", "params": {"taps": )" + taps +
            R"(}}}, "wires": [["input", "f"], ["f", "output"]])" + more + "}",
        {.file = file});
}

}  // namespace

TEST(TableFile, HoldsWhatWouldStandInItsPlace)
{
    const Schematic plain = fir("[0.5, 0.25, -1e-3]");
    for (const char* from : {R"({"file": "taps.txt"})", R"({"file": "two.wav", "channel": 0})"})
        EXPECT_EQ(differences(fir(from), plain), std::vector<std::string>{}) << from;
    const std::string later = R"(, "changes": [{"at": 1, "set": {"f.taps": {"file": "two.wav", "channel": 1}}}])";
    EXPECT_EQ(fir("[1]", later).changes.at(0).vector, (std::vector<float>{3, 1, 2, 3}));
    const auto curve = [](const std::string& rows) {
        return parse_schematic(R"({"rate": 48000, "inputs": 1, "blocks": {"c": {"part": "p", "set": {"c.curve": )" +
                                   rows + R"(}}}, "parts": {"p": {"blocks": {"c": {"type": "DP_COMPRESSOR_PEAK"}}}}})",
                               {.file = file});
    };
    EXPECT_EQ(differences(curve(R"({"file": "curve.csv"})"), curve("[[-60, -60], [0, -30]]")),
              std::vector<std::string>{});
}

TEST(TableFile, IsReportedWithItsPlaceWhereItIsWrong)
{
    const struct {
        const char *taps, *told;
    } cases[] = {
        {R"({"file": "wrong.txt"})", "dir/wrong.txt:2:3: /blocks/f/params/taps: x: a number\n"
                                     "dir/wrong.txt:3:1: /blocks/f/params/taps: nan: a number\n"},
        {R"({"file": "curve.csv", "channel": 0})", R"(/taps/channel: 0: nothing: the file is a text)"},
        {R"({"file": "two.wav"})", R"(/taps/file: "two.wav": with a "channel" from 0: it has 2)"},
        {R"({"file": "two.wav", "channel": 2})", "/taps/channel: 2: a channel from 0 to 1"},
        {R"({"file": "nan.wav"})", "its sample 1 is none"},
        {R"({"file": "long.wav"})", "at most 65536 rows; this one has 65537 samples"},
        {R"({"file": "slow.wav"})", "a file of 48000 Hz, as the schematic; this one has 44100 Hz"},
        {R"({"file": "noise"})", "a sound file, or a text of numbers"},
        {R"({"file": "gone.txt"})", R"(/taps/file: "gone.txt": there is none)"},
        {R"({"path": "taps.txt"})", "/taps/path: \"path\": unknown key"},
        {"{}", "/taps/file: missing"},
    };
    for (const auto& c : cases) {
        std::string told;
        try {
            fir(c.taps);
        } catch (const UserError& error) {
            for (const Problem& problem : error.problems())
                told += text_of(problem) + '\n';
        }
        EXPECT_NE(told.find(c.told), told.npos) << c.taps << '\n' << told;
    }
}
