// SPDX-License-Identifier: Apache-2.0
// Prints, per block type, how many parameter vectors it was given and a hash over what the block then put out. The
// vectors walk each entry through many values while the others stay, so that each function of the C library that a
// design calls sees many arguments.
#include <cstdio>

#include "output_hash.h"

namespace {

constexpr int kSteps = 30;

// Numbers of choices first, then about the entry's own value.
float walked(float own, int step)
{
    if (step < 10)
        return static_cast<float>(step);
    const float way = static_cast<float>(step - 19) * 0.0837F;
    return own * (1 + way) + 10 * way;
}

int walk(sweep::Hash& hash, const rig::BlockCase& row, std::size_t entry, int rate)
{
    int count = 0;
    for (int step = 0; step < kSteps; ++step) {
        std::vector<float> vector = row.vector;
        vector[entry] = walked(vector[entry], step);
        if (Vantoro_param_check(row.type, row.inputs, row.outputs, vector.data(), static_cast<int>(vector.size()),
                                nullptr, 0) != RT_OK)
            continue;
        sweep::hash_outputs(hash, row, vector, {rate, 16, 32, 0, 0}, 2);
        ++count;
    }
    return count;
}

}  // namespace

int main()
{
    for (const rig::BlockCase& row : rig::every_block()) {
        sweep::Hash hash;
        int count = 0;
        for (std::size_t entry = 0; entry < row.vector.size(); ++entry)
            for (const int rate : {44100, 48000})
                count += walk(hash, row, entry, rate);
        if (count > 0)
            std::printf("%d %d %016llx\n", row.type, count, hash.value());
    }
}
