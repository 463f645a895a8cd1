// SPDX-License-Identifier: Apache-2.0
#include "catalog/categories.h"
#include "catalog/rows.h"

namespace vantoro::rows {
namespace {

constexpr PinRule kEnvelope{"2 or more -> 1", {2, 1}, [](Pins p) { return p.inputs >= 2 && p.outputs == 1; }};
constexpr PinNote kDecayPin[] = {control(0, "decayTime", "ms, sample by sample"), input(1, "signal")};
constexpr PinNote kSidechain[] = {input(0, "sidechain", "measured for every channel")};

constexpr Slot kHoldTime = value(real("holdTime", "ms", 0, "before a level may fall"));
constexpr Slot kDecayTime = value(real("decayTime", "ms", 200, "fall of the level"));
constexpr Slot kRmstc = value(real("rmstc", "ms", 200, "mean square; larger follows faster"));

constexpr Slot kEnv[] = {value(real("holdTime", "ms", 0, "above 0 the envelope only rises")), kDecayTime};
constexpr Slot kEnvExt[] = {kHoldTime};
constexpr Slot kEnvRms[] = {kHoldTime, kDecayTime, kRmstc};

constexpr Slot kLimiter[] = {
    kRmstc,
    value(real("decayTime", "ms", 200, "return of the gain")),
    value(real("thresholdDb", "dB", -3, "of the mean square")),
};

constexpr Param kCurvePoint[] = {real("in", "dB", 0, "input level, ascending; a point at 0 dB ends the curve"),
                                 real("out", "dB", 0, "output level")};
constexpr float kIdentity[] = {-80, -80, -60, -60, -40, -40, -20, -20, 0, 0};
constexpr Table kCurve = list("curve", kCurvePoint, 0, 10, kIdentity, "static curve; unity gain above its last point",
                              Table::Order::columns);
constexpr Slot kCompressor[] = {
    kRmstc,
    value(real("holdTime", "ms", 0, "before a level may fall; one counter for all channels")),
    kDecayTime,
    value(real("softKnee", "", 0, "kept, not used")),
    value(real("postGainDb", "dB", 0, "make-up as a power ratio: 6 dB is a factor of 3.98")),
    count(kCurve),
    entries(kCurve),
};
static_assert(std::size(kEnvRms) == kEnvModuleSize);
static_assert(std::size(kLimiter) == kLimiterModuleSize);

constexpr BlockType kTypes[] = {
    {EN_DP_ENV, "DP_ENV", "peak envelope", kOneOne, kEnv},
    {EN_DP_ENV_EXT_DECAY, "DP_ENV_EXT_DECAY", "peak envelope, decay from a pin", kEnvelope, kEnvExt, kDecayPin},
    {EN_DP_ENV_RMS, "DP_ENV_RMS", "mean square envelope", kOneOne, kEnvRms},
    {EN_DP_LIMITER, "DP_LIMITER", "limiter of the mean square, channel by channel", kSame, kLimiter},
    {EN_DP_COMPRESSOR_RMS, "DP_COMPRESSOR_RMS", "compressor, mean square", kSame, kCompressor},
    {EN_DP_COMPRESSOR_PEAK, "DP_COMPRESSOR_PEAK", "compressor, peak", kSame, kCompressor},
    {EN_DP_COMPRESSOR_EXT_RMS, "DP_COMPRESSOR_EXT_RMS", "compressor, mean square of a sidechain", kControlled,
     kCompressor, kSidechain},
    {EN_DP_COMPRESSOR_EXT_PEAK, "DP_COMPRESSOR_EXT_PEAK", "compressor, peak of a sidechain", kControlled, kCompressor,
     kSidechain},
};

}  // namespace

constinit const Category kDynamics{EN_DP, "Dynamics", kTypes};

}  // namespace vantoro::rows
