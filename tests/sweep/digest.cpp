// SPDX-License-Identifier: Apache-2.0
// Prints one line per block type and configuration: a hash over every bit it puts out for a fixed stimulus. Equal lines
// on two machines mean equal audio.
#include <cstdio>

#include "output_hash.h"

namespace {

struct Config {
    int rate, block;
    bool set;  // false: as created
};

}  // namespace

int main()
{
    for (const rig::BlockCase& row : rig::every_block()) {
        if (row.type >= EN_IN && row.type < EN_QVALGO)
            continue;  // the terminals are not processed
        for (const Config& config : {Config{48000, 64, false}, Config{48000, 64, true}, Config{44100, 57, true}}) {
            sweep::Hash hash;
            const auto vector = config.set ? row.vector : std::vector<float>{};
            sweep::hash_outputs(hash, row, vector, {config.rate, 16, config.block, 0, 0}, 24);
            std::printf("%d %d %d %s %016llx\n", row.type, config.rate, config.block, config.set ? "set" : "new",
                        hash.value());
        }
    }
}
