// SPDX-License-Identifier: Apache-2.0
#include "catalog/categories.h"
#include "catalog/rows.h"

namespace vantoro::rows {
namespace {

constexpr PinRule kTwoWay{"n -> 2n", {1, 2}, [](Pins p) { return p.inputs >= 1 && p.outputs == 2 * p.inputs; }};
constexpr PinRule kThreeWay{"n -> 3n", {1, 3}, [](Pins p) { return p.inputs >= 1 && p.outputs == 3 * p.inputs; }};
constexpr PinRule kOneThree{"1 -> 3", {1, 3}, [](Pins p) { return p == Pins{1, 3}; }};
constexpr PinRule kTwoThree{"2 -> 3", {2, 3}, [](Pins p) { return p == Pins{2, 3}; }};

constexpr PinNote band(int first, int every, std::string_view name)
{
    return {PinNote::Side::output, first, -1, every, name, every > 1 ? "of each input" : "", false};
}
constexpr PinNote kLowHigh[] = {band(0, 2, "low"), band(1, 2, "high")};
constexpr PinNote kLowHighMid[] = {band(0, 3, "low"), band(1, 3, "high"), band(2, 3, "mid")};
constexpr PinNote kStateOut[] = {output(0, "low"), output(1, "high"), output(2, "band")};
constexpr PinNote kStateOutQ[] = {control(0, "q", "once a block"), input(1, "signal"), output(0, "low"),
                                  output(1, "high"), output(2, "band")};
constexpr PinNote kCurvePin[] = {control(0, "curve", "index, limited to the curves there are, once a block")};

constexpr Bounds kDb{-50, 50};
constexpr Bounds kQ{0.01F, 16};
constexpr std::string_view kQMeaning =
    "Q; shelves: slope, to 2; band-pass and band-stop: octaves, to 11; Chebyshev: ripple in dB, 0.1 to 10";

constexpr Slot kGainDb = value(real("gainDb", "dB", 0, kDb, "gain of the whole"));
constexpr Slot kFc = value(real("fc", "Hz", 1000, "corner or centre"));
constexpr Slot kBoostDb = value(real("boostDb", "dB", 3, kDb, "of peaks and shelves"));

// ---- first and second order ----

constexpr Choice kFirstOrder[] = {NAMED(LP1st), NAMED(HP1st), NAMED(AP1st), NAMED(LS1st), NAMED(HS1st)};
constexpr Choice kGeneral[] = {NAMED(Gen_Param),     NAMED(Gen_LS),        NAMED(Gen_HS),        NAMED(Gen_LP),
                               NAMED(Gen_HP),        NAMED(Gen_BP),        NAMED(Gen_BS),        NAMED(Gen_APF),
                               NAMED(Gen_Peaking),   NAMED(Gen_Notvh),     NAMED(Gen_Cheby_LP),  NAMED(Gen_Cheby_HP),
                               NAMED(Gen_Bessel_LP), NAMED(Gen_Bessel_HP), NAMED(Gen_Butter_LP), NAMED(Gen_Butter_HP)};
constexpr Choice kParamShelf[] = {NAMED(Parametric), NAMED(LowShelf), NAMED(HighShelf)};
constexpr Choice kCommon[] = {NAMED(GeneralLP), NAMED(GeneralHP), NAMED(GeneralBP),   NAMED(GeneralBS),  NAMED(APF),
                              NAMED(Peaking),   NAMED(Notch),     NAMED(ChebyshevLP), NAMED(ChebyshevHP)};
constexpr Choice kBesselButter[] = {NAMED(BesselLP), NAMED(BesselHP), NAMED(ButterLP), NAMED(ButterHP)};
constexpr Choice kSection[] = {{"None", 0}, {"LowPass", 1}, {"HighPass", 2}, {"AllPass", 3}};

constexpr Slot response(std::span<const Choice> choices) { return value(choice("type", choices, 0, "response")); }
constexpr Slot q(float usual, std::string_view help) { return value(real("q", "", usual, kQ, help)); }

constexpr Slot kFirst[] = {kEnable, kPolarity, response(kFirstOrder),
                           kGainDb, kFc,       value(real("boostDb", "dB", 0, kDb, "of the shelves"))};
constexpr Slot kSecondGeneral[] = {kEnable, kPolarity, response(kGeneral), kGainDb, kFc, q(1.41F, kQMeaning), kBoostDb};
constexpr Slot kSecondShelf[] = {
    kEnable, kPolarity, response(kParamShelf), kGainDb, kFc, q(1.41F, "Q; shelves: slope, to 2"), kBoostDb};
constexpr Slot kSecondCommon[] = {kEnable, kPolarity, response(kCommon), kGainDb, kFc, q(1.41F, kQMeaning)};
constexpr Slot kSecondBessel[] = {kEnable, kPolarity, response(kBesselButter), kGainDb, kFc};
constexpr Slot kTone[] = {
    kEnable,
    kPolarity,
    value(real("fcTreble", "Hz", 10000, "treble corner")),
    value(real("boostDbTreble", "dB", 3, "treble boost")),
    value(real("fcBass", "Hz", 1000, "bass corner")),
    value(real("boostDbBass", "dB", 3, "bass boost")),
};
constexpr Slot kIir[] = {
    kEnable,
    kPolarity,
    value(real("b0", "", 1, "")),
    value(real("b1", "", 0, "")),
    value(real("b2", "", 0, "")),
    value(real("a1", "", 0, "of the denominator 1 + a1 / z + a2 / z^2")),
    value(real("a2", "", 0, "")),
};
constexpr Slot kFirstOrders[] = {
    kEnable,
    kPolarity,
    value(choice("filter1Type", kSection, 0, "first section")),
    value(real("filter1Fc", "Hz", 1000, "")),
    value(real("filter1BoostDb", "dB", 3, "gain of the section")),
    value(choice("filter2Type", kSection, 2, "second section")),
    value(real("filter2Fc", "Hz", 5000, "")),
    value(real("filter2BoostDb", "dB", 1, "gain of the section")),
};
constexpr Slot kNonBare[] = {
    kEnable,
    kPolarity,
    kFc,
    value(real("q", "", 1.41F, "bandwidth in units of the centre")),
    value(real("k", "", 3.5F, "kept, not used")),
    value(real("gainDb", "dB", 0, "kept, not used")),
};
static_assert(std::size(kFirst) == kFilter1stModuleSize);
static_assert(std::size(kSecondGeneral) == kGeneralModuleSize);
static_assert(std::size(kSecondShelf) == kParamShelfModuleSize);
static_assert(std::size(kSecondCommon) == kCommonModuleSize);
static_assert(std::size(kSecondBessel) == kBesselButterModuleSize);
static_assert(std::size(kTone) == kToneModuleSize);
static_assert(std::size(kIir) == kIIRModuleSize);
static_assert(std::size(kFirstOrders) == kFirstOrdersModuleSize);
static_assert(std::size(kNonBare) == kNonBareModuleSize);

// ---- equalisers and FIR ----

constexpr Choice kTextType[] = {NAMED(Text_Param),   NAMED(Text_LS2nd), NAMED(Text_HS2nd), NAMED(Text_LP),
                                NAMED(Text_HP),      NAMED(Text_BP),    NAMED(Text_BS),    NAMED(Text_APF),
                                NAMED(Text_Peaking), NAMED(Text_Notch), NAMED(Text_LS1st), NAMED(Text_HS1st)};
constexpr Param kTextBand[] = {
    flag("enable", 1, "0 skips the band"),
    flag("polarity", 0, "kept, not used"),
    choice("type", kTextType, 0, "response"),
    real("boostDb", "dB", 0, kDb, "of peaks and shelves; gain of Text_LP and Text_HP"),
    real("fc", "Hz", 1000, "corner or centre"),
    real("q", "", 0.71F, kQ, "Q; shelves: slope, to 2; Text_BP and Text_BS: octaves, to 11"),
    real("gainDb", "dB", 0, "gain of the band"),
};
constexpr float kOneTextBand[] = {1, 0, 0, 0, 1000, 0.71F, 0};
constexpr Table kTextBands = list("bands", kTextBand, 0, kMany, kOneTextBand, "in order of processing");
constexpr Slot kTextEq[] = {count(kTextBands), entries(kTextBands)};

constexpr Choice kGraphicalType[] = {
    NAMED(GraphicalEQ_Param),     NAMED(GraphicalEQ_LS),        NAMED(GraphicalEQ_HS),
    NAMED(GraphicalEQ_LP),        NAMED(GraphicalEQ_HP),        NAMED(GraphicalEQ_BUTTER_LP),
    NAMED(GraphicalEQ_BUTTER_HP), NAMED(GraphicalEQ_BESSEL_LP), NAMED(GraphicalEQ_BESSEL_HP)};
constexpr Param kGraphicalBand[] = {
    real("fc", "Hz", 1000, "corner or centre"),
    real("boostDb", "dB", 5, kDb, "of the peak and the shelves; gain of GraphicalEQ_LP and _HP"),
    real("q", "", 1.41F, kQ, "Q; shelves: slope, to 2"),
    choice("type", kGraphicalType, 0, "response"),
    flag("bypass", 0, "1 skips the band"),
};
constexpr float kOneGraphicalBand[] = {1000, 5, 1.41F, 0, 0};
constexpr Table kGraphicalBands = list("bands", kGraphicalBand, 0, kMany, kOneGraphicalBand, "in order of processing");
constexpr Slot kGraphicalEq[] = {count(kGraphicalBands), entries(kGraphicalBands)};

static_assert(std::size(kTextBand) == kTextFilterParamSize);
static_assert(std::size(kGraphicalBand) == kFilterParamSize);

constexpr Param kTap[] = {real("tap", "", 0, "")};
constexpr float kIdentityTaps[] = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0};
constexpr Table kTaps = list("taps", kTap, 1, kMany, kIdentityTaps, "the impulse response");
constexpr Slot kFir[] = {count(kTaps), entries(kTaps)};

// ---- crossovers ----

constexpr Choice kCrossoverType[] = {NAMED(LR12), NAMED(Butter12), NAMED(Bessel12), NAMED(Butter18), NAMED(Bessel18),
                                     NAMED(LR24), NAMED(Butter24), NAMED(Bessel24), NAMED(LR36),     NAMED(LR48)};
constexpr Slot slope(std::string_view name, std::string_view help)
{
    return value(choice(name, kCrossoverType, 5, help));
}
constexpr Slot corner(std::string_view name, float hz, std::string_view help)
{
    return value(real(name, "Hz", hz, help));
}
constexpr Slot band_gain(std::string_view name)
{
    return value(real(name, "dB", 0, kDb, "doubled by LR24, LR36 and LR48"));
}
constexpr Slot kTwoWayParams[] = {
    slope("lowType", "low-pass of the low band"),         corner("lowFc", 250, ""),   band_gain("lowGainDb"),
    slope("highType", "high-pass of the high band"),      corner("highFc", 3000, ""), band_gain("highGainDb"),
    value(flag("polarity", 0, "1 inverts the low band")),
};
constexpr Slot kThreeWayParams[] = {
    slope("lowType", "low-pass of the low band"),
    corner("lowFc", 250, ""),
    band_gain("lowGainDb"),
    slope("highType", "high-pass of the high band"),
    corner("highFc", 3000, ""),
    band_gain("highGainDb"),
    slope("medLpType", "low-pass of the mid band"),
    corner("medLpFc", 3000, ""),
    slope("medHpType", "high-pass of the mid band"),
    corner("medHpFc", 250, ""),
    value(real("medGainDb", "dB", 0, kDb, "doubled by medLpType LR24, LR36 and LR48")),
    value(flag("polarity1", 0, "1 inverts the low band")),
    value(flag("polarity2", 0, "1 inverts the mid band")),
};
static_assert(std::size(kTwoWayParams) == kCrossover2WayModuleSize);
static_assert(std::size(kThreeWayParams) == kCrossover3WayModuleSize);

// ---- lookup and state variable ----

constexpr Choice kTonePeak[] = {NAMED(LookUp_LS), NAMED(LookUp_HS), NAMED(LookUp_Peak)};
constexpr Choice kLookCommon[] = {NAMED(LookUp_General_LP), NAMED(LookUp_General_HP), NAMED(LookUp_Chebyshev_LP),
                                  NAMED(LookUp_Chebyshev_HP)};
constexpr Choice kLookButter[] = {NAMED(LookUp_Butter_LP), NAMED(LookUp_Butter_HP), NAMED(LookUp_Bessel_LP),
                                  NAMED(LookUP_Bessel_HP)};
constexpr Slot kCurves = value(whole("curves", 4, {1, kMany}, "number of curves"));
constexpr Slot kLookGain = value(real("gainDb", "dB", -5, "gain of every curve"));
constexpr Slot kFcMax = value(real("fcMax", "Hz", 300, "the last curve stops one step short of it"));
constexpr Slot kFcMin = value(real("fcMin", "Hz", 100, "corner of curve 0"));
constexpr Slot kLookTone[] = {
    response(kTonePeak),
    kCurves,
    value(real("boostDbMax", "dB", 10, "boost of the last curve")),
    value(real("boostDbMin", "dB", -10, "boost of curve 0")),
    kLookGain,
    value(real("q", "", 0.707F, "Q; shelves: slope")),
    value(real("fc", "Hz", 300, "corner or centre")),
    slew_rate(12, {}),
};
constexpr Slot kLookGeneral[] = {response(kLookCommon),
                                 kCurves,
                                 kLookGain,
                                 value(real("q", "", 0.707F, "Q; Chebyshev: ripple in dB")),
                                 kFcMax,
                                 kFcMin,
                                 slew_rate(12, {})};
constexpr Slot kLookBessel[] = {response(kLookButter), kCurves, kLookGain, kFcMax, kFcMin, slew_rate(12, {})};

constexpr Slot kStateFc = value(real("fc", "Hz", 73, "corner and centre"));
constexpr Slot kState[] = {kStateFc, value(real("q", "", 0.707F, ""))};
constexpr Slot kStateQ[] = {kStateFc};
static_assert(std::size(kLookTone) == kTonePeakModuleSize);
static_assert(std::size(kLookGeneral) == kGeneralChebyshevModuleSize);
static_assert(std::size(kLookBessel) == kButterBesselModuleSize);
static_assert(std::size(kState) == kStateVariableModuleSize);

constexpr BlockType kTypes[] = {
    {EN_FILTER_1ST, "FILTER_1ST", "first-order filter", kSame, kFirst},
    {EN_FILTER_2ND_GENERAL, "FILTER_2ND_GENERAL", "second-order filter, all responses", kSame, kSecondGeneral},
    {EN_FILTER_2ND_PARAM_SHELF, "FILTER_2ND_PARAM_SHELF", "peak or shelf", kSame, kSecondShelf},
    {EN_FILTER_2ND_COMMON, "FILTER_2ND_COMMON", "second-order filter, common responses", kSame, kSecondCommon},
    {EN_FILTER_2ND_BESSEL_BUTTER, "FILTER_2ND_BESSEL_BUTTER", "Bessel or Butterworth", kSame, kSecondBessel},
    {EN_FILTER_2ND_TONE, "FILTER_2ND_TONE", "bass and treble", kSame, kTone},
    {EN_FILTER_2ND_IIR, "FILTER_2ND_IIR", "second-order section by coefficients", kSame, kIir},
    {EN_FILTER_2ND_FIRSTORDERS, "FILTER_2ND_FIRSTORDERS", "two first-order filters", kSame, kFirstOrders},
    {EN_FILTER_TEXTEQ, "FILTER_TEXTEQ", "equaliser, all responses", kSame, kTextEq},
    {EN_FILTER_NONBARE, "FILTER_NONBARE", "second-order all-pass", kSame, kNonBare},
    {EN_FILTER_FIR, "FILTER_FIR", "FIR filter", kSame, kFir},
    {EN_FILTER_CROSSOVER_2WAY, "FILTER_CROSSOVER_2WAY", "two-way crossover", kTwoWay, kTwoWayParams, kLowHigh},
    {EN_FILTER_CROSSOVER_3WAY, "FILTER_CROSSOVER_3WAY", "three-way crossover", kThreeWay, kThreeWayParams, kLowHighMid},
    {EN_FILTER_MISCE_DCBLOCKING, "FILTER_MISCE_DCBLOCKING", "removes DC", kSame},
    {EN_FILTER_MISCE_STATEVARIABLE, "FILTER_MISCE_STATEVARIABLE", "state-variable filter", kOneThree, kState,
     kStateOut},
    {EN_FILTER_MISCE_STATEVARIABLEQ, "FILTER_MISCE_STATEVARIABLEQ", "state-variable filter, Q from a pin", kTwoThree,
     kStateQ, kStateOutQ},
    {EN_FILTER_LOOKUP_TONE_PEAK, "FILTER_LOOKUP_TONE_PEAK", "peak or shelf whose boost a pin selects", kControlled,
     kLookTone, kCurvePin},
    {EN_FILTER_LOOKUP_COMMON, "FILTER_LOOKUP_COMMON", "low- or high-pass whose corner a pin selects", kControlled,
     kLookGeneral, kCurvePin},
    {EN_FILTER_LOOKUP_BUTTER_BESSEL, "FILTER_LOOKUP_BUTTER_BESSEL",
     "Butterworth or Bessel filter whose corner a pin selects", kControlled, kLookBessel, kCurvePin},
    {EN_FILTER_GRAPHICAL_EQ, "FILTER_GRAPHICAL_EQ", "graphical equaliser", kSame, kGraphicalEq},
};

}  // namespace

constinit const Category kFilters{EN_FILTER, "Filters", kTypes};

}  // namespace vantoro::rows
