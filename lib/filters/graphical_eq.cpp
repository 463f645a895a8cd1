// SPDX-License-Identifier: Apache-2.0
#include "graphical_eq.h"

#include "../framework/clear_state.h"
#include "equaliser.h"
#include "graphical_eq_info.h"

using namespace lbx;

namespace {

struct Graphical {
    using Core = GraphicalEQ_Core;
    static constexpr auto kFlags = &GraphicalEQ_Core::bypassFlags;
    static constexpr int kStride = kFilterParamSize, kFlag = kFilterBypass;
    static constexpr auto kDefaults = kInitial<graphical_eq::kLayout>;

    static bool runs(float bypass) { return bypass == 0.0F; }
    static void design(float* coeff, float rate_hz, const float* band)
    {
        calculateEQCoeffs(coeff, rate_hz, to_int(band[kFilterType]), band[kFilterFc], band[kFilterQ],
                          band[kFilterBoostDB]);
    }
};

constexpr std::array kFourthClamps =
    info::clamps_by_choice(graphical_eq::kResponses, kFilterQ, graphical_eq::kColumns[kFilterQ]);

}  // namespace

[[gnu::cold]] void calculateEQCoeffs(float* coeffArray, float fs, int filterType, float fc, float Q, float boost)
{
    const EqBand band = eq_band(fs, fc, Q, boost, filterType, kFourthClamps);
    const float half = band.corner.w * 0.5F;
    Sos h = {};
    float gain = 1.0F;
    switch (filterType) {
    case GraphicalEQ_BUTTER_LP:
        h = bilinear_low_pass(half, kButterworth);
        break;
    case GraphicalEQ_BUTTER_HP:
        h = bilinear_high_pass(half, kButterworth);
        break;
    case GraphicalEQ_BESSEL_LP:
        h = bilinear_low_pass(half, kBessel);
        break;
    case GraphicalEQ_BESSEL_HP:
        h = bilinear_high_pass(half, kBessel);
        break;
    default:
        if (eq_common(filterType, band, h, gain))
            break;
        LBX_LOG("ErrorXXX: You should choose a filter type!\n\n");
        std::exit(-1);
    }
    write_section(h, gain, coeffArray);
}

void graphical_eq::linear_model(const BlockAlgo* blk, const info::Paths& paths)
{
    eq_linear_model<Graphical>(blk, paths);
}

BlockAlgo* GraphicalEQ_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(info::kSame, Input_pin, Output_pin)) {
        LBX_LOG("wrong input pin number in GraphicalEQ\n");
        return nullptr;
    }
    return eq_create<Graphical>(Input_pin, Output_pin, block_pro, type);
}

int GraphicalEQ_param_set(BlockAlgo* blk, float* param) { return eq_set<Graphical>(blk, param); }
int GraphicalEQ_param_update(BlockAlgo* blk) { return eq_set<Graphical>(blk, nullptr); }

int GraphicalEQ_param_invoke(BlockAlgo*)
{
    LBX_LOG("graphical eq param: \n\n");
    return RT_OK;
}

void GraphicalEQ_Render(GraphicalEQ_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel)
{
    eq_render<Graphical>(core, buffer_in, buffer_out, i_channel, tickSize);
}

int GraphicalEQ_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    eq_process<Graphical>(blk, data_in, data_out);
    return RT_OK;
}

void clear_state::graphical_eq(BlockAlgo* blk) { eq_silence<Graphical>(blk); }

int GraphicalEQ_destroy(BlockAlgo* blk) { return eq_destroy<Graphical>(blk); }
