// SPDX-License-Identifier: Apache-2.0
// Different blocks on different threads, and the log handler set while they run. Of use under the thread sanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/every_block.h"
#include "vantoro.h"

namespace {

// Two handlers, each with a pointer of its own.
std::atomic<int> g_lines{0}, g_torn{0};
const char g_user[2] = {};
template <int kWhich>
void take(const char* line, void* user)
{
    ++(user == &g_user[kWhich] && line[0] == 'L' ? g_lines : g_torn);
}
template <int kWhich>
void set_handler()
{
    Vantoro_set_log_handler(take<kWhich>, const_cast<char*>(&g_user[kWhich]));
}

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
    set_handler<0>();
    BlockPro pro = {48000, 16, 64, 0, 0};  // shared: blocks only read it
    std::atomic<bool> done{false};
    std::vector<std::thread> workers;
    for (int t = 0; t < 3; ++t)
        workers.emplace_back([&pro] {
            for (int round = 0; round < 5; ++round)
                for (const rig::BlockCase& row : rig::every_block())
                    live(row, &pro);
        });
    workers.emplace_back([] {
        for (int line = 0; line < 300000; ++line)
            DCBlocking_param_set(nullptr, nullptr);  // does nothing but log
    });
    std::thread switcher([&] {
        while (!done) {
            set_handler<1>();
            set_handler<0>();
        }
    });
    for (std::thread& worker : workers)
        worker.join();
    done = true;
    switcher.join();
    Vantoro_set_log_handler(nullptr, nullptr);
    EXPECT_GT(g_lines, 1000);
    EXPECT_EQ(g_torn, 0);
}
