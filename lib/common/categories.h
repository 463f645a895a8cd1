// SPDX-License-Identifier: Apache-2.0
// Which categories BlockAlgo_init and its companions serve. In the shared library, and in a static link that does not
// say, all of them. A product that links libvantoro.a and names its categories carries no other; in one of its C files:
//
//   #include <vantoro/common/categories.h>
//   VANTORO_CATEGORIES = {VANTORO_CATEGORY(EN_FILTER, FILTER), VANTORO_CATEGORY(EN_DP, DP)};
//
// A type of any other category is then one that does not exist. Terminals (EN_IN, EN_OUT) always do.
#ifndef VANTORO_COMMON_CATEGORIES_H
#define VANTORO_COMMON_CATEGORIES_H

#include "category.h"

// The seven functions of a category, as common/category.h declares them.
typedef struct VantoroCategory {
    BlockAlgo* (*init)(int nInputs, int nOutputs, BlockPro* block_pro, int type);
    int (*param_reset)(BlockAlgo* blk, float* param);
    int (*param_update)(BlockAlgo* blk);
    int (*param_invoke)(BlockAlgo* blk);
    int (*process)(BlockAlgo* blk, float** data_in, float** data_out);
    int (*clear)(BlockAlgo* blk);
    int (*destroy)(BlockAlgo* blk);
} VantoroCategory;

// The place of a category's types: the second byte of their codes. Nothing is served where the functions are null.
#define VANTORO_CATEGORY_OF(type) (((unsigned)(type) >> 8U) & 0xffU)
#define VANTORO_CATEGORY_COUNT 15

// clang-format off
#define VANTORO_FUNCTIONS(prefix)                                                                     \
    {                                                                                                 \
        BlockAlgo_##prefix##_init, BlockAlgo_##prefix##_param_reset, BlockAlgo_##prefix##_param_update, \
        BlockAlgo_##prefix##_param_invoke, BlockAlgo_##prefix##_process, BlockAlgo_##prefix##_clear,    \
        BlockAlgo_##prefix##_destroy                                                                  \
    }
// clang-format on
#define VANTORO_CATEGORY(first_type, prefix) [VANTORO_CATEGORY_OF(first_type)] = VANTORO_FUNCTIONS(prefix)
#define VANTORO_CATEGORIES const VantoroCategory Vantoro_categories[VANTORO_CATEGORY_COUNT]

#endif
