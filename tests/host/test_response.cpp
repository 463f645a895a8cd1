// SPDX-License-Identifier: Apache-2.0
// Responses: from coefficients against formulas, measured against coefficients, and what becomes of them on paper.
#include "analysis/response.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <numbers>
#include <sstream>

#include <unistd.h>

#include <gtest/gtest.h>

#include "analysis/measure.h"
#include "analysis/plot.h"
#include "analysis/probe.h"
#include "analysis/speaker.h"
#include "schematic/reader.h"

namespace {

using namespace vantoro;
using std::numbers::pi;

constexpr int kRate = 8000;  // short windows; nothing here depends on it
const Axis kAxis = make_axis(kRate, 12);

Schematic graph(const std::string& blocks, const std::string& wires)
{
    return parse_schematic(R"({"blocks": {)" + blocks + R"(}, "wires": [)" + wires + "]}");
}

// One block between all inputs and outputs.
Schematic single(const std::string& type, const std::string& params)
{
    return graph(R"("a": {"type": ")" + type + R"(", "params": )" + params + "}", R"(["input", "a"], ["a", "output"])");
}

Computed exactly(const Schematic& schematic, const Axis& axis = kAxis, int from = 0)
{
    Engine engine(schematic, axis.rate);
    for (int n = 0; n < 2 * axis.rate; n += engine.block_size())
        EXPECT_TRUE(engine.process());
    return compute(engine, from, axis);
}

// Largest differences in dB and degrees where the first is less than 60 dB under its peak, up to 20 kHz.
void expect_same(const Spectrum& a, const Spectrum& b, const Axis& axis, const std::string& what)
{
    ASSERT_EQ(a.size(), b.size()) << what;
    double top = -1e9;
    for (const auto h : a)
        top = std::max(top, magnitude_db(h));
    double worst_db = 0;
    double worst_deg = 0;
    for (std::size_t i = 0; i < a.size() && axis.hz(i) <= 20000; ++i)
        if (magnitude_db(a[i]) > top - 60) {
            worst_db = std::max(worst_db, std::abs(magnitude_db(a[i]) - magnitude_db(b[i])));
            worst_deg = std::max(worst_deg, std::abs(phase_deg(a[i] / b[i])));
        }
    EXPECT_LT(worst_db, 0.1) << what;
    EXPECT_LT(worst_deg, 1.0) << what;
}

void expect_agreement(const Schematic& schematic, const Axis& axis, const std::string& what, int from = 0)
{
    const Computed computed = exactly(schematic, axis, from);
    ASSERT_TRUE(computed.ids.empty()) << what;
    const auto measured = measure(schematic, from, axis, Stimulus::impulse, 0);
    ASSERT_EQ(computed.outputs.size(), measured.size()) << what;
    for (std::size_t out = 0; out < measured.size(); ++out)
        expect_same(computed.outputs[out], measured[out], axis, what + " output " + std::to_string(out));
}

// ---- from coefficients ----

TEST(Coefficients, FollowTheFormulas)
{
    // The tolerance is that of coefficients in single precision at a corner of an eighth of the rate.
    const double corner = std::tan(pi * 1000 / kRate);
    const double pole = std::pow(2.72, -2 * pi * 1000 / kRate);
    const auto butter =
        exactly(single("FILTER_2ND_BESSEL_BUTTER", R"({"type": "ButterLP", "polarity": true})")).outputs[0];
    const auto first = exactly(single("FILTER_1ST", R"({"type": "HP1st"})")).outputs[0];
    const auto taps = exactly(single("FILTER_FIR", R"({"taps": [0.5, 0, 0.5]})")).outputs[0];
    const auto late = exactly(single("BASIC_DSP_DELAY", R"({"maxDelay": 9, "delay": 5})")).outputs[0];
    for (std::size_t i = 0; i + 1 < kAxis.bins.size(); ++i) {
        const double w = kAxis.radians(i);
        const std::complex<double> s(0, std::tan(w / 2) / corner), z = std::polar(1.0, -w);
        EXPECT_LT(std::abs(butter[i] + 1.0 / (1.0 + std::sqrt(2.0) * s + s * s)), 1e-5) << kAxis.hz(i);
        EXPECT_LT(std::abs(first[i] - (1 + pole) / 2 * (1.0 - z) / (1.0 - pole * z)), 1e-5) << kAxis.hz(i);
        EXPECT_LT(std::abs(taps[i] - std::cos(w) * z), 1e-12) << kAxis.hz(i);
        EXPECT_LT(std::abs(late[i] - std::polar(1.0, -5 * w)), 1e-12) << kAxis.hz(i);
    }
}

// The state-variable filter leaves the stable region where f^2 + 2 f / Q > 4 with f = 2 sin(pi fc / rate).
TEST(Coefficients, UnstableBlocksAreTold)
{
    const auto told = [](const std::string& type, const std::string& params) {
        return exactly(graph(R"("a": {"type": ")" + type + R"(", "params": )" + params + "}",
                             R"(["input.0", "a"], ["a", "output"])"))
            .unstable;
    };
    const std::vector<std::string> a{"a"};
    EXPECT_TRUE(told("FILTER_MISCE_STATEVARIABLE", R"({"fc": 1380, "q": 0.707})").empty());
    EXPECT_EQ(told("FILTER_MISCE_STATEVARIABLE", R"({"fc": 1390, "q": 0.707})"), a);
    EXPECT_EQ(told("FILTER_2ND_IIR", R"({"a1": 0, "a2": 1.001})"), a);
    EXPECT_EQ(told("FILTER_2ND_IIR", R"({"a1": -1.001, "a2": 0})"), a);
    EXPECT_TRUE(told("FILTER_1ST", R"({"fc": 0})").empty());  // a pole on the circle stays where it is
}

TEST(Coefficients, OnlyWhatTheSignalReachesMustBeLinear)
{
    const std::string blocks =
        R"("eq": {"type": "FILTER_2ND_GENERAL"}, "square": {"type": "BASIC_ARITH_MUL"}, "tone": {"type": "SOURCE_DC"},
           "level": {"type": "BASIC_ARITH_ABS"}, "curve": {"type": "FILTER_LOOKUP_TONE_PEAK"})";
    const auto beside = exactly(graph(blocks, R"(["input.0", "eq"], ["tone", "level"], ["level", "curve.0"],
                                                 ["eq", "curve.1"], ["curve", "output"])"));
    EXPECT_TRUE(beside.ids.empty());
    const auto through = exactly(graph(blocks, R"(["input.0", "eq"], ["eq", "square.0"], ["eq", "square.1"],
                                                  ["eq", "curve.0"], ["square", "curve.1"], ["curve", "output"])"));
    EXPECT_EQ(through.ids, (std::vector<std::string>{"square", "curve"}));  // a curve that the signal selects
    const auto other =
        exactly(graph(blocks, R"(["input.0", "eq"], ["eq", "output.0"], ["input.1", "output.1"])"), kAxis, 1);
    EXPECT_TRUE(other.outputs[0].empty());
    EXPECT_EQ(other.outputs[1], Spectrum(kAxis.bins.size(), 1.0));
}

// ---- measured ----

// Parameters that tell one pin, band or sign from another; "{}" where the defaults do.
std::string telling(const std::string& name)
{
    static const std::map<std::string, std::string> kParams = {
        {"MIXERS_CROSS", R"({"gains": [[0, -6], [-12, 3]]})"},
        {"MIXERS_MULTI", R"({"gains": [-3, -9]})"},
        {"SPLIT_MULTI", R"({"gains": [-3, -9, 0, 2]})"},
        {"VC_MULTI_CONTROL", R"({"volumes": [-3, -9]})"},
        {"FILTER_CROSSOVER_3WAY",
         R"({"lowType": "Butter18", "highType": "LR48", "medHpType": "Bessel12", "polarity2": true})"},
        {"FILTER_TEXTEQ", R"({"bands": [{"boostDb": 9, "fc": 300}, {"enable": false, "boostDb": 9},
                                        {"type": "Text_HS1st", "boostDb": -4}]})"},
        {"FILTER_GRAPHICAL_EQ", R"({"bands": [{"boostDb": 9, "fc": 300}, {"bypass": true},
                                              {"type": "GraphicalEQ_LS", "fc": 100, "boostDb": -4}]})"},
        {"LOUDNESS_LH", R"({"bassFreq": 200, "bassGain": 60, "trebleGain": 20, "postGainDb": -20})"},
        {"FILTER_FIR", R"({"taps": [0.1, 0.5, -0.3, 0.2]})"},
        {"MUXES_MUXES_SWITCH", R"({"index": 1})"},
        {"MUXES_DEMUXES_SWITCH", R"({"index": 1})"},
    };
    const auto found = kParams.find(name.substr(0, name.find("_SLEW")));
    return found == kParams.end() ? "{}" : found->second;
}

// More than the fewest channels, where the parameters above need them.
std::optional<PinCounts> telling_pins(const BlockType& type)
{
    const std::string name(type.name);
    if (name.starts_with("VC_MULTI"))
        return complete_pins(type, 2, 2);
    if (name.starts_with("SPLIT") || name == "MUXES_DEMUXES_SWITCH")
        return complete_pins(type, {}, 4);
    return complete_pins(type, {}, {});
}

TEST(Measured, EveryTypeAgreesWithItsCoefficients)
{
    int compared = 0;
    for (const BlockType* each : every_type()) {
        const BlockType& type = *each;
        const std::string name(type.name);
        const auto pins = telling_pins(type);
        if (!pins || pins->inputs == 0 || pins->outputs == 0)
            continue;
        const std::string counts =
            R"(, "inputs": )" + std::to_string(pins->inputs) + R"(, "outputs": )" + std::to_string(pins->outputs);
        std::string wires = R"(["a", "output"])";
        int signals = 0;
        for (int pin = 0; pin < pins->inputs; ++pin) {
            const bool control = is_control(type, pin, *pins);
            wires += (control ? R"(, ["one", "a.)" : R"(, ["input.)" + std::to_string(signals++) + R"(", "a.)") +
                     std::to_string(pin) + R"("])";
        }
        SCOPED_TRACE(name);
        const Schematic schematic = graph(R"("one": {"type": "SOURCE_DC", "params": {"value": 1}}, "a": {"type": ")" +
                                              name + '"' + counts + R"(, "params": )" + telling(name) + "}",
                                          wires);
        for (int from = 0; from < std::min(signals, 2); ++from)
            if (exactly(schematic, kAxis, from).ids.empty()) {
                expect_agreement(schematic, kAxis, name, from);
                ++compared;
            }
    }
    EXPECT_GT(compared, 50);
}

TEST(Measured, ExamplesAgreeWithTheirCoefficients)
{
    const Axis axis = make_axis(48000, 24);
    for (const int from : {0, 1})
        expect_agreement(read_schematic(EXAMPLES "/two_way.json"), axis, "two_way.json", from);
    expect_agreement(
        probe_blocks(read_schematic(EXAMPLES "/loudspeaker.json"), {"subsonic", "eq", "loudness", "makeup"}).schematic,
        axis, "loudspeaker.json");
    // A window grows until the response is over: this one rings for seconds.
    expect_agreement(single("FILTER_2ND_GENERAL", R"({"fc": 21, "q": 16, "boostDb": 24})"), axis, "resonance");
    // A window need not be whole blocks.
    std::string taps = "1";
    for (int i = 0; i < 60; ++i)
        taps.insert(0, "0, ");
    Schematic odd = single("FILTER_FIR", R"({"taps": [)" + taps + "]}");
    odd.block_size = 48;
    expect_agreement(odd, kAxis, "blocks of 48");
}

// The gain of a compressor under its knee is that of its curve; the source beside it drops out.
TEST(Measured, DynamicsAtALowLevel)
{
    const std::string eq = R"("eq": {"type": "FILTER_2ND_GENERAL", "params": {"fc": 300, "boostDb": 9}})";
    const auto schematic =
        graph(eq + R"(, "press": {"type": "DP_COMPRESSOR_RMS", "params": {"curve": [[-90, -90], [-20, -20], [0, -15]]}},
                  "tone": {"type": "SOURCE_OSC_SINE"}, "sum": {"type": "BASIC_ARITH_ADD"})",
              R"(["input.0", "eq"], ["eq", "press"], ["press", "sum.0"], ["tone", "sum.1"], ["sum", "output"])");
    EXPECT_EQ(exactly(schematic).ids, std::vector<std::string>{"press"});
    const auto measured = measure(schematic, 0, kAxis, Stimulus::sweep, -60);
    const auto alone = exactly(graph(eq, R"(["input.0", "eq"], ["eq", "output"])"));
    expect_same(alone.outputs[0], measured[0], kAxis, "compressor");
    // Far above the knee it is no longer flat.
    const auto loud = measure(schematic, 0, kAxis, Stimulus::sweep, 0);
    EXPECT_LT(magnitude_db(loud[0][40]), magnitude_db(measured[0][40]) - 3);
}

// Filters at low corners are noisy for ever: at -80 dB, which is no tail.
TEST(Measured, NoiseOfLowCornersIsNoTail)
{
    const std::string filters = R"("hp": {"type": "FILTER_2ND_BESSEL_BUTTER", "params": {"type": "ButterHP", "fc": 25}},
        "x": {"type": "FILTER_CROSSOVER_2WAY", "params": {"lowFc": 350, "highFc": 350}})";
    const auto measured = measure(graph(filters + R"(, "limit": {"type": "DP_LIMITER"})",
                                        R"(["input.0", "hp"], ["hp", "x"], ["x.0", "limit"], ["limit", "output"])"),
                                  0, kAxis, Stimulus::sweep, -60);
    const auto alone = exactly(graph(filters, R"(["input.0", "hp"], ["hp", "x"], ["x.0", "output"])"));
    EXPECT_NEAR(magnitude_db(measured[0][30]), magnitude_db(alone.outputs[0][30]), 0.01);
}

TEST(Measured, WhatNeverSettlesIsRefused)
{
    const auto schematic = graph(R"("e": {"type": "VC_GAINENVELOPE", "params": {"loop": true}})",
                                 R"(["input.0", "e.1"], ["e", "output"])");
    EXPECT_THROW(measure(schematic, 0, kAxis, Stimulus::impulse, 0), std::runtime_error);
}

// ---- parts of a graph ----

TEST(Probes, AChainHearsItsInputAndKeepsItsControls)
{
    const auto whole = graph(
        R"("a": {"type": "BASIC_GAIN", "params": {"gain": 0.5, "type": "Linear"}}, "b": {"type": "FILTER_1ST"},
           "select": {"type": "SOURCE_DC", "params": {"value": 2}}, "curve": {"type": "FILTER_LOOKUP_TONE_PEAK"},
           "deaf": {"type": "BASIC_ARITH_ABS"})",
        R"(["input.0", "b"], ["b", "a"], ["a", "curve.1"], ["select", "curve.0"], ["curve", "output"], ["input.0", "deaf"])");
    const Probe chain = probe_blocks(whole, {"a", "curve"});  // not the order of the graph: b is skipped
    EXPECT_EQ(chain.schematic.blocks.size(), 3U);
    EXPECT_EQ(chain.names, std::vector<std::string>{"curve"});
    const auto half = exactly(chain.schematic).outputs[0];
    const auto curve = exactly(probe_blocks(whole, {"curve"}).schematic).outputs[0];
    for (std::size_t i = 0; i < half.size(); ++i)
        EXPECT_LT(std::abs(half[i] - 0.5 * curve[i]), 1e-12);
    EXPECT_EQ(probe_graph(whole).names, std::vector<std::string>{"output 0 (curve)"});
    EXPECT_EQ(probe_graph(whole).schematic.blocks.size(), 4U);
    EXPECT_NO_THROW(probe_blocks(whole, {"a", "b"}));  // against the wires
    EXPECT_THROW(probe_blocks(whole, {"a", "a"}), UserError);
    EXPECT_THROW(probe_blocks(whole, {"x"}), UserError);
}

// A title names the curve where no other has it; pins are numbered only where their names leave them open.
TEST(Probes, TitlesNameCurves)
{
    const auto names = [](const std::string& type, const char* wires) {
        return probe_graph(graph(R"("a": {"title": "Mine", "type": ")" + type + "\"}", wires)).names;
    };
    EXPECT_EQ(names("FILTER_CROSSOVER_2WAY", R"(["input.0", "a"], ["a", "output"])"),
              (std::vector<std::string>{"Mine low", "Mine high"}));
    EXPECT_EQ(names("FILTER_CROSSOVER_2WAY", R"(["input.0-1", "a"], ["a.0", "output.0"], ["a.2", "output.1"])"),
              (std::vector<std::string>{"Mine.0 low", "Mine.2 low"}));
    EXPECT_EQ(
        names("FILTER_MISCE_STATEVARIABLEQ", R"(["input.0", "a.1"], ["a.2", "output.0"], ["input.0", "output.1"])"),
        (std::vector<std::string>{"Mine band", "output 1 (input)"}));
    EXPECT_EQ(names("FILTER_1ST", R"(["input.0", "a"], ["a", "output"])"), std::vector<std::string>{"Mine"});
    EXPECT_EQ(names("FILTER_1ST", R"(["input.0", "a"], ["a", "output.0"], ["a", "output.1"])"),
              (std::vector<std::string>{"output 0 (Mine)", "output 1 (Mine)"}));
}

// ---- the loudspeaker's file, and paper ----

std::string speaker_file(const std::string& text)
{
    const auto path = std::filesystem::temp_directory_path() / ("speaker-" + std::to_string(::getpid()) + ".txt");
    std::ofstream(path) << text;
    return path.string();
}

TEST(Speaker, LinesBetweenRowsAndNothingBeyond)
{
    const std::string path = speaker_file("a\nb\n100 0 170\n300 -20 -170\r\n\n 500\t-20 -170 0.9\n");
    const auto values = read_speaker(path, kAxis);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double hz = kAxis.hz(i);
        if (hz < 100 || hz > 500) {
            EXPECT_TRUE(std::isnan(values[i].real())) << hz;
            continue;
        }
        EXPECT_NEAR(magnitude_db(values[i]), hz < 300 ? -(hz - 100) / 10 : -20, 1e-9);
        const double deg = hz < 300 ? 170 + (hz - 100) / 10 : 190;  // the shorter way, through 180
        EXPECT_NEAR(std::remainder(phase_deg(values[i]) - deg, 360), 0, 1e-9);
    }
    const std::pair<const char*, std::string> faults[] = {
        {"", "at least two rows of frequency in Hz, level in dB and phase in degrees are wanted"},
        {"a\nb\n100 0 0\n", "at least two rows of frequency in Hz, level in dB and phase in degrees are wanted"},
        {"a\nb\n100 0 0\n90 0 0\n", ":4:1: frequencies must rise"},
        {"a\nb\n100 0 0\n200\t1,5x 0\n", ":4:5: 1,5x: a level in dB"},
        {"a\nb\n100 0 0\n-200 0 0\n", ":4:1: -200: a frequency in Hz from 0"},
        {"100 0 0\n200;0;1e999\n", ":2:7: 1e999: a phase in degrees"},
        {"a\nb\n100 0 0\n200\n", ":4:4: a level in dB"},
    };
    for (const auto& [bad, wanted] : faults)
        try {
            read_speaker(speaker_file(bad), kAxis);
            ADD_FAILURE() << bad;
        } catch (const UserError& error) {
            EXPECT_EQ(text_of(error.problems().front()), path + (wanted[0] == ':' ? "" : ": ") + wanted);
        }
    std::filesystem::remove(path);
    EXPECT_THROW(read_speaker(path, kAxis), UserError);
}

TEST(Plot, TitlesStayText)
{
    const std::vector<Curve> curves = {{"it's\n`id`\\", Spectrum(kAxis.bins.size(), 1.0)}};
    const std::string script = plot_script(kAxis, curves, "'; system('x')\n# ]]> \xff", "svg");
    EXPECT_NE(script.find("title '_; system(_x_)_n# ]]_ _xff'"), std::string::npos);
    EXPECT_NE(script.find("title 'it_s_n`id`_'"), std::string::npos);
}

TEST(Plot, ScaleHoldsTheCurve)
{
    Spectrum curve(kAxis.bins.size(), 1.0);
    curve[3] = 0.0071;
    curve[4] = 1.41;
    EXPECT_NE(plot_script(kAxis, {{"deep", curve}}, "", "svg").find("set yrange [-45:5]\nset ytics 5\n"),
              std::string::npos);
}

// What is drawn is the curve, to a tenth of a point on paper, in a fraction of its points.
TEST(Plot, StraightStretchesNeedTwoPoints)
{
    const Axis axis = make_axis(48000, 48);
    const Spectrum curve = exactly(single("FILTER_2ND_GENERAL", R"({"q": 8, "boostDb": 12})"), axis).outputs[0];
    std::istringstream script(plot_script(axis, {{"peak", curve}}, "", "svg"));
    std::string line;
    std::getline(script, line);
    ASSERT_EQ(line, "$m0 << EOD");
    double last_hz = 0, last_db = 0, hz = 0, db = 0, worst = 0;
    std::size_t at = 0;
    int drawn = 0;
    for (; std::getline(script, line) && std::sscanf(line.c_str(), "%lf %lf", &hz, &db) == 2; ++drawn) {
        for (; at < curve.size() && axis.hz(at) <= hz * 1.00001; ++at)
            if (drawn > 0)
                worst = std::max(
                    worst, std::abs(magnitude_db(curve[at]) -
                                    std::lerp(last_db, db, std::log(axis.hz(at) / last_hz) / std::log(hz / last_hz))));
        last_hz = hz;
        last_db = db;
    }
    EXPECT_EQ(at, curve.size());
    EXPECT_LT(worst, 0.008);  // of a frame of 20 dB in 3130 tenths of a point, and the digits
    EXPECT_LT(drawn, 120);    // of 493
    EXPECT_GT(drawn, 20);
}

// gnuplot leaves out of a legend what it finds no room for.
TEST(Plot, TheLegendHasRoomForEveryName)
{
    for (const std::size_t count : {1U, 8U, 13U, 40U})
        for (const std::size_t length : {1U, 20U, 60U}) {
            const std::vector<Curve> curves(count, {std::string(length, 'W'), Spectrum(kAxis.bins.size(), 1.0)});
            const std::string script = plot_script(kAxis, curves, "", "svg");
            int height = 0, columns = 0, rows = 0;
            std::sscanf(script.c_str() + script.find("size 860,"), "size 860,%d", &height);
            std::sscanf(script.c_str() + script.find("maxcols"), "maxcols %d maxrows %d", &columns, &rows);
            EXPECT_GE(static_cast<std::size_t>(columns * rows), count);
            EXPECT_GE(height, 570 + 24 * rows);  // below the axis, in the font's rows
            EXPECT_TRUE(columns == 1 || columns * (8 * length + 40) < 765) << columns << " columns of " << length;
        }
}

TEST(Axis, HasTheRoundFrequencies)
{
    const Axis axis = make_axis(48000, 3);
    std::vector<double> hz;
    for (std::size_t i = 0; i < axis.bins.size(); ++i)
        hz.push_back(axis.hz(i));
    EXPECT_EQ(hz.front(), 20);
    EXPECT_EQ(hz.back(), 24000);
    for (const double round : {31.25, 125.0, 500.0, 1000.0, 2000.0, 16000.0})
        EXPECT_EQ(std::ranges::count(hz, round), 1) << round;
    EXPECT_TRUE(std::ranges::is_sorted(hz, std::less_equal<>()));
}

TEST(Plot, TableHasARowAFrequency)
{
    Spectrum half(kAxis.bins.size(), 0.5);
    half[0] = std::numeric_limits<double>::quiet_NaN();
    const std::string text = csv_text(kAxis, {{"one", Spectrum(half.size(), {0, 1})}, {"half", half}});
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(text, '\n')), kAxis.bins.size() + 1);
    EXPECT_TRUE(text.starts_with("frequency (Hz),one (dB),one (deg),half (dB),half (deg)\n20,0.0000,90.000,,\n"))
        << text.substr(0, 100);
    EXPECT_TRUE(text.ends_with("\n4000,0.0000,90.000,-6.0206,0.000\n"));
    const std::string quoted = csv_text(kAxis, {{"a 5\" way, measured", half}});
    EXPECT_TRUE(quoted.starts_with("frequency (Hz),\"a 5\"\" way, measured (dB)\",\"a 5\"\" way, measured (deg)\"\n"));
}

}  // namespace
