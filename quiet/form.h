// SPDX-License-Identifier: Apache-2.0
// What a family of block types does behind the public functions.
#pragma once

#include "vantoro_quiet.h"

namespace vquiet {

struct Form {
    VantoroQuiet* (*create)(BlockAlgo* blk);  // not yet prepared; null: no memory
    bool (*prepare)(VantoroQuiet* quiet);     // false: no memory, and nothing done
    int (*process)(VantoroQuiet* quiet, float** in, float** out);
    void (*clear)(VantoroQuiet* quiet);  // the block is clear
    void (*destroy)(VantoroQuiet* quiet);
};

}  // namespace vquiet

// The head of every form's own record.
struct VantoroQuiet {
    const vquiet::Form* form;
    BlockAlgo* block;
};
