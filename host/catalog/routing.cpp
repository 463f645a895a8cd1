// SPDX-License-Identifier: Apache-2.0
#include "catalog/categories.h"
#include "catalog/rows.h"

namespace vantoro::rows {
namespace {

// ---- mixers and splitters ----

constexpr PinRule kStereo{
    "2n -> 2", {4, 2}, [](Pins p) { return p.inputs >= 2 && p.inputs % 2 == 0 && p.outputs == 2; }};
constexpr PinRule kMatrix{"n -> m", {2, 2}, [](Pins p) { return p.inputs >= 1 && p.outputs >= 1; }};

constexpr Slot kGainDb[] = {value(real("gainDb", "dB", 0, "of every path"))};
constexpr Slot kGainDbSlew[] = {slew_rate(15), kGainDb[0]};
constexpr Param kGain[] = {real("gainDb", "dB", 0, "")};
constexpr Table kPerInput = per(Per::input, "gains", kGain, "gain of each input");
constexpr Table kPerPair = per(Per::input_pair, "gains", kGain, "gain of each pair of inputs");
constexpr Table kPerOutput = per(Per::output, "gains", kGain, "gain of each output");
constexpr Table kPerPath =
    per(Per::crosspoint, "gains", kGain, "a row per input: its gain to each output", Per::output);
constexpr Slot kInputs[] = {entries(kPerInput)}, kInputsSlew[] = {slew_rate(15), entries(kPerInput)};
constexpr Slot kPairGains[] = {entries(kPerPair)}, kPairGainsSlew[] = {slew_rate(15), entries(kPerPair)};
constexpr Slot kOutputs[] = {entries(kPerOutput)}, kOutputsSlew[] = {slew_rate(15), entries(kPerOutput)};
constexpr Slot kPaths[] = {entries(kPerPath)}, kPathsSlew[] = {slew_rate(15), entries(kPerPath)};

constexpr BlockType kMixerTypes[] = {
    {EN_MIXERS_MERGE, "MIXERS_MERGE", "mean of the inputs", kToOne},
    {EN_MIXERS_SINGLE, "MIXERS_SINGLE", "sum of the inputs, one gain", kToOne, kGainDb},
    {EN_MIXERS_MULTI, "MIXERS_MULTI", "sum of the inputs, a gain each", kToOne, kInputs},
    {EN_MIXERS_STEREO, "MIXERS_STEREO", "sum of stereo pairs, a gain each", kStereo, kPairGains},
    {EN_MIXERS_CROSS, "MIXERS_CROSS", "matrix mixer", kMatrix, kPaths},
    {EN_SPLIT_SINGLE, "SPLIT_SINGLE", "one input to every output, one gain", kFromOne, kGainDb},
    {EN_SPLIT_MULTI, "SPLIT_MULTI", "one input to every output, a gain each", kFromOne, kOutputs},
    {EN_SPLIT_T_CONNECT, "SPLIT_T_CONNECT", "one input copied to every output", kFromOne},
    {EN_MIXERS_SINGLE_SLEW, "MIXERS_SINGLE_SLEW", "MIXERS_SINGLE with gliding gain", kToOne, kGainDbSlew},
    {EN_MIXERS_MULTI_SLEW, "MIXERS_MULTI_SLEW", "MIXERS_MULTI with gliding gains", kToOne, kInputsSlew},
    {EN_MIXERS_STEREO_SLEW, "MIXERS_STEREO_SLEW", "MIXERS_STEREO with gliding gains", kStereo, kPairGainsSlew},
    {EN_MIXERS_CROSS_SLEW, "MIXERS_CROSS_SLEW", "MIXERS_CROSS with gliding gains", kMatrix, kPathsSlew},
    {EN_SPLIT_SINGLE_SLEW, "SPLIT_SINGLE_SLEW", "SPLIT_SINGLE with gliding gain", kFromOne, kGainDbSlew},
    {EN_SPLIT_MULTI_SLEW, "SPLIT_MULTI_SLEW", "SPLIT_MULTI with gliding gains", kFromOne, kOutputsSlew},
};

// ---- switching ----

constexpr PinRule kMux{"k n -> n, k above 1", {2, 1}, [](Pins p) {
                           return p.outputs >= 1 && p.inputs > p.outputs && p.inputs % p.outputs == 0;
                       }};
constexpr PinRule kMuxIndex{"k n + 1 -> n", {3, 1}, [](Pins p) {
                                return p.outputs >= 1 && p.inputs > p.outputs && (p.inputs - 1) % p.outputs == 0;
                            }};
constexpr PinRule kDemux{"n -> k n, k above 1", {1, 2}, [](Pins p) {
                             return p.inputs >= 1 && p.outputs > p.inputs && p.outputs % p.inputs == 0;
                         }};
constexpr PinRule kDemuxIndex{
    "n + 1 -> k n", {2, 2}, [](Pins p) { return p.inputs >= 2 && p.outputs >= 1 && p.outputs % (p.inputs - 1) == 0; }};
constexpr PinRule kFade{"2n + 1 -> n", {3, 1}, [](Pins p) { return p.outputs >= 1 && p.inputs == 2 * p.outputs + 1; }};
constexpr PinNote kGroup[] = {control(0, "group", "limited to the groups there are, once a block")};
constexpr PinNote kChoice[] = {control(0, "choice", "0 or 1: which of each pair, once a block")};
constexpr PinNote kState[] = {control(0, "state", "compared with the ranges, once a block")};

constexpr Param kIndex{Param::Kind::integer, "index", {}, 0, 0, kAny, "the group selected", {}, Per::group};
constexpr Slot kSlew = value(flag("slew", 1, "0 changes at once"));
constexpr Slot kSwitch[] = {value(kIndex), kSlew, slew_rate(12, {})};
constexpr Slot kByPin[] = {kSlew, slew_rate(12, {})};
constexpr Slot kCrossfade[] = {slew_rate(12, {})};
constexpr Param kRange[] = {real("low", "", 1, "lower bound, included"), real("high", "", 1, "upper bound, included")};
constexpr Table kRanges = per(Per::output, "ranges", kRange, "an output is open while the control is in its range");
constexpr Slot kStates[] = {entries(kRanges)};

constexpr BlockType kSwitchTypes[] = {
    {EN_MUXES_MUXES_SWITCH, "MUXES_MUXES_SWITCH", "one of k groups of inputs", kMux, kSwitch},
    {EN_MUXES_MUXES_INDEX, "MUXES_MUXES_INDEX", "one of k groups of inputs, by a pin", kMuxIndex, kByPin, kGroup},
    {EN_MUXES_DEMUXES_SWITCH, "MUXES_DEMUXES_SWITCH", "the inputs to one of k groups of outputs", kDemux, kSwitch},
    {EN_MUXES_DEMUXES_INDEX, "MUXES_DEMUXES_INDEX", "the inputs to one of k groups of outputs, by a pin", kDemuxIndex,
     kByPin, kGroup},
    {EN_MUXES_CROSSFADE, "MUXES_CROSSFADE", "one of each pair of inputs, by a pin, with a fade", kFade, kCrossfade,
     kChoice},
    {EN_MUXES_STATE_MACHINE, "MUXES_STATE_MACHINE", "each signal while a control is in its range", kControlled, kStates,
     kState, true},
};

}  // namespace

constinit const Category kMixers{EN_MIXERS, "Mixers and splitters", kMixerTypes};
constinit const Category kSwitching{EN_MUXES, "Switching", kSwitchTypes};

}  // namespace vantoro::rows
