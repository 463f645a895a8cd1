// SPDX-License-Identifier: Apache-2.0
#include "text_eq.h"

#include <numbers>

#include "../common/biquad.h"
#include "../framework/clear_state.h"
#include "equaliser.h"
#include "text_eq_info.h"

using namespace lbx;

namespace {

struct Text {
    using Core = TextEQ_Core;
    static constexpr auto kFlags = &TextEQ_Core::enableFlags;
    static constexpr int kStride = kTextFilterParamSize, kFlag = kTextFilterEnable;
    static constexpr auto kDefaults = kInitial<text_eq::kLayout>;

    static bool runs(float enable) { return enable != 0.0F; }
    static void design(float* coeff, float rate_hz, const float* band)
    {
        calculateTextEQCoeffs(coeff, rate_hz, to_int(band[kTextFilterFilterType]), band[kTextFilterFreq],
                              band[kTextFilterQ_Slp], band[kTextFilterBoostDB], band[kTextFilterGainDB]);
    }
};

constexpr std::array kFourthClamps =
    info::clamps_by_choice(text_eq::kResponses, kTextFilterQ_Slp, text_eq::kColumns[kTextFilterQ_Slp]);

}  // namespace

[[gnu::cold]] void calculateTextEQCoeffs(float* coeffArray, float fs, int filterType, float fc, float Q, float boost,
                                         float gainDB)
{
    const EqBand band = eq_band(fs, fc, Q, boost, filterType, kFourthClamps);
    const Corner& c = band.corner;
    Sos h = {};
    float gain = 1.0F;
    switch (filterType) {
    case Text_BP:
        h = band_pass(c, alpha_octaves(c, band.fourth));
        break;
    case Text_BS:
        h = notch(c, alpha_octaves(c, band.fourth));
        break;
    case Text_APF:
        h = all_pass_bandwidth(c, static_cast<double>(fc / band.fourth) * std::numbers::pi / fs);
        break;
    case Text_Peaking:
        h = resonant_band_pass(c, band.fourth);
        break;
    case Text_Notch:
        h = notch(c, alpha_q(c, band.fourth));
        break;
    case Text_LS1st:
        h = first_order_low_shelf(c.w, linear_gain(band.boost_db));
        break;
    case Text_HS1st:
        h = first_order_high_shelf(c.w, linear_gain(band.boost_db));
        break;
    default:
        if (eq_common(filterType, band, h, gain))
            break;
        LBX_LOG("ErrorXXX: You should choose a filter type!\n\n");
        std::exit(-1);
    }
    write_section(h, gain, coeffArray);
    for (const int b : {BIQUAD_B0, BIQUAD_B1, BIQUAD_B2})
        coeffArray[b] *= linear_gain(gainDB);
}

void text_eq::linear_model(const BlockAlgo* blk, const info::Paths& paths) { eq_linear_model<Text>(blk, paths); }

BlockAlgo* TextEQ_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (!info::pins_agree(info::kSame, Input_pin, Output_pin)) {
        LBX_LOG("wrong input pin number in TextEQ\n");
        return nullptr;
    }
    return eq_create<Text>(Input_pin, Output_pin, block_pro, type);
}

int TextEQ_param_set(BlockAlgo* blk, float* param) { return eq_set<Text>(blk, param); }
int TextEQ_param_update(BlockAlgo* blk) { return eq_set<Text>(blk, nullptr); }

int TextEQ_param_invoke(BlockAlgo*)
{
    LBX_LOG("text eq param: \n\n");
    return RT_OK;
}

void TextEQ_Render(TextEQ_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel)
{
    eq_render<Text>(core, buffer_in, buffer_out, i_channel, tickSize);
}

int TextEQ_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    eq_process<Text>(blk, data_in, data_out);
    return RT_OK;
}

void clear_state::text_eq(BlockAlgo* blk) { eq_silence<Text>(blk); }

int TextEQ_destroy(BlockAlgo* blk) { return eq_destroy<Text>(blk); }
