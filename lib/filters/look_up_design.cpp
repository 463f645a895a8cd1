// SPDX-License-Identifier: Apache-2.0
// From a lookup filter's vector to its curves.
#include <algorithm>

#include "../framework/one_of.h"
#include "../kernels/level.h"
#include "../kernels/section.h"
#include "../math/filter_design.h"
#include "../math/rounded.h"
#include "look_up_info.h"

using namespace lbx;

namespace {

// A curve to design: the vector, and the curve's own boost in dB or corner in Hz.
struct Request {
    const float* entry;
    int rate;
    float at;

    Corner fixed_corner() const { return corner(angle_of(entry[kTonePeakFc], rate)); }
    float A() const { return rounded::pow(10.0F, at / 40.0F); }
    Sos shelf(Sos (*form)(const Corner&, float, float)) const
    {
        const Corner c = fixed_corner();
        return form(c, A(), alpha_slope(c, A(), entry[kTonePeakQ]));
    }
    Sos peak() const
    {
        const Corner c = fixed_corner();
        return peaking_eq(c, A(), alpha_q(c, entry[kTonePeakQ]));
    }
    Sos pass(Sos (*form)(const Corner&, float)) const
    {
        const Corner c = corner(angle_of(at, rate));
        return form(c, alpha_q(c, entry[kGeneralChebyshevQ]));
    }
    Sos ripple(int kind) const
    {
        return chebyshev(entry[kGeneralChebyshevQ], 2.0F * at / static_cast<float>(rate), kind);
    }
    float half_angle() const { return angle_of(at, rate) * 0.5F; }
};

using R = const Request&;
using Response = Sos (*)(R);
constexpr Response kTonePeak[] = {
    [](R r) { return r.shelf(low_shelf); },
    [](R r) { return r.shelf(high_shelf); },
    [](R r) { return r.peak(); },
};
constexpr Response kCommon[] = {
    [](R r) { return r.pass(low_pass); },
    [](R r) { return r.pass(high_pass); },
    [](R r) { return r.ripple(kDesignLowPass); },
    [](R r) { return r.ripple(kDesignHighPass); },
};
constexpr Response kButterBessel[] = {
    [](R r) { return bilinear_low_pass(r.half_angle(), kButterworth); },
    [](R r) { return bilinear_high_pass(r.half_angle(), kButterworth); },
    [](R r) { return bilinear_low_pass(r.half_angle(), kBessel); },
    [](R r) { return bilinear_high_pass(r.half_angle(), kBessel); },
};

static_assert(std::size(kTonePeak) == std::size(look_up::kTonePeakResponses) &&
              std::size(kCommon) == std::size(look_up::kCommonResponses) &&
              std::size(kButterBessel) == std::size(look_up::kButterBesselResponses));

struct Family {
    int type;
    int responses;
    int gain, max, min;  // entries
    bool reaches_max;    // the last curve is the maximum itself; corners stop one step short of it, on purpose
    char name[16];
};
constexpr Family kFamilies[] = {
    {EN_FILTER_LOOKUP_TONE_PEAK, std::size(kTonePeak), kTonePeakGainDB, kTonePeakBoostDBMax, kTonePeakBoostDBMin, true,
     "tone_peak"},
    {EN_FILTER_LOOKUP_COMMON, std::size(kCommon), kGeneralChebyshevGainDB, kGeneralChebyshevFcMax,
     kGeneralChebyshevFcMin, false, "commonm"},
    {EN_FILTER_LOOKUP_BUTTER_BESSEL, std::size(kButterBessel), kButterBesselGainDB, kButterBesselFcMax,
     kButterBesselFcMin, false, "butter_bessel"},
};

Sos designed(int type, int response, const Request& request)
{
    return type == EN_FILTER_LOOKUP_TONE_PEAK ? one_of<kTonePeak>(response, request)
           : type == EN_FILTER_LOOKUP_COMMON  ? one_of<kCommon>(response, request)
                                              : one_of<kButterBessel>(response, request);
}

float curve_value(const Family& family, const float* entry, int k, int curves)
{
    const float min = entry[family.min];
    const int steps = family.reaches_max ? curves - 1 : curves;
    return k == 0 ? min : min + static_cast<float>(k) * (entry[family.max] - min) / static_cast<float>(steps);
}

}  // namespace

void calculateLookUpCoeffs(LookUp_Core* st, float* pParameter, int sampleRate, int type)
{
    const auto* family = std::ranges::find(kFamilies, type, &Family::type);
    if (family == std::end(kFamilies))
        return;
    const int curves = to_int(pParameter[look_up::kCurvesEntry]);
    const int type_number = to_int(pParameter[look_up::kTypeEntry]);
    if (curves > 0 && (type_number < 0 || type_number >= family->responses)) {
        LBX_LOG("ErrorXXX: You should choose a %s type!\n\n", family->name);
        return;
    }
    const float gain = linear_gain(pParameter[family->gain]);
    for (int k = 0; k < curves; ++k) {
        const Request request = {pParameter, sampleRate, curve_value(*family, pParameter, k, curves)};
        const Sos h = designed(type, type_number, request);
        write_section(h, gain, st->coeffArray + std::ptrdiff_t{kSosCoeffs} * k);
    }
}
