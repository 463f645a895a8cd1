// SPDX-License-Identifier: Apache-2.0
// The second arithmetic as the runtime reaches it: through one table, so that a build or a static product can be
// without.
#pragma once

#include <vantoro/common/block_types.h>

#include "vantoro_graph.h"

typedef struct VantoroQuiet VantoroQuiet;

struct VantoroGraphArithmetic {
    int (*takes)(int type);
    VantoroQuiet* (*create)(BlockAlgo* blk);
    int (*prepare)(VantoroQuiet* quiet);
    int (*process)(VantoroQuiet* quiet, float** in, float** out);
    int (*clear)(VantoroQuiet* quiet);
    void (*destroy)(VantoroQuiet* quiet);
};

namespace vgraph {

inline const VantoroGraphArithmetic* quiet_arithmetic() { return Vantoro_graph_arithmetic; }

}  // namespace vgraph
