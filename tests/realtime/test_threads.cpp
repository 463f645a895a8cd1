// SPDX-License-Identifier: Apache-2.0
// Different blocks on different threads, and the log handler set while they run. Of use under the thread sanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/every_block.h"
#include "vantoro.h"

namespace {

struct Inbox {
    std::atomic<int> lines{0};
    const Inbox* self = this;  // wrong when a handler meets another's pointer
    static void take(const char* line, void* user)
    {
        auto* inbox = static_cast<Inbox*>(user);
        if (inbox->self == inbox && line[0] == 'L')
            ++inbox->lines;
    }
};

// Every type from creation to its end, with a parameter print in between.
void live(const rig::BlockCase& row, BlockPro* pro)
{
    BlockAlgo* blk = BlockAlgo_init(pro, row.inputs, row.outputs, row.type);
    ASSERT_NE(blk, nullptr) << row.type;
    const auto samples = static_cast<std::size_t>(pro->nBlockSize);
    std::vector<float> memory(samples * static_cast<std::size_t>(row.inputs + row.outputs), 0.25F);
    std::vector<float*> in, out;
    for (int pin = 0; pin < row.inputs + row.outputs; ++pin)
        (pin < row.inputs ? in : out).push_back(memory.data() + static_cast<std::size_t>(pin) * samples);
    std::vector<float> vector = row.vector;
    if (!vector.empty())
        BlockAlgo_param_reset(blk, vector.data());
    BlockAlgo_param_update(blk);
    BlockAlgo_param_invoke(blk);
    for (int call = 0; call < 8; ++call)
        BlockAlgo_process(blk, in.data(), out.data());
    BlockAlgo_destroy(blk);
}

}  // namespace

TEST(Threads, RunDifferentBlocksWhileTheLogHandlerChanges)
{
    Inbox first, second;
    Vantoro_set_log_handler(Inbox::take, &first);
    BlockPro pro = {48000, 16, 64, 0, 0};  // shared: blocks only read it
    std::atomic<bool> done{false};
    std::vector<std::thread> workers;
    for (int t = 0; t < 3; ++t)
        workers.emplace_back([&pro] {
            for (int round = 0; round < 5; ++round)
                for (const rig::BlockCase& row : rig::every_block())
                    live(row, &pro);
        });
    std::thread switcher([&] {
        for (bool which = false; !done; which = !which)
            Vantoro_set_log_handler(Inbox::take, which ? &first : &second);
    });
    for (std::thread& worker : workers)
        worker.join();
    done = true;
    switcher.join();
    Vantoro_set_log_handler(nullptr, nullptr);
    EXPECT_GT(first.lines + second.lines, 1000);
}
