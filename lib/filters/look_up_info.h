// SPDX-License-Identifier: Apache-2.0
// Parameters of the lookup filters, and which response reads what.
#pragma once

#include "look_up.h"
#include "section_info.h"

namespace lbx::look_up {

using namespace lbx::info;

inline constexpr int kTypeEntry = 0, kCurvesEntry = 1;  // in every layout; the slew rate is the last

inline constexpr VantoroParam kCurves = whole("curves", 4, {1, 32}, "how many; the control pin selects one")
                                            .valid_in({1, kManyRows})
                                            .flagged(VANTORO_SIZES);
inline constexpr VantoroParam kGainDb = gain_db("gainDb", -5, {-50, 24}, "gain of every curve");
inline constexpr VantoroParam kSlewRate = slew_rate(12);

// Nothing is clamped here.
inline constexpr VantoroParam kQ = kQuality.starting_at(0.707F).clamped(kAnyValue).valid_in(kAboveZero);
inline constexpr VantoroParam kFreeSlope = kSlope.clamped(kAnyValue).valid_in(kSlopeRange);
inline constexpr VantoroParam kFreeRipple = kRippleDb.clamped(kAnyValue).valid_in(kAboveZero);

inline constexpr VantoroReading kAsShelf[] = {reads(kTonePeakQ, kFreeSlope)};
inline constexpr VantoroChoice kTonePeakResponses[] = {LBX_CHOICE(LookUp_LS, kAsShelf), LBX_CHOICE(LookUp_HS, kAsShelf),
                                                       LBX_CHOICE(LookUp_Peak)};
inline constexpr VantoroParam kTonePeakResponse = choice("type", kTonePeakResponses, LookUp_LS, "response");
inline constexpr VantoroParam kBoostDbMax = gain_db("boostDbMax", 10, {-24, 24}, "boost of the last curve");
inline constexpr VantoroParam kBoostDbMin = gain_db("boostDbMin", -10, {-24, 24}, "boost of curve 0");
inline constexpr VantoroParam kFc = corner_hz("fc", 300, "corner or centre of every curve");
inline constexpr VantoroSlot kTonePeakLayout[] = {
    value(kTonePeakResponse), value(kCurves), value(kBoostDbMax), value(kBoostDbMin),
    value(kGainDb),           value(kQ),      value(kFc),         value(kSlewRate)};

inline constexpr VantoroParam kFcMax = corner_hz("fcMax", 300, "the last curve stops one step short of it");
inline constexpr VantoroParam kFcMin = corner_hz("fcMin", 100, "corner of curve 0");

inline constexpr VantoroReading kByRipple[] = {reads(kGeneralChebyshevQ, kFreeRipple)};
inline constexpr VantoroChoice kCommonResponses[] = {LBX_CHOICE(LookUp_General_LP), LBX_CHOICE(LookUp_General_HP),
                                                     LBX_CHOICE(LookUp_Chebyshev_LP, kByRipple),
                                                     LBX_CHOICE(LookUp_Chebyshev_HP, kByRipple)};
inline constexpr VantoroParam kCommonResponse = choice("type", kCommonResponses, LookUp_General_LP, "response");
inline constexpr VantoroSlot kCommonLayout[] = {value(kCommonResponse), value(kCurves), value(kGainDb),  value(kQ),
                                                value(kFcMax),          value(kFcMin),  value(kSlewRate)};

inline constexpr VantoroChoice kButterBesselResponses[] = {LBX_CHOICE(LookUp_Butter_LP), LBX_CHOICE(LookUp_Butter_HP),
                                                           LBX_CHOICE(LookUp_Bessel_LP), LBX_CHOICE(LookUP_Bessel_HP)};
inline constexpr VantoroParam kButterBesselResponse =
    choice("type", kButterBesselResponses, LookUp_Butter_LP, "response");
inline constexpr VantoroSlot kButterBesselLayout[] = {
    value(kButterBesselResponse), value(kCurves), value(kGainDb), value(kFcMax), value(kFcMin), value(kSlewRate)};

int curves(const BlockAlgo* blk);
void curve_section(const BlockAlgo* blk, int curve, const Paths& paths);

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::look_up
