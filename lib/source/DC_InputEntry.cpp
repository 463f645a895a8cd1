// SPDX-License-Identifier: Apache-2.0
#include "DC_InputEntry.h"

#include <bit>
#include <cstdint>

#include "DC_InputEntry_info.h"
#include "source.h"

using namespace lbx;

namespace {

void apply(DCInput_Core_S& core, float* param, const BlockPro&)
{
    core.fixedpoint_format = 1;
    core.integer_bit = 8;
    core.decimal_bit = 24;
    core.input_decimal = param[kDCInputDecimal];
    core.input_hex = std::bit_cast<std::int32_t>(core.input_decimal);
}

constexpr Generator<DCInput_Core_S> kSource = {kInitial<dc::kLayout>, apply};

}  // namespace

BlockAlgo* DCInputSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    return source_init(kSource, Input_pin, Output_pin, block_pro, type);
}

spx_int32_t DCInputSource_ResetParam(BlockAlgo* blk, void* param) { return source_reset(kSource, blk, param); }

spx_int32_t DCInputSource_Update(BlockAlgo* blk) { return source_reset(kSource, blk, nullptr); }

spx_int32_t DCInputSource_Invoke(BlockAlgo* blk)
{
    if (blk) {
        LBX_LOG("DCinput param is %f\n", static_cast<double>(blk->pParam[kDCInputDecimal]));
    }
    return RT_OK;
}

spx_int32_t DCInputSource_ProcessAudioSample(BlockAlgo* blk, float**, float** data_out)
{
    const auto* core = core_of<DCInput_Core_S>(blk);
    return fill_pins(blk, core->Out_NumChannel, data_out, core->input_decimal);
}

spx_int32_t DCInputSource_Destroy(BlockAlgo* blk) { return free_block(blk); }
