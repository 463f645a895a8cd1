// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../framework/dispatch.h"
#include "schematic_design.h"

using namespace lbx;

namespace {
constexpr BlockOps kNlp[] = {
    {{EN_NLP_CLIPPERS_HARD, EN_NLP_CHANNEL_COPY}, LBX_OPS(Nlp), lbx::clear_state::nothing},
};
}  // namespace

// The module itself refuses a type, together with its pins and in its own words.
BlockAlgo* BlockAlgo_NLP_init(int nInputs, int nOutputs, BlockPro* pro, int type)
{
    return Nlp_init(nInputs, nOutputs, pro, type);
}
LBX_CATEGORY_PARAMS(NLP, kNlp, "wrong input type in NLP\n", 1)
LBX_CATEGORY_RUN(NLP, kNlp, "wrong input type in NLP\n", 1)
