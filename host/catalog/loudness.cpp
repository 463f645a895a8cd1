// SPDX-License-Identifier: Apache-2.0
#include "catalog/categories.h"
#include "catalog/rows.h"

namespace vantoro::rows {
namespace {

constexpr PinNote kVolume[] = {control(0, "volume", "linear, 0.001 to 1, once a block")};

constexpr Slot kBassFreq = value(real("bassFreq", "Hz", 60, "corner of the bass"));
constexpr Slot kBassGain = value(real("bassGain", "%", 0.9F, "share of the compensation"));
constexpr Slot kTrebleFreq = value(real("trebleFreq", "Hz", 7000, "corner of the treble"));
constexpr Slot kTrebleGain = value(real("trebleGain", "%", 0.9F, "share of the compensation"));
constexpr Slot kFilterType = value(whole("filterType", 0, {}, "kept, not used"));
constexpr Slot kLoudness[] = {
    kBassFreq,   kBassGain,   kTrebleFreq,
    kTrebleGain, kFilterType, value(real("postGainDb", "dB", -30, "the volume; the lower, the more compensation")),
};
constexpr Slot kLoudnessExt[] = {kBassFreq, kBassGain, kTrebleFreq, kTrebleGain, kFilterType, slew_rate(12, {})};

constexpr BlockType kTypes[] = {
    {EN_LOUDNESS_LH, "LOUDNESS_LH", "volume with bass and treble compensation", kSame, kLoudness},
    {EN_LOUDNESS_LH_EXT, "LOUDNESS_LH_EXT", "the same, volume from a pin", kControlled, kLoudnessExt, kVolume},
};

}  // namespace

constinit const Category kLoudnessTypes{EN_LOUDNESS, "Loudness", kTypes};

}  // namespace vantoro::rows
