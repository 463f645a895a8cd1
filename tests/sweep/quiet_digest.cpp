// SPDX-License-Identifier: Apache-2.0
// As digest.cpp, of the second arithmetic: one line per block type that it takes.
#include <cstdio>

#include "output_hash.h"
#include "vantoro_quiet.h"

namespace {

// Every bit that a block puts out for a fixed stimulus of some blocks.
unsigned long long hash_of(const rig::BlockCase& row, BlockPro pro, int blocks)
{
    BlockAlgo* blk = BlockAlgo_init(&pro, row.inputs, row.outputs, row.type);
    BlockAlgo_param_reset(blk, std::vector<float>(row.vector).data());
    VantoroQuiet* quiet = Vantoro_quiet_create(blk);
    sweep::Signal in = rig::stimulus(row.inputs, blocks * pro.nBlockSize);
    sweep::Signal out(static_cast<std::size_t>(row.outputs),
                      std::vector<float>(static_cast<std::size_t>(pro.nBlockSize)));
    std::vector<float*> ip = sweep::pins_of(in), op = sweep::pins_of(out);
    sweep::Hash hash;
    for (int k = 0; k < blocks; ++k) {
        Vantoro_quiet_process(quiet, ip.data(), op.data());
        for (const std::vector<float>& pin : out)
            for (const std::uint32_t word : rig::bits(pin))
                hash.add(word);
        for (float*& pin : ip)
            pin += pro.nBlockSize;
    }
    Vantoro_quiet_destroy(quiet);
    BlockAlgo_destroy(blk);
    return hash.value();
}

}  // namespace

int main()
{
    for (const rig::BlockCase& row : rig::every_block())
        for (const int block : {64, 57})
            if (Vantoro_quiet_takes(row.type) == 1)
                std::printf("%d %d %016llx\n", row.type, block, hash_of(row, {48000, 16, block, 0, 0}, 24));
}
