// SPDX-License-Identifier: Apache-2.0
// Non-linear blocks, the reverb, and the terminals.
#include "catalog/categories.h"
#include "catalog/rows.h"

namespace vantoro::rows {
namespace {

constexpr PinRule kLimited{"n + 2 -> n", {3, 1}, [](Pins p) { return p.outputs >= 1 && p.inputs == p.outputs + 2; }};
constexpr PinRule kRoom{
    "n -> n, n to 4", {2, 2}, [](Pins p) { return p.inputs >= 1 && p.inputs <= 4 && p.inputs == p.outputs; }};
constexpr PinRule kEntry{"0 -> n", {0, 2}, [](Pins p) { return p.inputs == 0 && p.outputs >= 1; }};
constexpr PinRule kExit{"n -> 0", {2, 0}, [](Pins p) { return p.inputs >= 1 && p.outputs == 0; }};

constexpr PinNote kLimits[] = {control(0, "upper", "upper limit, sample by sample"),
                               control(1, "lower", "lower limit, sample by sample")};

constexpr Slot kSoft[] = {value(real("alpha", "", 0.5F, "level at which the curve is flat"))};
constexpr Slot kReverb[] = {
    value(flag("enable", 0, "0 writes nothing")),
    value(real("dryLevel", "%", 80, "")),
    value(real("wetLevel", "%", 40, "")),
    value(real("roomSize", "", 0.95F, {0, 1}, "length of the decay")),
    value(real("damp", "", 0.2F, {0, 1}, "loss of treble")),
    value(real("width", "%", 100, "stereo width")),
};

constexpr BlockType kNonlinearTypes[] = {
    {EN_NLP_CLIPPERS_HARD, "NLP_CLIPPERS_HARD", "clipper between limits from pins", kLimited, {}, kLimits},
    {EN_NLP_CLIPPERS_SOFT, "NLP_CLIPPERS_SOFT", "cubic soft clipper", kSame, kSoft},
    {EN_NLP_CHANNEL_COPY, "NLP_CHANNEL_COPY", "one input copied to every output", kFromOne},
};
constexpr BlockType kInputTypes[] = {
    {EN_IN_AUDIO_INPUT, "IN_AUDIO_INPUT", "the graph's audio inputs", kEntry},
    {EN_IN_MULTI_INPUT, "IN_MULTI_INPUT", "the graph's audio inputs", kEntry},
    {EN_IN_CORE_INPUT, "IN_CORE_INPUT", "the graph's audio inputs", kEntry},
};
constexpr BlockType kOutputTypes[] = {
    {EN_OUT_SINK, "OUT_SINK", "the graph's audio outputs", kExit},
    {EN_OUT_MULTI_OUTPUT, "OUT_MULTI_OUTPUT", "the graph's audio outputs", kExit},
    {EN_OUT_CORE_OUTPUT, "OUT_CORE_OUTPUT", "the graph's audio outputs", kExit},
};
constexpr BlockType kReverbTypes[] = {{EN_QVALGO_REVERB, "QVALGO_REVERB", "room", kRoom, kReverb}};

}  // namespace

constinit const Category kNonlinear{EN_NLP, "Non-linear", kNonlinearTypes};
constinit const Category kInputTerminals{EN_IN, "Inputs", kInputTypes};
constinit const Category kOutputTerminals{EN_OUT, "Outputs", kOutputTypes};
constinit const Category kRooms{EN_QVALGO, "Reverb", kReverbTypes};

}  // namespace vantoro::rows
