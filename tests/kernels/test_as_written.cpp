// SPDX-License-Identifier: Apache-2.0
// Blocks with a hot kernel against the plain loop of their rule, through the public entry points: the same bits at
// block sizes that leave heads, tails and single samples, for every packing of channels, apart and in place, and while
// gains glide. Delay lines wrap more than once.
#include <gtest/gtest.h>

#include <algorithm>

#include "bench/as_written.h"
#include "support/rig.h"

namespace {

using as_written::Kernel;

constexpr int kRate = 8000;
constexpr int kSamples = 600, kBlocks = 12;  // at least
constexpr int kTurn = 5;                     // blocks from one parameter set to the next

// The pins of the plain loop: copies of the rig's, wired alike.
struct Twin {
    std::vector<std::vector<float>> in, out;
    std::vector<float*> ip, op;

    Twin(int inputs, int outputs, int n, bool in_place)
        : in(static_cast<std::size_t>(inputs), std::vector<float>(static_cast<std::size_t>(n))),
          out(static_cast<std::size_t>(outputs), std::vector<float>(static_cast<std::size_t>(n)))
    {
        for (auto& pin : in)
            ip.push_back(pin.data());
        for (std::size_t p = 0; p < out.size(); ++p)
            op.push_back(in_place && p < in.size() ? in[p].data() : out[p].data());
    }
};

void compare(const Kernel& kernel, int channels, int n, bool in_place)
{
    const int inputs = kernel.inputs(channels), outputs = kernel.outputs(channels);
    rig::Rig blk(kernel.type, inputs, outputs, {.rate = kRate, .block = n});
    ASSERT_TRUE(blk);
    const auto loop = kernel.loop(*blk.block());
    Twin twin(inputs, outputs, n, in_place);
    for (int pin = 0; in_place && pin < std::min(inputs, outputs); ++pin)
        blk.alias(pin, pin);
    std::vector<float> vector;
    loop->set(*blk.block());
    for (int block = 0; block < std::max(kBlocks, kSamples / n); ++block) {
        if (const auto wanted = kernel.vector(channels, block / kTurn); wanted != vector) {
            vector = wanted;
            blk.set(vector);
            loop->set(*blk.block());
        }
        for (int pin = 0; pin < outputs; ++pin) {  // some samples are never written
            std::ranges::fill(blk.out(pin), -7.0F);
            std::fill_n(twin.op[static_cast<std::size_t>(pin)], n, -7.0F);
        }
        for (int pin = 0; pin < inputs; ++pin) {
            const auto noise = rig::noise(n, static_cast<std::uint32_t>(16 * block + pin + 1));
            std::ranges::copy(noise, blk.in(pin).begin());
            std::ranges::copy(noise, twin.ip[static_cast<std::size_t>(pin)]);
        }
        blk.process();
        loop->run(twin.ip.data(), twin.op.data(), n);
        for (int pin = 0; pin < outputs; ++pin) {
            const float* expected = twin.op[static_cast<std::size_t>(pin)];
            ASSERT_EQ(rig::bits(in_place && pin < inputs ? blk.in(pin) : blk.out(pin)),
                      rig::bits({expected, static_cast<std::size_t>(n)}))
                << "output " << pin << ", block " << block;
        }
        if (const auto levels = loop->levels(); !levels.empty()) {
            int count = 0;
            const float* read = LevelDetector_levels(blk.block(), &count);
            ASSERT_EQ(rig::bits({read, static_cast<std::size_t>(count)}), rig::bits(levels)) << "block " << block;
        }
    }
}

class AsWritten : public testing::TestWithParam<Kernel> {};

TEST_P(AsWritten, GivesTheSameBits)
{
    const Kernel& kernel = GetParam();
    for (int n : {1, 3, 4, 5, 48, 64, 257})
        for (int channels = 1; channels <= kernel.most; ++channels)
            for (bool in_place : {false, true}) {
                if (in_place && !kernel.in_place)
                    continue;
                SCOPED_TRACE(testing::Message() << channels << " channels, block " << n << ", in place " << in_place);
                compare(kernel, channels, n, in_place);
                if (HasFatalFailure())
                    return;
            }
}

INSTANTIATE_TEST_SUITE_P(Kernels, AsWritten,
                         testing::ValuesIn(as_written::kernels().begin(), as_written::kernels().end()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
