// SPDX-License-Identifier: Apache-2.0
// The functions that run a type, by name: for code that is generated for one product, calls them directly and so links
// only what it uses. The program links this; the library carries none of it.
#pragma once

namespace lbx {

struct ModuleNames {
    const char* header;        // that declares them, below <vantoro/>: "filters/first_order.h"
    const char* init;          // BlockAlgo* (int inputs, int outputs, BlockPro* pro, int type)
    const char* param_set;     // int (BlockAlgo* blk, float* or void* vector)
    const char* param_update;  // int (BlockAlgo* blk)
    const char* process;       // int (BlockAlgo* blk, float** in, float** out)
    const char* destroy;       // int (BlockAlgo* blk)
};

// Null: no such type, or a terminal.
const ModuleNames* module_names(int type);

}  // namespace lbx
