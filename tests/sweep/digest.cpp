// SPDX-License-Identifier: Apache-2.0
// Prints one line per block type and configuration: a hash over every bit it puts out for a fixed stimulus. Equal lines
// on two machines mean equal audio. NaN counts as NaN, whatever its sign and payload: those differ between CPUs.
#include <cstdio>
#include <cstdlib>

#include "support/every_block.h"
#include "support/rig.h"

namespace {

struct Config {
    int rate, block;
    bool set;  // false: as created
};

class Fnv1a {
public:
    void add(std::uint32_t word)
    {
        const bool is_nan = (word & 0x7fffffffU) > 0x7f800000U;
        hash_ = (hash_ ^ (is_nan ? 0x7fc00000U : word)) * 0x100000001b3U;
    }
    unsigned long long value() const { return hash_; }

private:
    std::uint64_t hash_ = 0xcbf29ce484222325U;
};

unsigned long long digest(const rig::BlockCase& row, const Config& config)
{
    std::srand(1);  // the white noise draws from the C library's sequence
    rig::Rig blk(row.type, row.inputs, row.outputs, {.rate = config.rate, .block = config.block});
    if (config.set && !row.vector.empty())
        blk.set(row.vector);
    blk.update();
    Fnv1a hash;
    for (const auto& pin : blk.run(rig::stimulus(row.inputs, 24 * config.block)))
        for (const std::uint32_t word : rig::bits(pin))
            hash.add(word);
    return hash.value();
}

}  // namespace

int main()
{
    for (const rig::BlockCase& row : rig::every_block()) {
        if (row.type >= EN_IN && row.type < EN_QVALGO)
            continue;  // the terminals are not processed
        for (const Config& config : {Config{48000, 64, false}, Config{48000, 64, true}, Config{44100, 57, true}}) {
            std::printf("%d %d %d %s %016llx\n", row.type, config.rate, config.block, config.set ? "set" : "new",
                        digest(row, config));
        }
    }
}
