// SPDX-License-Identifier: Apache-2.0
#include "catalog/categories.h"
#include "catalog/rows.h"

namespace vantoro::rows {
namespace {

constexpr PinNote kReset[] = {control(0, "reset", "clears while not 0, sample by sample")};
constexpr PinNote kAB[] = {input(0, "a"), input(1, "b")};
constexpr PinNote kABCD[] = {input(0, "a"), input(1, "b"), input(2, "c"), input(3, "d")};
constexpr PinNote kHold[] = {control(0, "hold", "0 follows the signal, anything else holds, sample by sample")};
constexpr PinNote kTaps[] = {
    {PinNote::Side::input, 0, -2, 1, "tap", "delay in samples, 0 to maxDelay, sample by sample", true},
    input(-1, "signal"),
};
constexpr PinRule kFourOne{"4 -> 1", {4, 1}, [](Pins p) { return p == Pins{4, 1}; }};

constexpr Choice kTimeUnit[] = {{"Milliseconds", 0}, {"DbPerSecond", 1}};
constexpr Slot kSmoother[] = {
    value(real("time", "ms or dB/s", 121, {1, 8686}, "time constant, or rate, of the average of the magnitude")),
    value(choice("isDbPs", kTimeUnit, 0, "what time is")),
};

constexpr Choice kCompare[] = {NAMED(COMPARE_GT), NAMED(COMPARE_LT), NAMED(COMPARE_GE), NAMED(COMPARE_LE),
                               NAMED(COMPARE_EQ)};
constexpr Choice kLogic[] = {NAMED(LOGIC_AND), NAMED(LOGIC_NAND), NAMED(LOGIC_OR), NAMED(LOGIC_NOR), NAMED(LOGIC_XOR)};
constexpr Slot kCondition[] = {value(choice("type", kCompare, 0, "comparison of a with b"))};
constexpr Slot kGate[] = {value(whole("bit", 0, {0, 31}, "the output is 2 to this power"))};
constexpr Slot kZero[] = {value(real("value", "", 0, "the output where the input is 0"))};
constexpr Slot kCalc[] = {value(choice("type", kLogic, 0, "operation; a sample without a result is left unwritten"))};
constexpr Slot kOneShot[] = {value(whole("bit", 0, {0, 30}, "pulse: 2, 4, 16, 256, 65536 for 0 to 4; 1 above"))};

constexpr Choice kDelayUnit[] = {{"Samples", 0}, {"Milliseconds", 1}};
constexpr Slot kDelay[] = {
    value(real("maxDelay", "samples or ms", 1, {1, 1500}, "length of the delay line")),
    value(real("delay", "samples or ms", 1, {0, 1500}, "at most maxDelay; 0 delays by maxDelay")),
    value(choice("type", kDelayUnit, 0, "unit of both")),
};
constexpr Slot kVolDelay[] = {value(real("maxDelay", "samples", 1, {1, 1500}, "length of the delay line"))};

constexpr Choice kGainUnit[] = {{"dB", 0}, {"Linear", 1}};
constexpr Slot kGainValue = value(real("gain", "dB or factor", 0, "see type"));
constexpr Slot kGainType = value(choice("type", kGainUnit, 0, "unit of gain"));
constexpr Slot kGain[] = {kGainValue, kGainType};
constexpr Slot kGainSlew[] = {kGainValue, kGainType, slew_rate(12)};

constexpr Param kCoefficient[] = {real("c", "", 0, "of x to the power of the index")};
constexpr float kConstantOne[] = {1, 0, 0};
constexpr Table kCoefficients = list("coefficients", kCoefficient, 2, 10000, kConstantOne, "lowest power first");
constexpr Slot kPoly[] = {count(kCoefficients), entries(kCoefficients)};
static_assert(std::size(kSmoother) == kBasicRMSModuleSize);
static_assert(std::size(kDelay) == kBasicDelayModuleSize);
static_assert(std::size(kGainSlew) == kBasicGainModuleSize);

constexpr BlockType kTypes[] = {
    {EN_BASIC_ARITH_ABS, "BASIC_ARITH_ABS", "absolute value", kSame},
    {EN_BASIC_ARITH_INV_SQRT, "BASIC_ARITH_INV_SQRT", "1 / square root; 0 for inputs up to 0", kSame},
    {EN_BASIC_ARITH_EXP2, "BASIC_ARITH_EXP2", "2 to the power of the input, within a few per cent", kSame},
    {EN_BASIC_ARITH_LOG2, "BASIC_ARITH_LOG2", "logarithm to base 2, by table", kSame},
    {EN_BASIC_ARITH_LOG10, "BASIC_ARITH_LOG10", "logarithm to base 10, by table", kSame},
    {EN_BASIC_ARITH_SQRT, "BASIC_ARITH_SQRT", "square root", kSame},
    {EN_BASIC_ARITH_DIV, "BASIC_ARITH_DIV", "quotient of each pair of inputs; 0 where either is 0", kPairs},
    {EN_BASIC_ARITH_MUL, "BASIC_ARITH_MUL", "product of each pair of inputs", kPairs},
    {EN_BASIC_ARITH_INVERT, "BASIC_ARITH_INVERT", "opposite sign", kSame},
    {EN_BASIC_ARITH_ADD, "BASIC_ARITH_ADD", "sum of the inputs", kToOne},
    {EN_BASIC_ARITH_SUB, "BASIC_ARITH_SUB", "the first input less the others", kToOne},
    {EN_BASIC_ARITH_RMS, "BASIC_ARITH_RMS", "running average of the magnitude", kSame, kSmoother},
    {EN_BASIC_ARITH_SUMMAT, "BASIC_ARITH_SUMMAT", "running sum", kControlled, {}, kReset},
    {EN_BASIC_ARITH_SQUARE_SUMMAT, "BASIC_ARITH_SQUARE_SUMMAT", "running sum of squares", kControlled, {}, kReset},
    {EN_BASIC_LOGIC_ABSMAX, "BASIC_LOGIC_ABSMAX", "largest magnitude of the inputs", kToOne},
    {EN_BASIC_LOGIC_MAX, "BASIC_LOGIC_MAX", "largest of the inputs", kToOne},
    {EN_BASIC_LOGIC_MIN, "BASIC_LOGIC_MIN", "smallest of the inputs", kToOne},
    {EN_BASIC_LOGIC_AB, "BASIC_LOGIC_AB", "a where the comparison holds, else b", kTwoOne, kCondition, kAB},
    {EN_BASIC_LOGIC_ABCD, "BASIC_LOGIC_ABCD", "c where a compares with b, else d", kFourOne, kCondition, kABCD},
    {EN_BASIC_LOGIC_BUFFER_GATE, "BASIC_LOGIC_BUFFER_GATE", "a power of 2 where the input is not 0", kSame, kGate},
    {EN_BASIC_LOGIC_ZERO_COMP, "BASIC_LOGIC_ZERO_COMP", "a value where the input is 0, else 0", kSame, kZero},
    {EN_BASIC_LOGIC_ONESHOT_FALL, "BASIC_LOGIC_ONESHOT_FALL", "latch at the first fall to 0", kOneOne, kOneShot},
    {EN_BASIC_LOGIC_ONESHOT_FALLRST, "BASIC_LOGIC_ONESHOT_FALLRST", "latch at a fall to 0, with reset", kTwoOne,
     kOneShot, kReset},
    {EN_BASIC_LOGIC_ONESHOT_RISE, "BASIC_LOGIC_ONESHOT_RISE", "latch at the first rise from 0", kOneOne, kOneShot},
    {EN_BASIC_LOGIC_ONESHOT_RISERST, "BASIC_LOGIC_ONESHOT_RISERST", "latch at a rise from 0, with reset", kTwoOne,
     kOneShot, kReset},
    {EN_BASIC_LOGIC_CALC, "BASIC_LOGIC_CALC", "logic of a and b", kTwoOne, kCalc, kAB},
    {EN_BASIC_DSP_HOLD_VALUE,
     "BASIC_DSP_HOLD_VALUE",
     "holds the sample at which the hold begins",
     kControlled,
     {},
     kHold},
    {EN_BASIC_DSP_HOLD_ABSMAX,
     "BASIC_DSP_HOLD_ABSMAX",
     "largest magnitude since the hold began",
     kControlled,
     {},
     kHold},
    {EN_BASIC_DSP_HOLD_MAX, "BASIC_DSP_HOLD_MAX", "largest sample since the hold began", kControlled, {}, kHold},
    {EN_BASIC_DSP_HOLD_MIN, "BASIC_DSP_HOLD_MIN", "smallest sample since the hold began", kControlled, {}, kHold},
    {EN_BASIC_DSP_DELAY, "BASIC_DSP_DELAY", "delay", kSame, kDelay},
    {EN_BASIC_DSP_VOL_DELAY, "BASIC_DSP_VOL_DELAY", "one signal delayed by every tap's control", kControlled, kVolDelay,
     kTaps},
    {EN_BASIC_GAIN, "BASIC_GAIN", "gain", kSame, kGain},
    {EN_BASIC_GAIN_SLEW, "BASIC_GAIN_SLEW", "gain that glides to its value", kSame, kGainSlew},
    {EN_BASIC_POLY, "BASIC_POLY", "polynomial of the input", kSame, kPoly},
};

}  // namespace

constinit const Category kBasic{EN_BASIC_DSP, "Basic", kTypes};

}  // namespace vantoro::rows
