// SPDX-License-Identifier: Apache-2.0
#include "switch.h"

#include "source.h"
#include "switch_info.h"

using namespace lbx;

namespace {

void apply(Switch_Core_S& core, float* param, const BlockPro&) { core.switch_value = to_int(param[kSwitchValue]); }

constexpr Generator<Switch_Core_S> kSource = {kInitial<switch_source::kLayout>, apply};

}  // namespace

BlockAlgo* SwitchSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    return source_init(kSource, Input_pin, Output_pin, block_pro, type);
}

spx_int32_t SwitchSource_ResetParam(BlockAlgo* blk, void* param) { return source_reset(kSource, blk, param); }

spx_int32_t SwitchSource_Update(BlockAlgo* blk) { return source_reset(kSource, blk, nullptr); }

spx_int32_t SwitchSource_Invoke(BlockAlgo* blk)
{
    if (blk) {
        LBX_LOG("Switch param is %f\n", static_cast<double>(blk->pParam[kSwitchValue]));
    }
    return RT_OK;
}

spx_int32_t SwitchSource_ProcessAudioSample(BlockAlgo* blk, float**, float** data_out)
{
    const auto* core = core_of<Switch_Core_S>(blk);
    return fill_pins(blk, core->Out_NumChannel, data_out, static_cast<float>(core->switch_value));
}

spx_int32_t SwitchSource_Destroy(BlockAlgo* blk) { return free_block(blk); }
