// SPDX-License-Identifier: Apache-2.0
// Type code to module: one row per run of codes. Categories differ in their rows, not in code.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "block_types.h"
#include "log.h"

namespace lbx {

struct BlockOps {
    int first, last;  // type codes served, both included
    BlockAlgo* (*init)(int nInputs, int nOutputs, BlockPro* pro, int type);
    int (*param_set)(BlockAlgo* blk, float* vector);
    int (*param_update)(BlockAlgo* blk);
    int (*param_invoke)(BlockAlgo* blk);
    int (*process)(BlockAlgo* blk, float** in, float** out);
    int (*destroy)(BlockAlgo* blk);
};

using OpsTable = std::span<const BlockOps>;

// The row that serves `type`, or null.
constexpr const BlockOps* find_ops(OpsTable table, int type)
{
    for (const BlockOps& row : table)
        if (type >= row.first && type <= row.last)
            return &row;
    return nullptr;
}

// True when the runs are in order, do not overlap and stay in one category.
constexpr bool ascending(OpsTable table)
{
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (table[i].first > table[i].last || (table[i].first & 0xff00) != (table[i].last & 0xff00))
            return false;
        if (i > 0 && (table[i].first <= table[i - 1].last || (table[i].first & 0xff00) != (table[0].first & 0xff00)))
            return false;
    }
    return true;
}

// Some modules take their vector as void*; a table has one form.
template <auto Set>
int set_with(BlockAlgo* blk, float* vector)
{
    return Set(blk, vector);
}

// An update that applies the stored vector again: set without a vector.
template <auto Set>
int reapply(BlockAlgo* blk)
{
    return Set(blk, nullptr);
}

// The six functions of a module that follows the common naming.
#define LBX_OPS(stem)                                                                                       \
    stem##_init, lbx::set_with<stem##_param_set>, stem##_param_update, stem##_param_invoke, stem##_process, \
        stem##_destroy

}  // namespace lbx

// Defines the six functions of a category over its table. An unserved type logs `message` and yields `refused` (init:
// null). A category with a deviation takes the parts it shares.
#define LBX_CATEGORY(prefix, table, message, refused)    \
    LBX_CATEGORY_INIT(prefix, table, message)            \
    LBX_CATEGORY_PARAMS(prefix, table, message, refused) \
    LBX_CATEGORY_RUN(prefix, table, message, refused)

#define LBX_CATEGORY_INIT(prefix, table, message)                                            \
    BlockAlgo* BlockAlgo_##prefix##_init(int nInputs, int nOutputs, BlockPro* pro, int type) \
    {                                                                                        \
        if (const lbx::BlockOps* ops = lbx::find_ops(table, type))                           \
            return ops->init(nInputs, nOutputs, pro, type);                                  \
        LBX_LOG(message);                                                                    \
        return nullptr;                                                                      \
    }

#define LBX_CATEGORY_PARAMS(prefix, table, message, refused)                                                     \
    LBX_CATEGORY_CALL(prefix, param_reset, param_set, table, message, refused, (BlockAlgo * blk, float* vector), \
                      (blk, vector))                                                                             \
    LBX_CATEGORY_CALL(prefix, param_update, param_update, table, message, refused, (BlockAlgo * blk), (blk))     \
    LBX_CATEGORY_CALL(prefix, param_invoke, param_invoke, table, message, refused, (BlockAlgo * blk), (blk))

#define LBX_CATEGORY_RUN(prefix, table, message, refused)                                             \
    LBX_CATEGORY_CALL(prefix, process, process, table, message, refused,                              \
                      (BlockAlgo * blk, float** data_in, float** data_out), (blk, data_in, data_out)) \
    LBX_CATEGORY_CALL(prefix, destroy, destroy, table, message, refused, (BlockAlgo * blk), (blk))

#define LBX_CATEGORY_CALL(prefix, name, op, table, message, refused, params, args) \
    int BlockAlgo_##prefix##_##name params                                         \
    {                                                                              \
        if (const lbx::BlockOps* ops = lbx::find_ops(table, blk->method_type))     \
            return ops->op args;                                                   \
        LBX_LOG(message);                                                          \
        return refused;                                                            \
    }
