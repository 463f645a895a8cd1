// SPDX-License-Identifier: Apache-2.0
// Parameters of the second-order filters, and which response reads what.
#pragma once

#include "second_order.h"
#include "section_info.h"

namespace lbx::second_order {

using namespace lbx::info;

// ---- the first four layouts: one list, cut where a type ends ----

inline constexpr VantoroParam kFc = corner_hz("fc", 1000, "corner or centre");
inline constexpr VantoroParam kQ = kQuality.starting_at(1.41F);
inline constexpr VantoroParam kBoostDb = kSectionBoostDb.starting_at(3);

// What responses make of it other than Q and boost; in the order of the entries.
inline constexpr VantoroReading kAsShelf[] = {reads(kGeneralQ, kSlope)};
inline constexpr VantoroReading kByQ[] = {not_read(kGeneralBoostDB)};
inline constexpr VantoroReading kByWidth[] = {reads(kGeneralQ, kBandwidth), not_read(kGeneralBoostDB)};
inline constexpr VantoroReading kByRipple[] = {reads(kGeneralQ, kRippleDb), not_read(kGeneralBoostDB)};
inline constexpr VantoroReading kByCorner[] = {not_read(kGeneralQ), not_read(kGeneralBoostDB)};

inline constexpr VantoroChoice kResponses[] = {
    LBX_CHOICE(Gen_Param),
    LBX_CHOICE(Gen_LS, kAsShelf),
    LBX_CHOICE(Gen_HS, kAsShelf),
    LBX_CHOICE(Gen_LP, kByQ),
    LBX_CHOICE(Gen_HP, kByQ),
    LBX_CHOICE(Gen_BP, kByWidth),
    LBX_CHOICE(Gen_BS, kByWidth),
    LBX_CHOICE(Gen_APF, kByQ),
    LBX_CHOICE(Gen_Peaking, kByQ),
    LBX_CHOICE(Gen_Notvh, kByQ),
    LBX_CHOICE(Gen_Cheby_LP, kByRipple),
    LBX_CHOICE(Gen_Cheby_HP, kByRipple),
    LBX_CHOICE(Gen_Bessel_LP, kByCorner),
    LBX_CHOICE(Gen_Bessel_HP, kByCorner),
    LBX_CHOICE(Gen_Butter_LP, kByCorner),
    LBX_CHOICE(Gen_Butter_HP, kByCorner),
};

// A response under the name and the number that another type gives it.
struct Alias {
    VantoroChoice choice;
    GENERAL_TYPE response;
};
inline constexpr Alias kParamShelf[] = {
    {LBX_CHOICE(Parametric), Gen_Param}, {LBX_CHOICE(LowShelf), Gen_LS}, {LBX_CHOICE(HighShelf), Gen_HS}};
inline constexpr Alias kCommon[] = {{LBX_CHOICE(GeneralLP), Gen_LP},
                                    {LBX_CHOICE(GeneralHP), Gen_HP},
                                    {LBX_CHOICE(GeneralBP), Gen_BP},
                                    {LBX_CHOICE(GeneralBS), Gen_BS},
                                    {LBX_CHOICE(APF), Gen_APF},
                                    {LBX_CHOICE(Peaking), Gen_Peaking},
                                    {LBX_CHOICE(Notch), Gen_Notvh},
                                    {LBX_CHOICE(ChebyshevLP), Gen_Cheby_LP},
                                    {LBX_CHOICE(ChebyshevHP), Gen_Cheby_HP}};
inline constexpr Alias kBesselButter[] = {{LBX_CHOICE(BesselLP), Gen_Bessel_LP},
                                          {LBX_CHOICE(BesselHP), Gen_Bessel_HP},
                                          {LBX_CHOICE(ButterLP), Gen_Butter_LP},
                                          {LBX_CHOICE(ButterHP), Gen_Butter_HP}};

// The choices of a type whose layout has `size` entries: with what the responses read, as far as it is there.
template <std::size_t kCount>
constexpr Choices<kCount> choices_of(const Alias (&aliases)[kCount], int size)
{
    Choices<kCount> out = {};
    for (std::size_t i = 0; i < kCount; ++i) {
        const VantoroChoice& general = kResponses[aliases[i].response];
        VantoroChoice& choice = out.list[i] = aliases[i].choice;
        choice.readings = general.readings;
        while (choice.reading_count < general.reading_count && general.readings[choice.reading_count].entry < size)
            ++choice.reading_count;
    }
    return out;
}
inline constexpr Choices kParamShelfChoices = choices_of(kParamShelf, kParamShelfModuleSize);
inline constexpr Choices kCommonChoices = choices_of(kCommon, kCommonModuleSize);
inline constexpr Choices kBesselButterChoices = choices_of(kBesselButter, kBesselButterModuleSize);

inline constexpr VantoroParam kGeneralResponse = choice("type", kResponses, Gen_Param, "response");
inline constexpr VantoroParam kParamShelfResponse = choice("type", kParamShelfChoices.list, Parametric, "response");
inline constexpr VantoroParam kCommonResponse = choice("type", kCommonChoices.list, GeneralLP, "response");
inline constexpr VantoroParam kBesselButterResponse = choice("type", kBesselButterChoices.list, BesselLP, "response");

inline constexpr VantoroSlot kGeneralLayout[] = {value(kEnable),        value(kPolarity), value(kGeneralResponse),
                                                 value(kSectionGainDb), value(kFc),       value(kQ),
                                                 value(kBoostDb)};
inline constexpr VantoroSlot kParamShelfLayout[] = {value(kEnable),        value(kPolarity), value(kParamShelfResponse),
                                                    value(kSectionGainDb), value(kFc),       value(kQ),
                                                    value(kBoostDb)};
inline constexpr VantoroSlot kCommonLayout[] = {value(kEnable),        value(kPolarity), value(kCommonResponse),
                                                value(kSectionGainDb), value(kFc),       value(kQ)};
inline constexpr VantoroSlot kBesselButterLayout[] = {value(kEnable), value(kPolarity), value(kBesselButterResponse),
                                                      value(kSectionGainDb), value(kFc)};

// ---- the others ----

inline constexpr VantoroParam kFcTreble = corner_hz("fcTreble", 10000, "corner of the treble shelf");
inline constexpr VantoroParam kBoostTreble = gain_db("boostDbTreble", 3, {-24, 24}, "of the treble shelf");
inline constexpr VantoroParam kFcBass =
    corner_hz("fcBass", 1000, "corner of the bass shelf; above it the output is inverted");
inline constexpr VantoroParam kBoostBass = gain_db("boostDbBass", 3, {-24, 24}, "of the bass shelf");
inline constexpr VantoroSlot kToneLayout[] = {value(kEnable),      value(kPolarity), value(kFcTreble),
                                              value(kBoostTreble), value(kFcBass),   value(kBoostBass)};

// Poles within the unit circle need both ranges of a1 and a2, and |a1| < 1 + a2.
inline constexpr VantoroRange kPoleSum = {-2, 2}, kPoleProduct = {-1, 1};
constexpr ParamWords coefficient(std::string_view name, float initial, VantoroRange range, const char* help)
{
    return real(name, "", initial, range, help).in_steps(1e-4F);
}
inline constexpr VantoroParam kB0 = coefficient("b0", 1, {-2, 2}, "of the numerator b0 + b1 / z + b2 / z^2");
inline constexpr VantoroParam kB1 = coefficient("b1", 0, {-2, 2}, "of the numerator");
inline constexpr VantoroParam kB2 = coefficient("b2", 0, {-2, 2}, "of the numerator");
inline constexpr VantoroParam kA1 =
    coefficient("a1", 0, kPoleSum, "of the denominator 1 + a1 / z + a2 / z^2; stable while |a1| < 1 + a2")
        .valid_in(kPoleSum);
inline constexpr VantoroParam kA2 =
    coefficient("a2", 0, kPoleProduct, "of the denominator; stable below 1").valid_in(kPoleProduct);
inline constexpr VantoroSlot kIirLayout[] = {value(kEnable), value(kPolarity), value(kB0), value(kB1),
                                             value(kB2),     value(kA1),       value(kA2)};

constexpr Choices<4> first_orders(std::span<const VantoroReading> of_none)
{
    return {{one_choice("None", 0, of_none), one_choice("LowPass", 1), one_choice("HighPass", 2),
             one_choice("AllPass", 3)}};
}
inline constexpr VantoroReading kNoFc1[] = {not_read(kFirstOrdersFilter1Fc)},
                                kNoFc2[] = {not_read(kFirstOrdersFilter2Fc)};
inline constexpr Choices kFilter1Choices = first_orders(kNoFc1), kFilter2Choices = first_orders(kNoFc2);
inline constexpr VantoroParam kFilter1Type = choice("filter1Type", kFilter1Choices.list, 0, "first section");
inline constexpr VantoroParam kFilter1Fc = corner_hz("filter1Fc", 1000, "corner of the first section");
inline constexpr VantoroParam kFilter1Boost = gain_db("filter1BoostDb", 3, {-50, 24}, "gain of the first section");
inline constexpr VantoroParam kFilter2Type = choice("filter2Type", kFilter2Choices.list, 2, "second section");
inline constexpr VantoroParam kFilter2Fc = corner_hz("filter2Fc", 5000, "corner of the second section");
inline constexpr VantoroParam kFilter2Boost = gain_db("filter2BoostDb", 1, {-50, 24}, "gain of the second section");
inline constexpr VantoroSlot kFirstOrdersLayout[] = {value(kEnable),    value(kPolarity),     value(kFilter1Type),
                                                     value(kFilter1Fc), value(kFilter1Boost), value(kFilter2Type),
                                                     value(kFilter2Fc), value(kFilter2Boost)};

inline constexpr VantoroParam kNonBareFc = corner_hz("fc", 1000, "centre");
inline constexpr VantoroParam kNonBareQ =
    real("q", "", 1.41F, {0.1F, 4}, "bandwidth as a multiple of the centre; stable while q * fc is below half the rate")
        .logarithmic()
        .valid_in(kAboveZero);
inline constexpr VantoroParam kNonBareK = real("k", "", 3.5F, {0, 10}, "kept, not used").flagged(VANTORO_UNUSED);
inline constexpr VantoroParam kNonBareGainDb =
    gain_db("gainDb", 0, {-50, 24}, "kept, not used").flagged(VANTORO_UNUSED);
inline constexpr VantoroSlot kNonBareLayout[] = {value(kEnable),   value(kPolarity), value(kNonBareFc),
                                                 value(kNonBareQ), value(kNonBareK), value(kNonBareGainDb)};

// The section that a block holds, whatever its flags.
void section(const BlockAlgo* blk, const Paths& paths);

void linear_model(const BlockAlgo* blk, const Paths& paths);  // of the all-pass too

}  // namespace lbx::second_order
