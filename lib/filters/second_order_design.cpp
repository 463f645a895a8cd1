// SPDX-License-Identifier: Apache-2.0
// From a second-order block's vector to its section.
#include <algorithm>
#include <numbers>
#include <span>

#include "../framework/one_of.h"
#include "../kernels/level.h"
#include "../math/filter_design.h"
#include "../math/rounded.h"
#include "second_order_info.h"

using namespace lbx;

namespace {

// The types 769 to 773 agree: their vectors are read by the enumerators of the general layout.
static_assert(int{kGeneralBoostDB} == int{kParamShelfBoostDB} && int{kGeneralQ} == int{kCommonQ} &&
              int{kGeneralFc} == int{kBesselButterFc});

template <std::size_t kCount>
constexpr std::array<int, kCount> responses_of(const second_order::Alias (&aliases)[kCount])
{
    std::array<int, kCount> responses = {};
    for (const second_order::Alias& alias : aliases)
        responses[static_cast<std::size_t>(alias.choice.value)] = alias.response;
    return responses;
}
constexpr std::array kParamShelf = responses_of(second_order::kParamShelf);
constexpr std::array kCommon = responses_of(second_order::kCommon);
constexpr std::array kBesselButter = responses_of(second_order::kBesselButter);

// A block type that numbers the responses in its own way.
struct Family {
    int type;
    std::span<const int> responses;
    int size;  // of the layout
    char name[16];
    int line;  // of its report
};
constexpr Family kFamilies[] = {
    {EN_FILTER_2ND_PARAM_SHELF, kParamShelf, kParamShelfModuleSize, "param_shelf", 414},
    {EN_FILTER_2ND_COMMON, kCommon, kCommonModuleSize, "common", 579},
    {EN_FILTER_2ND_BESSEL_BUTTER, kBesselButter, kBesselButterModuleSize, "bessel_butter", 638},
};

// As one of GENERAL_TYPE, or -1.
int response_of(const Family& family, int number)
{
    const bool known = number >= 0 && number < std::ssize(family.responses);
    return known ? family.responses[static_cast<std::size_t>(number)] : -1;
}

constexpr std::array kFourthClamps = info::clamps_by_choice(second_order::kResponses, kGeneralQ, second_order::kQ);

// A section to design. The fourth number and the boost are asked for by the responses that read them only: the vector
// may end before them. The fourth number is clamped in the vector.
struct Request {
    float* entry;
    VantoroRange fourth_clamp;
    int rate;
    float half_angle;
    Corner c;

    float fourth() const { return clamp_back(entry[kGeneralQ], fourth_clamp); }
    float A() const { return rounded::pow(10.0F, entry[kGeneralBoostDB] / 40.0F); }
    float q() const { return alpha_q(c, fourth()); }
    float slope() const { return alpha_slope(c, A(), fourth()); }
    float octaves() const { return alpha_octaves(c, fourth()); }
    double half_width() const { return static_cast<double>(entry[kGeneralFc] / fourth()) * std::numbers::pi / rate; }
    Sos ripple(int kind) const
    {
        return chebyshev(fourth(), 2.0F * entry[kGeneralFc] / static_cast<float>(rate), kind);
    }
};

using R = const Request&;
constexpr Sos (*kResponses[])(R) = {
    [](R r) { return peaking_eq(r.c, r.A(), r.q()); },                   // Gen_Param
    [](R r) { return low_shelf(r.c, r.A(), r.slope()); },                // Gen_LS
    [](R r) { return high_shelf(r.c, r.A(), r.slope()); },               // Gen_HS
    [](R r) { return low_pass(r.c, r.q()); },                            // Gen_LP
    [](R r) { return high_pass(r.c, r.q()); },                           // Gen_HP
    [](R r) { return band_pass(r.c, r.octaves()); },                     // Gen_BP
    [](R r) { return notch(r.c, r.octaves()); },                         // Gen_BS
    [](R r) { return all_pass_bandwidth(r.c, r.half_width()); },         // Gen_APF
    [](R r) { return resonant_band_pass(r.c, r.fourth()); },             // Gen_Peaking
    [](R r) { return notch(r.c, r.q()); },                               // Gen_Notvh
    [](R r) { return r.ripple(kDesignLowPass); },                        // Gen_Cheby_LP
    [](R r) { return r.ripple(kDesignHighPass); },                       // Gen_Cheby_HP
    [](R r) { return bilinear_low_pass(r.half_angle, kBessel); },        // Gen_Bessel_LP
    [](R r) { return bilinear_high_pass(r.half_angle, kBessel); },       // Gen_Bessel_HP
    [](R r) { return bilinear_low_pass(r.half_angle, kButterworth); },   // Gen_Butter_LP
    [](R r) { return bilinear_high_pass(r.half_angle, kButterworth); },  // Gen_Butter_HP
};
static_assert(std::size(kResponses) == kFourthClamps.size());

// False, with a pass-through, when `response` is none of GENERAL_TYPE. Gain and boost are clamped either way.
bool write_response(int response, int size, float* entry, int rate, float* coeff)
{
    write_pass_through(coeff);
    const float gain_db = clamp_back(entry[kGeneralGainDB], second_order::kSectionGainDb.clamp);
    if (size > kGeneralBoostDB)
        clamp_back(entry[kGeneralBoostDB], second_order::kBoostDb.clamp);
    if (response < 0 || response >= std::ssize(kResponses))
        return false;
    const float w = angle_of(entry[kGeneralFc], rate);
    const VantoroRange fourth_clamp = kFourthClamps[static_cast<std::size_t>(response)];
    const Request request = {entry, fourth_clamp, rate, w * 0.5F, corner(w)};
    write_section(one_of<kResponses>(response, request), linear_gain(gain_db), coeff);
    return true;
}

// A treble and a bass shelf of first order; p, q, r and u divide each boost between zero and pole. The bass zero lies
// in the right half plane, which inverts the signal above the corner: kept.
Sos tone(const float* entry, int rate)
{
    const float treble = linear_gain(entry[kToneBoostDBTreble]);
    const float bass = linear_gain(entry[kToneBoostDBBass]);
    const float tt = rounded::tan(angle_of(entry[kToneFcTreble], 2.0 * rate));
    const float tb = rounded::tan(angle_of(entry[kToneFcBass], 2.0 * rate));
    const float p = 2.0F / (treble + 1.0F);
    const float q = 2.0F / (1.0F / treble + 1.0F);
    const float r = 2.0F / (bass + 1.0F);
    const float u = 2.0F / (1.0F / bass + 1.0F);
    return {
        (tt + q) * (tb * u - 1.0F), (tt + q) * (tb * u + 1.0F) + (tt - q) * (tb * u - 1.0F), (tt - q) * (tb * u + 1.0F),
        (tt + p) * (tb * r + 1.0F), (tt + p) * (tb * r - 1.0F) + (tt - p) * (tb * r + 1.0F), (tt - p) * (tb * r - 1.0F),
    };
}

// By the numbers of filter1Type and filter2Type.
constexpr Sos (*kFirstOrders[])(float pole) = {
    [](float) -> Sos { return {1.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F}; },
    first_order_low_pass,
    first_order_high_pass,
    first_order_all_pass,
};
static_assert(std::size(kFirstOrders) == std::size(second_order::kFilter1Choices.list));

// False for an unknown type.
bool first_order_section(float type, float fc, int rate, Sos& h)
{
    const int number = to_int(type);
    if (number < 0 || number >= std::ssize(kFirstOrders))
        return false;
    h = one_of<kFirstOrders>(number, first_order_pole(angle_of(fc, rate)));
    return true;
}

void write_first_orders(const float* entry, int rate, const char* func, float* coeff)
{
    Sos one = {};
    Sos two = {};
    if (!first_order_section(entry[kFirstOrdersFilter1Type], entry[kFirstOrdersFilter1Fc], rate, one)) {
        LBX_LOG_AS(func, 735, "ErrorXXX: Wrong first order filter type!\n\n");
        std::exit(-1);
    }
    // The low-pass of section 1 has no zero at half the sampling rate, that of section 2 has one. Kept, like the exit
    // above and the return below.
    if (to_int(entry[kFirstOrdersFilter1Type]) == 1)
        one = {1.0F + one.a1, 0.0F, 0.0F, 1.0F, one.a1, 0.0F};
    if (!first_order_section(entry[kFirstOrdersFilter2Type], entry[kFirstOrdersFilter2Fc], rate, two)) {
        LBX_LOG_AS(func, 761, "ErrorXXX: Wrong first order filter type!\n\n");
        return;
    }
    const float gain = linear_gain(entry[kFirstOrdersFilter1BoostDB]) * linear_gain(entry[kFirstOrdersFilter2BoostDB]);
    const float b1 = one.b0 * two.b1 + one.b1 * two.b0;
    write_section({one.b0 * two.b0, b1, one.b1 * two.b1, 1.0F, one.a1 + two.a1, one.a1 * two.a1}, gain, coeff);
}

void write_first_order_shelf(float* entry, int rate, float* coeff)
{
    const float gain = linear_gain(clamp_back(entry[kGeneralGainDB], second_order::kSectionGainDb.clamp));
    const float V = linear_gain(clamp_back(entry[kGeneralBoostDB], second_order::kBoostDb.clamp));
    const float w = angle_of(entry[kGeneralFc], rate);
    const int type = to_int(entry[kGeneralType]);
    if (type == 0)
        write_section(first_order_low_shelf(w, V), gain, coeff);
    else if (type == 1)
        write_section(first_order_high_shelf(w, V), gain, coeff);
}

}  // namespace

void calculateFilter2ndGeneralCoeffs(SecondOrder_Core* st, float* pParameter, int sampleRate)
{
    if (!write_response(to_int(pParameter[kGeneralType]), kGeneralModuleSize, pParameter, sampleRate, st->coeffArray))
        LBX_LOG_AS(__func__, 294, "ErrorXXX: You should choose a bessel_butter type!\n\n");
}

void calculateFilter2ndCoeffs(SecondOrder_Core* st, float* pParameter, int sampleRate, int type)
{
    float* coeff = st->coeffArray;
    const auto* family = std::ranges::find(kFamilies, type, &Family::type);
    if (family != std::end(kFamilies)) {
        const int response = response_of(*family, to_int(pParameter[kGeneralType]));
        if (!write_response(response, family->size, pParameter, sampleRate, coeff))
            LBX_LOG_AS(__func__, family->line, "ErrorXXX: You should choose a %s type!\n\n", family->name);
        return;
    }
    write_pass_through(coeff);
    switch (type) {
    case EN_FILTER_2ND_TONE:
        write_section(tone(pParameter, sampleRate), 1.0F, coeff);
        break;
    case EN_FILTER_2ND_IIR:
        write_section(
            {pParameter[kIIRB0], pParameter[kIIRB1], pParameter[kIIRB2], 1.0F, pParameter[kIIRA1], pParameter[kIIRA2]},
            1.0F, coeff);
        break;
    case EN_FILTER_2ND_FIRSTORDERS:
        write_first_orders(pParameter, sampleRate, __func__, coeff);
        break;
    case EN_FILTER_1ST:
        write_first_order_shelf(pParameter, sampleRate, coeff);
        break;
    default:
        coeff[0] = 0.0F;  // silence
    }
}
