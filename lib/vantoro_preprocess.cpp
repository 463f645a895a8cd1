// SPDX-License-Identifier: Apache-2.0
#include "vantoro_preprocess.h"

#include <cstdlib>

#include "common/category.h"
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

// The terminals mark where the host moves audio in and out of its graph. They have nothing to set and nothing to run.
BlockAlgo* terminal_init(int nInputs, int nOutputs, BlockPro* pro, int type)
{
    return new_block(nInputs, nOutputs, pro, type, free_block).release();
}
int terminal_set(BlockAlgo*, float*) { return 0; }
int terminal_call(BlockAlgo*) { return 0; }

struct Category {
    BlockAlgo* (*init)(int nInputs, int nOutputs, BlockPro* pro, int type);
    int (*param_reset)(BlockAlgo* blk, float* vector);
    int (*param_update)(BlockAlgo* blk);
    int (*param_invoke)(BlockAlgo* blk);
    int (*process)(BlockAlgo* blk, float** in, float** out);
    int (*destroy)(BlockAlgo* blk);
};

#define CATEGORY(prefix)                                                                                  \
    {                                                                                                     \
        BlockAlgo_##prefix##_init, BlockAlgo_##prefix##_param_reset, BlockAlgo_##prefix##_param_update,   \
            BlockAlgo_##prefix##_param_invoke, BlockAlgo_##prefix##_process, BlockAlgo_##prefix##_destroy \
    }

constexpr Category kUnserved = {};
// A terminal is not processed: the host moves the audio itself.
constexpr Category kTerminal = {terminal_init, terminal_set, terminal_call, terminal_call, nullptr, free_block};

// Indexed by the category byte, (type & 0xff00) >> 8.
constexpr Category kCategories[] = {
    CATEGORY(LD),      // EN_LOUDNESS
    CATEGORY(Basic),   // EN_BASIC_DSP
    CATEGORY(DP),      // EN_DP
    CATEGORY(FILTER),  // EN_FILTER
    CATEGORY(DETECTOR), CATEGORY(Mixers), CATEGORY(MUXES), CATEGORY(NLP),
    kUnserved,  // EN_SHARC
    CATEGORY(SOURCE),   CATEGORY(VC),
    kTerminal,  // EN_IN
    kTerminal,  // EN_OUT
    kUnserved,  // EN_HARDWARE
    CATEGORY(QVALGO),
};

const Category& category_of(int type)
{
    const unsigned index = (static_cast<unsigned>(type) & 0xff00U) >> 8U;
    if (index < sizeof kCategories / sizeof kCategories[0]) [[likely]]
        return kCategories[index];
    return kUnserved;
}

}  // namespace

// Routes one call, or reports the type under the entry point's own name and line.
#define ROUTE(op, line, ...)                                        \
    if (const auto call = category_of(Algo_struct->method_type).op) \
        return call(Algo_struct __VA_OPT__(, ) __VA_ARGS__);        \
    LBX_LOG_AS(__func__, line, "wrong input type\n");               \
    return 0

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
    if (const auto init = category_of(type).init)
        return init(Input_pin, Output_pin, static_cast<BlockPro*>(st_), type);
    LBX_LOG_AS("BlockAlgo_init", 101, "wrong input type\n");
    return nullptr;
}

int BlockAlgo_param_reset(BlockAlgo* Algo_struct, void* param) { ROUTE(param_reset, 148, static_cast<float*>(param)); }

int BlockAlgo_param_update(BlockAlgo* Algo_struct) { ROUTE(param_update, 194); }

int BlockAlgo_param_invoke(BlockAlgo* Algo_struct) { ROUTE(param_invoke, 240); }

int BlockAlgo_process(BlockAlgo* Algo_struct, float** data_in, float** data_out)
{
    const BlockPro* pro = Algo_struct->block_pro;
    const bool served = category_of(Algo_struct->method_type).process != nullptr;
    if (served && pro && pro->nBlockSize < 1)  // then a control pin has no first sample either
        return RT_OK;
    ROUTE(process, 284, data_in, data_out);
}

int BlockAlgo_destroy(BlockAlgo* Algo_struct) { ROUTE(destroy, 332); }
