// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../framework/dispatch.h"
#include "DC_InputEntry.h"
#include "Oscillator.h"
#include "Sweep.h"
#include "VCO.h"
#include "White_Noise.h"
#include "clime_frequency.h"
#include "switch.h"

using namespace lbx;

#define SOURCE_OPS(stem) \
    stem##_Init, set_with<stem##_ResetParam>, stem##_Update, stem##_Invoke, stem##_ProcessAudioSample, stem##_Destroy

#define UNSERVED "This case is not supported. Please check your spelling\n"

namespace {
constexpr BlockOps kSources[] = {
    {EN_SOURCE_CLIME, SOURCE_OPS(ClimeFrequencySource), clear_state::begin_again<ClimeFrequencySource_Update>},
    {EN_SOURCE_DC, SOURCE_OPS(DCInputSource), clear_state::nothing},
    {{EN_SOURCE_OSC_BEEQ, EN_SOURCE_OSC_TRIANGLE},
     SOURCE_OPS(OscillatorSource),
     clear_state::begin_again<OscillatorSource_Update>},
    {EN_SOURCE_VCO, SOURCE_OPS(VCOSource), clear_state::vco},
    {EN_SOURCE_WHITENOISE, SOURCE_OPS(WhiteNoiseSource), clear_state::nothing},
    {EN_SOURCE_SWEEP, SOURCE_OPS(SweepSource), clear_state::begin_again<SweepSource_Update>},
    {EN_SOURCE_SWITCH, SOURCE_OPS(SwitchSource), clear_state::nothing},
};
}  // namespace

LBX_CATEGORY_INIT(SOURCE, kSources, UNSERVED)
LBX_CATEGORY_PARAMS(SOURCE, kSources, UNSERVED, -1)

// Any failure here is fatal to the audio thread.
int BlockAlgo_SOURCE_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    const char* const func = __func__;
    const auto run = [=](const BlockOps& row) -> int {
        return row.process(blk, data_in, data_out) == RT_OK ? RT_OK : RT_ERR_FATAL_THREAD;
    };
    return with_row<kSources>(blk->method_type, run,
                              [func] { return refuse(func, __LINE__, UNSERVED, RT_ERR_FATAL_THREAD); });
}

[[gnu::cold]] int BlockAlgo_SOURCE_destroy(BlockAlgo* blk)
{
    const char* const func = __func__;
    const auto destroy = [=](const BlockOps& row) -> int {
        return row.destroy(blk) == RT_OK ? RT_OK : refuse(func, __LINE__, "Source Modle Destory failed!\n", RT_ERR_BAD);
    };
    return with_row<kSources>(blk->method_type, destroy,
                              [func] { return refuse(func, __LINE__, UNSERVED, RT_ERR_BAD); });
}
