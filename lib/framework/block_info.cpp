// SPDX-License-Identifier: Apache-2.0
#include "../common/block_info.h"

#include "info.h"
#include "info_list.h"

namespace {

using namespace lbx::info;

constexpr const InfoRows* kModules[] = {
#define LBX_ADDRESS(module) &k##module##Info,
    LBX_DESCRIBED(LBX_ADDRESS)
#undef LBX_ADDRESS
};

const InfoRow* find_row(int type)
{
    for (const InfoRows* module : kModules)
        for (const InfoRow& row : *module)
            if (row.info.type == type)
                return &row;
    return nullptr;
}

}  // namespace

const VantoroBlockInfo* Vantoro_block_info(int type)
{
    const InfoRow* row = find_row(type);
    return row ? &row->info : nullptr;
}

const VantoroBlockInfo* Vantoro_block_info_at(int index)
{
    for (const InfoRows* module : kModules) {
        const int count = static_cast<int>(module->size());
        if (index >= 0 && index < count)
            return &(*module)[static_cast<std::size_t>(index)].info;
        index -= count;
    }
    return nullptr;
}

int Vantoro_pins_fit(const VantoroPinRule* rule, int inputs, int outputs)
{
    return pins_fit(*rule, inputs, outputs) ? 1 : 0;
}

int Vantoro_count_per(VantoroPer per, int inputs, int outputs) { return count_per(per, inputs, outputs); }

int Vantoro_initial_vector(const VantoroBlockInfo* info, int inputs, int outputs, float* vector, int max)
{
    const std::span layout(info->layout, static_cast<std::size_t>(info->layout_count));
    return each_initial(layout, inputs, outputs, [=](int at, float v) {
        if (at < max)
            vector[at] = v;
    });
}

int Vantoro_block_linear(const BlockAlgo* blk, const VantoroLinearVisitor* visitor)
{
    const InfoRow* row = find_row(blk->method_type);
    if (!row || !row->linear_model)
        return 0;
    row->linear_model(blk, Paths(*visitor));
    return 1;
}
