// SPDX-License-Identifier: Apache-2.0
#include "vantoro_preprocess.h"

#include <cstdint>
#include <cstdlib>

#include "framework/categories.h"
#include "framework/log.h"
#include "framework/new_block.h"
#include "vantoro_version.h"

#ifndef VANTORO_BUILD_DATE
#define VANTORO_BUILD_DATE __DATE__
#define VANTORO_BUILD_TIME __TIME__
#endif

using namespace lbx;

BlockPro g_block_pro = {48000, 16, 64, 0, 0};

namespace {

const VantoroCategory* category_of(int type)
{
    const unsigned at = VANTORO_CATEGORY_OF(type);
    return at < VANTORO_CATEGORY_COUNT ? &Vantoro_categories[at] : nullptr;
}

// The terminals mark where the host moves audio in and out of its graph. They have nothing to set and nothing to run.
bool is_terminal(int type)
{
    return VANTORO_CATEGORY_OF(type) == VANTORO_CATEGORY_OF(EN_IN) ||
           VANTORO_CATEGORY_OF(type) == VANTORO_CATEGORY_OF(EN_OUT);
}

// How many types each category has, in one run from its own code plus one.
constexpr std::uint8_t kTypes[VANTORO_CATEGORY_COUNT] = {
    EN_LOUDNESS_LH_EXT - EN_LOUDNESS,
    EN_BASIC_POLY - EN_BASIC_DSP,
    EN_DP_COMPRESSOR_EXT_PEAK - EN_DP,
    EN_FILTER_GRAPHICAL_EQ - EN_FILTER,
    EN_DETECTORS_LOOKUP_2D - EN_DETECTORS,
    EN_SPLIT_MULTI_SLEW - EN_MIXERS,
    EN_MUXES_STATE_MACHINE - EN_MUXES,
    EN_NLP_CHANNEL_COPY - EN_NLP,
    0,  // EN_SHARC
    EN_SOURCE_SWITCH - EN_SOURCE,
    EN_VC_MUTE - EN_VC,
    0,  // EN_IN
    0,  // EN_OUT
    0,  // EN_HARDWARE
    EN_QVALGO_REVERB - EN_QVALGO,
};

// A block of no samples: nothing, for a control pin has no first sample either. But what a category reports it reports,
// whatever the block size.
[[gnu::noinline]] int process_nothing(const VantoroCategory* category, BlockAlgo* blk, float** data_in,
                                      float** data_out)
{
    const int type = blk->method_type;
    const unsigned code = VANTORO_CATEGORY_OF(type);
    const bool reported = static_cast<unsigned>(type) - (code << 8U) - 1 >= kTypes[code] ||
                          (!(data_in && data_out) &&
                           (code == VANTORO_CATEGORY_OF(EN_BASIC_DSP) || code == VANTORO_CATEGORY_OF(EN_MIXERS)));
    return reported ? category->process(blk, data_in, data_out) : int{RT_OK};
}

// A call that no category serves.
[[gnu::cold]] int unserved(const BlockAlgo* blk, const char* func, int line)
{
    return is_terminal(blk->method_type) ? 0 : refuse(func, line, "wrong input type\n", 0);
}

}  // namespace

// Routes one call, or reports the type under the entry point's own name and line.
#define ROUTE(op, line, ...)                                                               \
    const VantoroCategory* category = category_of(Algo_struct->method_type);               \
    return category && category->op ? category->op(Algo_struct __VA_OPT__(, ) __VA_ARGS__) \
                                    : unserved(Algo_struct, __func__, line)

void Vantoro_version_invoke(void)
{
    LBX_LOG_AS("Vantoro_version_invoke", 18, "VANTORO-RELEASE-VERSION 1.0,  RELEASE DATE %s, %s \n\n",
               VANTORO_BUILD_DATE, VANTORO_BUILD_TIME);
}

const char* Vantoro_version(void) { return VANTORO_VERSION_STRING; }

void* BlockAlgo_BlockPro_init(int nSamplingRate, int bitRate, int nBlockSize)
{
    BlockPro* pro = nullptr;
    if (zeros(pro, 1))
        *pro = {nSamplingRate, bitRate, nBlockSize, 0, 0};
    return pro;
}

void BlockAlgo_BlockPro_destroy(void* st) { std::free(st); }

BlockAlgo* BlockAlgo_init(void* st_, int Input_pin, int Output_pin, int type)
{
    if (!st_) {
        LBX_LOG_AS("BlockAlgo_init", 54, "Need call BlockAlgo_BlockPro_init first\n\n");
        st_ = &g_block_pro;
    }
    auto* pro = static_cast<BlockPro*>(st_);
    if (is_terminal(type))
        return new_block(Input_pin, Output_pin, pro, type).release();
    if (const VantoroCategory* category = category_of(type); category && category->init)
        return category->init(Input_pin, Output_pin, pro, type);
    LBX_LOG_AS("BlockAlgo_init", 101, "wrong input type\n");
    return nullptr;
}

int BlockAlgo_param_reset(BlockAlgo* Algo_struct, void* param) { ROUTE(param_reset, 148, static_cast<float*>(param)); }

[[gnu::cold]] int BlockAlgo_param_update(BlockAlgo* Algo_struct) { ROUTE(param_update, 194); }

[[gnu::cold]] int BlockAlgo_param_invoke(BlockAlgo* Algo_struct) { ROUTE(param_invoke, 240); }

int BlockAlgo_process(BlockAlgo* Algo_struct, float** data_in, float** data_out)
{
    const BlockPro* pro = Algo_struct->block_pro;
    const VantoroCategory* category = category_of(Algo_struct->method_type);
    if (!category || !category->process) [[unlikely]]
        return refuse(__func__, 284, "wrong input type\n", 0);  // a terminal, too: the host moves the audio itself
    if (pro && pro->nBlockSize < 1) [[unlikely]]
        return process_nothing(category, Algo_struct, data_in, data_out);
    return category->process(Algo_struct, data_in, data_out);
}

[[gnu::cold]] int BlockAlgo_clear(BlockAlgo* Algo_struct) { ROUTE(clear, __LINE__); }

[[gnu::cold]] int BlockAlgo_destroy(BlockAlgo* Algo_struct)
{
    if (is_terminal(Algo_struct->method_type))
        return free_block(Algo_struct);
    ROUTE(destroy, 332);
}
