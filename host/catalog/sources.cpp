// SPDX-License-Identifier: Apache-2.0
#include "catalog/categories.h"
#include "catalog/rows.h"

namespace vantoro::rows {
namespace {

constexpr PinNote kFrequencyPins[] = {
    {PinNote::Side::input, 0, -1, 1, "frequency", "share of half the sampling rate, 0 to 0.99, once a block", true}};

constexpr Slot kSwitch = value(flag("switch", 1, "0 is silent"));
constexpr Slot kDc[] = {value(real("value", "", 1, "every sample"))};
constexpr Slot kSwitchValue[] = {value(whole("value", 0, {}, "every sample"))};
constexpr Slot kOscillator[] = {kSwitch, value(real("frequency", "Hz", 500, ""))};
constexpr Slot kSweep[] = {
    value(real("startFreq", "Hz", 20, "")),
    value(real("endFreq", "Hz", 24000, "")),
    value(real("repeatCounter", "", 2, "number of sweeps")),
    value(real("sweepTime", "s", 5, "length of a sweep")),
    value(real("phaseInc", "rad", 0, "phase at the start")),
    value(real("repeatTime", "s", 5, "from sweep to sweep; the end frequency fills the rest")),
    value(real("peak", "", 1, "amplitude")),
    kSwitch,
};
constexpr Slot kNoise[] = {
    kSwitch,
    value(real("mean", "", 0, "")),
    value(real("sigma", "", 0.01F, "variance: the square of the standard deviation")),
};

constexpr Param kPoint[] = {real("time", "ms", 0, "ascending"), real("frequency", "Hz", 0, ""),
                            real("gainDb", "dB", 0, "")};
constexpr float kUpAndDown[] = {0, 100, 0, 200, 2000, 0, 400, 8000, 0, 800, 5000, 0, 1004, 500, 0};
constexpr Table kPoints =
    list("points", kPoint, 1, 15, kUpAndDown, "lines between them, the last one goes on", Table::Order::columns);
constexpr Slot kClime[] = {
    count(kPoints),       value(real("maxTime", "ms", 1004, "from here on the last point")),
    first_of(kPoints, 0), first_of(kPoints, 1),
    first_of(kPoints, 2), kSwitch,
    entries(kPoints),
};
static_assert(std::size(kOscillator) == kOSCModuleSize);
static_assert(std::size(kSweep) == kSweepModuleSize);
static_assert(std::size(kNoise) == kWhiteNoiseModuleSize);

constexpr BlockType kTypes[] = {
    {EN_SOURCE_CLIME, "SOURCE_CLIME", "sine through points of frequency and level", kSource, kClime},
    {EN_SOURCE_DC, "SOURCE_DC", "constant", kSource, kDc},
    {EN_SOURCE_OSC_BEEQ, "SOURCE_OSC_BEEQ", "sine", kSource, kOscillator},
    {EN_SOURCE_OSC_SAWTOOTH, "SOURCE_OSC_SAWTOOTH", "sawtooth", kSource, kOscillator},
    {EN_SOURCE_OSC_SINE, "SOURCE_OSC_SINE", "sine", kSource, kOscillator},
    {EN_SOURCE_OSC_SQUARE, "SOURCE_OSC_SQUARE", "square wave", kSource, kOscillator},
    {EN_SOURCE_OSC_TRIANGLE, "SOURCE_OSC_TRIANGLE", "triangle", kSource, kOscillator},
    {EN_SOURCE_VCO, "SOURCE_VCO", "sines whose frequencies come from pins", kSame, {}, kFrequencyPins},
    {EN_SOURCE_WHITENOISE, "SOURCE_WHITENOISE", "Gaussian white noise", kSource, kNoise},
    {EN_SOURCE_SWEEP, "SOURCE_SWEEP", "exponential sine sweep", kSource, kSweep},
    {EN_SOURCE_SWITCH, "SOURCE_SWITCH", "constant whole number", kSource, kSwitchValue},
};

}  // namespace

constinit const Category kSources{EN_SOURCE, "Sources", kTypes};

}  // namespace vantoro::rows
