// SPDX-License-Identifier: Apache-2.0
#include "level_detectors.h"

#include "../framework/clear_state.h"
#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../kernels/ramp.h"
#include "../kernels/section.h"
#include "../kernels/section_design.h"
#include "hold_level.h"
#include "level_detectors_info.h"

using namespace lbx;

namespace {

constexpr int kSevenBands = 7;
constexpr int kMaxBands = Bank::kMaxBands;
constexpr int kBandSize = kMultiLevelDetectorsFilterParamSize;
constexpr int kHeader = kMultiLevelDetectorsParamOffset;
constexpr int kCoeffs = SecondOrder<float>::kCoeffs, kWords = SecondOrder<float>::kWords;
static_assert(level_detectors::kBands.max_rows == kMaxBands);

constexpr auto& kDefaults = kInitial<level_detectors::kLayout>;
constexpr auto& kMultiDefaults = kInitial<level_detectors::kMultiLayout>;
constexpr float kFixedBands[kSevenBands][kBandSize] = {
    {Detector_LP, 100, 0.7F},  {Detector_BP, 250, 1.2F},  {Detector_BP, 500, 1.2F},   {Detector_BP, 1000, 1.2F},
    {Detector_BP, 2500, 1.2F}, {Detector_BP, 5000, 1.2F}, {Detector_HP, 10000, 0.7F},
};

// A module's record, then its bands lane by lane.
template <class Core>
struct Banked {
    Core core;
    Bank bank;
};

// What the four entries that all detectors share derive.
template <class Core>
void take_times(Core* core, const float* param, const BlockPro* pro)
{
    core->enable_flag = to_int(param[kLevelDetectorsEnable]);
    core->rmstc_coeff = rise_weight(param[kLevelDetectorsRmstc], pro);
    core->hold_time = static_cast<decltype(core->hold_time)>(hold_samples(param[kLevelDetectorsHoldTime], pro));
    core->decay_coeff = rise_weight(param[kLevelDetectorsDecayTime], pro);
}

template <class Core>
HoldLaw law_of(const Core& core)
{
    return {core.rmstc_coeff, core.pre_div, std::max(to_int(static_cast<double>(core.hold_time)), 0)};
}

Sos design_band(const float* band, int sampleRate)
{
    const float q = band[kMultiLevelDetectorsFilterQ];
    const Corner c = corner(band[kMultiLevelDetectorsFilterFc] * 6.2831855F / static_cast<float>(sampleRate));
    switch (to_int(band[kMultiLevelDetectorsFilterType])) {
    case Detector_BP:
        return band_pass(c, alpha_octaves(c, q));
    case Detector_LP:
        return low_pass(c, alpha_q(c, q));
    case Detector_HP:
        return high_pass(c, alpha_q(c, q));
    default:
        LBX_LOG_AS("calculateDetectorCoeffs", __LINE__, "ErrorXXX: You should choose a filter type!\n\n");
        std::exit(-1);
    }
}

void design_seven(SevenLevelDetector_Core* core, int sampleRate)
{
    Sos band[kSevenBands];
    for (int k = 0; k < kSevenBands; ++k)
        band[k] = design_band(kFixedBands[k], sampleRate);
    band[6].a0 = band[5].a0;  // the 10 kHz band is scaled by its neighbour's divisor, on purpose
    for (int k = 0; k < kSevenBands; ++k)
        write_section(band[k], 1.0F, core->coeffArray + kCoeffs * k);
}

// Copies pin 0. After the measurement: while its chains wait for their results, there is time for it.
void pass_through(const BlockAlgo* blk, float** in, float** out)
{
    if (blk->nInputs > 0 && blk->nOutputs > 0)
        copy(in[0], out[0], blk->block_pro->nBlockSize);
}

template <class Core>
void measure_bands(const Banked<Core>& st, const float* in, int n)
{
    const Core& core = st.core;
    float sums[Bank::kLanes];
    run_bank(st.bank, core.stateBuffer, in, n, sums);
    const HoldLaw law = law_of(core);
    const int bands = st.bank.bands;
    float *smooth = core.smooth_rms, *level = core.rms_log;
    for (int k = 0; k < bands; ++k)
        hold_level(law, sums[k], n, smooth[k], core.hold_count[k]);
    for (int k = 0; k < bands; ++k)
        level[k] = level_db(smooth[k], kAmplitudeDb);
}

template <class Core>
int process_bands(BlockAlgo* blk, float** in, float** out)
{
    const auto* st = core_of<Banked<Core>>(blk);
    if (blk->nInputs > 0 && st->core.enable_flag != 0)
        measure_bands(*st, in[0], blk->block_pro->nBlockSize);
    pass_through(blk, in, out);
    return 0;
}

}  // namespace

void lbx::level_detectors::linear_model(const BlockAlgo* /*blk*/, const Paths& paths) { paths.path(0, 0); }

const float* LevelDetector_levels(const BlockAlgo* blk, int* count)
{
    const float* levels = nullptr;
    int bands = 0;
    if (blk && blk->method_type == EN_DETECTORS_SINGLE_BAND) {
        levels = core_of<SingleLevelDetector_Core>(blk)->rms_log;
        bands = 1;
    } else if (blk && blk->method_type == EN_DETECTORS_SEVEN_BAND) {
        levels = core_of<SevenLevelDetector_Core>(blk)->rms_log;
        bands = kSevenBands;
    } else if (blk && blk->method_type == EN_DETECTORS_MULTI_BAND) {
        levels = core_of<MultiLevelDetector_Core>(blk)->rms_log;
        bands = core_of<MultiLevelDetector_Core>(blk)->numBand;
    }
    if (count)
        *count = bands;
    return levels;
}

BlockAlgo* SingleLevelDetector_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!one_signal(nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in SingleLevelDetector\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    auto* core = new_core<SingleLevelDetector_Core>(blk);
    if (!core || !zeros(blk->pParam, kLevelDetectorsModuleSize) || !zeros(blk->pState, 1))
        return nullptr;
    copy_params(blk->pParam, kDefaults.data(), kLevelDetectorsModuleSize);
    core->rms_log = blk->pState;
    core->pre_div = sample_share(block_pro);
    core->bit_norm = bit_norm(block_pro->bitRate);
    take_times(core, blk->pParam, block_pro);
    return blk.release();
}

int SingleLevelDetector_param_set(BlockAlgo* blk, float* param)
{
    copy_params(blk->pParam, param, kLevelDetectorsModuleSize);
    take_times(core_of<SingleLevelDetector_Core>(blk), blk->pParam, blk->block_pro);
    return 0;
}

int SingleLevelDetector_param_update(BlockAlgo* blk) { return SingleLevelDetector_param_set(blk, nullptr); }

int SingleLevelDetector_param_invoke(BlockAlgo* blk)
{
    const float* p = blk->pParam;
    LBX_LOG("SingleLevelDetector param is %f,%f,%f,%f\n", static_cast<double>(p[0]), static_cast<double>(p[1]),
            static_cast<double>(p[2]), static_cast<double>(p[3]));
    return 0;
}

int SingleLevelDetector_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<SingleLevelDetector_Core>(blk);
    const int n = blk->block_pro->nBlockSize;
    if (blk->nInputs > 0 && core->enable_flag != 0) {
        hold_level(law_of(*core), sum_of_squares(data_in[0], n), n, core->smooth_rms, core->hold_count);
        core->rms_log[0] = level_db(core->smooth_rms, kAmplitudeDb);
    }
    pass_through(blk, data_in, data_out);
    return 0;
}

int SingleLevelDetector_destroy(BlockAlgo* blk) { return free_block(blk); }

BlockAlgo* SevenLevelDetector_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!one_signal(nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in SingleLevelDetector\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    auto* st = new_core<Banked<SevenLevelDetector_Core>>(blk);
    if (!st || !zeros(blk->pParam, kLevelDetectorsModuleSize) || !zeros(blk->pState, 3 * kSevenBands) ||
        !zeros(blk->pStateB, kCoeffs * kSevenBands) || !zeros(blk->pStateC, kWords * Bank::kLanes))
        return nullptr;
    SevenLevelDetector_Core* core = &st->core;
    copy_params(blk->pParam, kDefaults.data(), kLevelDetectorsModuleSize);
    core->smooth_rms = blk->pState;
    core->hold_count = reinterpret_cast<int*>(blk->pState + kSevenBands);
    core->rms_log = blk->pState + 2 * kSevenBands;
    core->coeffArray = blk->pStateB;
    core->stateBuffer = blk->pStateC;
    core->pre_div = sample_share(block_pro);
    core->bit_norm = bit_norm(block_pro->bitRate);
    take_times(core, blk->pParam, block_pro);
    design_seven(core, block_pro->nSamplingRate);
    set_bank(st->bank, core->coeffArray, kSevenBands);
    return blk.release();
}

int SevenLevelDetector_param_set(BlockAlgo* blk, float* param)
{
    copy_params(blk->pParam, param, kLevelDetectorsModuleSize);
    take_times(core_of<SevenLevelDetector_Core>(blk), blk->pParam, blk->block_pro);
    return 0;
}

int SevenLevelDetector_param_update(BlockAlgo*) { return 0; }

int SevenLevelDetector_param_invoke(BlockAlgo* blk)
{
    const float* p = blk->pParam;
    LBX_LOG("SevenLevelDetector param is %f,%f,%f,%f\n", static_cast<double>(p[0]), static_cast<double>(p[1]),
            static_cast<double>(p[2]), static_cast<double>(p[3]));
    return 0;
}

int SevenLevelDetector_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    return process_bands<SevenLevelDetector_Core>(blk, data_in, data_out);
}

int SevenLevelDetector_destroy(BlockAlgo* blk) { return free_block(blk); }

BlockAlgo* MultiLevelDetector_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(info::kOneOne, nInputs, nOutputs)) {
        LBX_LOG("MultiLevel Detector only support single input and single output\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    auto* st = new_core<Banked<MultiLevelDetector_Core>>(blk);
    if (!st || !zeros(blk->pParam, kHeader + kBandSize * kMaxBands) || !zeros(blk->pState, 3 * kMaxBands) ||
        !zeros(blk->pStateB, kCoeffs * kMaxBands) || !zeros(blk->pStateC, kWords * Bank::kLanes))
        return nullptr;
    MultiLevelDetector_Core* core = &st->core;
    core->rms_log = blk->pState;
    core->smooth_rms = blk->pState + kMaxBands;
    core->hold_count = reinterpret_cast<int*>(blk->pState + 2 * kMaxBands);
    core->coeffArray = blk->pStateB;
    core->stateBuffer = blk->pStateC;
    core->frameSize = block_pro->nBlockSize;
    core->pre_div = sample_share(block_pro);
    std::ranges::copy(kMultiDefaults, blk->pParam);
    MultiLevelDetector_param_set(blk.get(), nullptr);
    return blk.release();
}

int MultiLevelDetector_param_set(BlockAlgo* blk, float* param)
{
    auto* st = core_of<Banked<MultiLevelDetector_Core>>(blk);
    MultiLevelDetector_Core* core = &st->core;
    float* own = blk->pParam;
    copy_params(own, param, kHeader);
    int bands = std::max(to_int(own[kMultiLevelDetectorsNumBand]), 0);
    if (bands > kMaxBands) {
        LBX_LOG("MultiLevelDetector_param_set: numBand is too large, set to %d\n", kMaxBands);
        bands = kMaxBands;
        own[kMultiLevelDetectorsNumBand] = static_cast<float>(kMaxBands);
    }
    copy_params(own + kHeader, param ? param + kHeader : nullptr, kBandSize * bands);
    for (int k = 0; k < bands; ++k)
        calculateDetectorCoeffs(own + kHeader + kBandSize * k, blk->block_pro->nSamplingRate,
                                core->coeffArray + kCoeffs * k);
    set_bank(st->bank, core->coeffArray, bands);
    core->numBand = bands;
    core->rmstc = own[kMultiLevelDetectorsRmstc];
    core->decay_time = own[kMultiLevelDetectorsDecayTime];
    take_times(core, own, blk->block_pro);
    return 0;
}

int MultiLevelDetector_param_update(BlockAlgo*) { return 0; }

int MultiLevelDetector_param_invoke(BlockAlgo* blk)
{
    const float* p = blk->pParam;
    LBX_LOG("multi level detector param: \n\n");
    LBX_LOG("Enable: %f\n\n", static_cast<double>(p[kMultiLevelDetectorsEnable]));
    LBX_LOG("Rmstc: %f \n\n", static_cast<double>(p[kMultiLevelDetectorsRmstc]));
    LBX_LOG("HoldTime: %f \n\n", static_cast<double>(p[kMultiLevelDetectorsHoldTime]));
    LBX_LOG("DecayTime: %f \n\n", static_cast<double>(p[kMultiLevelDetectorsDecayTime]));
    LBX_LOG("NumBand: %f \n\n", static_cast<double>(p[kMultiLevelDetectorsNumBand]));
    for (int k = 0; k < core_of<MultiLevelDetector_Core>(blk)->numBand; ++k) {
        const float* band = p + kHeader + kBandSize * k;
        LBX_LOG("Band %d: \n\n", k + 1);
        LBX_LOG("Type: %f \n\n", static_cast<double>(band[kMultiLevelDetectorsFilterType]));
        LBX_LOG("Fc: %f \n\n", static_cast<double>(band[kMultiLevelDetectorsFilterFc]));
        LBX_LOG("Q: %f \n\n", static_cast<double>(band[kMultiLevelDetectorsFilterQ]));
    }
    return 0;
}

int MultiLevelDetector_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    return process_bands<MultiLevelDetector_Core>(blk, data_in, data_out);
}

int MultiLevelDetector_destroy(BlockAlgo* blk) { return free_block(blk); }

// The levels, and what the bands hold: some of it are counters, in arrays of floats.
void clear_state::detector(BlockAlgo* blk)
{
    const int type = blk->method_type;
    if (type == EN_DETECTORS_SINGLE_BAND) {
        auto* core = core_of<SingleLevelDetector_Core>(blk);
        core->smooth_rms = core->rms_log[0] = 0.0F;
        core->hold_count = 0;
        return;
    }
    const int bands = type == EN_DETECTORS_SEVEN_BAND ? kSevenBands : kMaxBands;
    std::memset(blk->pState, 0, sizeof(float) * 3 * static_cast<std::size_t>(bands));
    std::fill_n(blk->pStateC, kWords * Bank::kLanes, 0.0F);
}

void calculateDetectorCoeffs(const float* band, int sampleRate, float* coeff)
{
    write_section(design_band(band, sampleRate), 1.0F, coeff);
}
