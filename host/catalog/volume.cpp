// SPDX-License-Identifier: Apache-2.0
#include "catalog/categories.h"
#include "catalog/rows.h"

namespace vantoro::rows {
namespace {

constexpr PinNote kGainPin[] = {control(0, "gain", "linear, once a block")};
constexpr PinNote kUnread[] = {control(0, "unused", "not read")};

constexpr Slot kVolumeDb = value(real("volumeDb", "dB", 0, "of all channels"));
constexpr Param kVolume[] = {real("volumeDb", "dB", 0, "")};
constexpr Table kVolumes = per(Per::output, "volumes", kVolume, "of each channel");
constexpr Slot kSingle[] = {kVolumeDb}, kSingleSlew[] = {slew_rate(12), kVolumeDb};
constexpr Slot kMulti[] = {entries(kVolumes)}, kMultiSlew[] = {slew_rate(12), entries(kVolumes)};
constexpr Slot kByPin[] = {slew_rate(12)};

constexpr Param kPoint[] = {real("time", "ms", 0, "ascending"),
                            real("gainDb", "dB", 0, {-120, 24}, "whole dB are used")};
constexpr float kBursts[] = {0, -100, 2, 0, 502, -100, 504, 0, 1004, -70, 1104, 0};
constexpr Table kPoints = list("points", kPoint, 0, kMany, kBursts, "lines in dB between them", Table::Order::columns);
constexpr Slot kEnvelope[] = {value(flag("loop", 0, "1 repeats the curve")), count(kPoints), entries(kPoints)};

constexpr Slot kMute[] = {value(flag("switch", 0, "1 mutes")), value(flag("slew", 1, "0 changes at once"))};

constexpr BlockType kTypes[] = {
    {EN_VC_SIG_CONTROL, "VC_SIG_CONTROL", "one volume for all channels", kSame, kSingle},
    {EN_VC_MULTI_CONTROL, "VC_MULTI_CONTROL", "a volume for each channel", kSame, kMulti},
    {EN_VC_SIG_CONTROL_SLEW, "VC_SIG_CONTROL_SLEW", "one gliding volume for all channels", kSame, kSingleSlew},
    {EN_VC_MULTI_CONTROL_SLEW, "VC_MULTI_CONTROL_SLEW", "a gliding volume for each channel", kSame, kMultiSlew},
    {EN_VC_SIG_EXT_CONTROL_SLEW, "VC_SIG_EXT_CONTROL_SLEW", "gliding volume from a pin", kControlled, kByPin, kGainPin},
    {EN_VC_GAINENVELOPE, "VC_GAINENVELOPE", "gain along a curve in time", kControlled, kEnvelope, kUnread},
    {EN_VC_MUTE, "VC_MUTE", "mute", kSame, kMute},
};

}  // namespace

constinit const Category kVolumeTypes{EN_VC, "Volume", kTypes};

}  // namespace vantoro::rows
