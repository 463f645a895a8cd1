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
    {EN_SOURCE_CLIME, SOURCE_OPS(ClimeFrequencySource)},
    {EN_SOURCE_DC, SOURCE_OPS(DCInputSource)},
    {{EN_SOURCE_OSC_BEEQ, EN_SOURCE_OSC_TRIANGLE}, SOURCE_OPS(OscillatorSource)},
    {EN_SOURCE_VCO, SOURCE_OPS(VCOSource)},
    {EN_SOURCE_WHITENOISE, SOURCE_OPS(WhiteNoiseSource)},
    {EN_SOURCE_SWEEP, SOURCE_OPS(SweepSource)},
    {EN_SOURCE_SWITCH, SOURCE_OPS(SwitchSource)},
};
}  // namespace

LBX_CATEGORY_INIT(SOURCE, kSources, UNSERVED)
LBX_CATEGORY_PARAMS(SOURCE, kSources, UNSERVED, -1)

// Any failure here is fatal to the audio thread.
int BlockAlgo_SOURCE_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    const BlockOps* ops = row_of<kSources>(blk->method_type);
    if (ops)
        return ops->process(blk, data_in, data_out) == RT_OK ? RT_OK : RT_ERR_FATAL_THREAD;
    LBX_LOG(UNSERVED);
    return RT_ERR_FATAL_THREAD;
}

int BlockAlgo_SOURCE_destroy(BlockAlgo* blk)
{
    const BlockOps* ops = row_of<kSources>(blk->method_type);
    if (!ops) {
        LBX_LOG(UNSERVED);
        return RT_ERR_BAD;
    }
    if (ops->destroy(blk) != RT_OK) {
        LBX_LOG("Source Modle Destory failed!\n");
        return RT_ERR_BAD;
    }
    return RT_OK;
}
