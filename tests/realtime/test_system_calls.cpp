// SPDX-License-Identifier: Apache-2.0
// Process runs in a child under strict seccomp, where any system call but write and exit is death.
#include <gtest/gtest.h>

#include <csignal>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <linux/seccomp.h>

#include "support/every_block.h"
#include "support/rig.h"

namespace {

constexpr int kCalls = 200;

// How a child ends that runs `body` and may then not make a system call any more. Strict mode forbids exit_group, so
// the child leaves by the plain exit.
template <class Body>
int sealed(const Body& body)
{
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT);
        body();
        syscall(SYS_exit, 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

}  // namespace

TEST(SystemCalls, KillASealedChild)
{
    const int status = sealed([] { syscall(SYS_getpid); });
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST(SystemCalls, AreNeverMadeByProcess)
{
    for (const rig::BlockCase& row : rig::every_block()) {
        if (row.type >= EN_IN && row.type < EN_QVALGO)
            continue;  // a terminal logs that it is not processed
        for (const int block : {1, 64, 57}) {
            rig::Rig blk(row.type, row.inputs, row.outputs, {.block = block});
            ASSERT_TRUE(blk) << row.type;
            if (block > 1 && !row.vector.empty())
                blk.set(row.vector);
            std::vector<std::vector<float>> pins;
            std::vector<float*> in, out;
            for (int pin = 0; pin < row.inputs + row.outputs; ++pin) {
                pins.push_back(rig::noise(block, static_cast<std::uint32_t>(pin + 5)));
                (pin < row.inputs ? in : out).push_back(pins.back().data());
            }
            const int status = sealed([&] {
                for (int call = 0; call < kCalls; ++call)
                    BlockAlgo_process(blk.block(), in.data(), out.data());
            });
            EXPECT_EQ(status, 0) << "type " << row.type << " at block " << block << " ended with signal "
                                 << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
        }
    }
}
