// SPDX-License-Identifier: Apache-2.0
// Process runs in a child under strict seccomp, where any system call but write and exit is death.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <linux/seccomp.h>

#include "catalog/catalog.h"
#include "engine/engine.h"
#include "support/every_block.h"
#include "support/rig.h"

namespace {

constexpr int kCalls = 200;
constexpr int kAllocated = 1;  // exit status of a child

struct Config {
    vantoro::PinCounts pins;
    rig::Rig::Context context;
    std::vector<float> vector;  // empty: as created
    bool hostile = false;       // samples that are no audio
};

// What one more channel makes of the pins, where the type has such blocks.
vantoro::PinCounts more_pins(const vantoro::BlockType& type, vantoro::PinCounts pins)
{
    for (const vantoro::PinCounts step : {vantoro::PinCounts{1, 1}, {1, 0}, {0, 1}, {1, 2}, {2, 2}, {1, 3}}) {
        const vantoro::PinCounts more{pins.inputs + step.inputs, pins.outputs + step.outputs};
        if (pins_fit(type, more))
            return more;
    }
    return pins;
}

std::vector<Config> configs_of(const rig::BlockCase& row, const vantoro::BlockType& type)
{
    const vantoro::PinCounts pins{row.inputs, row.outputs}, more = more_pins(type, pins);
    return {{pins, {.block = 1}, {}},
            {pins, {.block = 64}, row.vector},
            {pins, {.rate = 44100, .block = 57}, row.vector},
            {pins, {.block = 16}, row.vector, true},
            {more, {.rate = 96000, .block = 256}, vantoro::default_vector(type, more)}};
}

std::vector<float> signal_of(const Config& config, int pin)
{
    std::vector<float> signal = rig::noise(config.context.block, static_cast<std::uint32_t>(pin + 5));
    constexpr float kHostile[] = {NAN, INFINITY, -INFINITY, 1e-40F, 3e38F, -2147483648.0F, -0.0F};
    for (std::size_t i = 0; config.hostile && i < signal.size(); i += 2)
        signal[i] = kHostile[(i / 2 + static_cast<std::size_t>(pin)) % std::size(kHostile)];
    return signal;
}

// How a child ends that runs `body` and may then neither make a system call nor allocate or free. Strict mode forbids
// exit_group, so the child leaves by the plain exit.
template <class Body>
int sealed(const Body& body)
{
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT);
        const long before = rig::Allocator::touched();
        body();
        syscall(SYS_exit, rig::Allocator::touched() == before ? 0 : kAllocated);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

}  // namespace

TEST(SystemCalls, EndASealedChildAsAllocationsDo)
{
    EXPECT_EQ(WEXITSTATUS(sealed([] {
                  void* volatile p = std::malloc(1);
                  std::free(p);
              })),
              kAllocated);
    const int status = sealed([] { syscall(SYS_getpid); });
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST(SystemCalls, AreNeverMadeByProcess)
{
    Vantoro_set_log_handler([](const char*, void*) {}, nullptr);  // a delay out of range is reported, by design
    for (const rig::BlockCase& row : rig::every_block()) {
        if (row.type >= EN_IN && row.type < EN_QVALGO)
            continue;  // a terminal logs that it is not processed
        const vantoro::BlockType& type = *vantoro::find_type(row.type);
        for (const Config& config : configs_of(row, type)) {
            const auto [inputs, outputs] = config.pins;
            rig::Rig blk(row.type, inputs, outputs, config.context);
            ASSERT_TRUE(blk) << row.type;
            std::vector<float> vector = config.vector;
            Vantoro_param_apply(blk.block(), vector.data(), static_cast<int>(vector.size()));
            std::vector<float> run;  // of all pins: the state machine addresses its inputs so
            for (int pin = 0; pin < inputs + outputs; ++pin)
                std::ranges::copy(signal_of(config, pin), std::back_inserter(run));
            std::vector<float*> in, out;
            for (int pin = 0; pin < inputs + outputs; ++pin)
                (pin < inputs ? in : out).push_back(run.data() + pin * config.context.block);
            const int status = sealed([&] {
                for (int call = 0; call < kCalls; ++call)
                    BlockAlgo_process(blk.block(), in.data(), out.data());
            });
            EXPECT_EQ(status, 0) << type.name << " at block " << config.context.block << ", " << inputs << " -> "
                                 << outputs << (WIFSIGNALED(status) ? " made a system call" : " touched the heap");
        }
    }
    Vantoro_set_log_handler(nullptr, nullptr);
}
