// SPDX-License-Identifier: Apache-2.0
// A whole host in C++: blocks own themselves, and a gain glides while audio runs.
//
//   c++ -std=c++17 minimal.cpp $(pkg-config --cflags --libs vantoro)
#include <array>
#include <cstdio>
#include <memory>
#include <vantoro/vantoro.h>
#include <vector>

namespace {

struct Destroy {
    void operator()(BlockAlgo* block) const { BlockAlgo_destroy(block); }
};
using Block = std::unique_ptr<BlockAlgo, Destroy>;

void set(const Block& block, std::vector<float> vector)
{
    BlockAlgo_param_reset(block.get(), vector.data());
    BlockAlgo_param_update(block.get());
}

// The library's reports, with whose they are.
void report(const char* line, void* user) { std::printf("%s: %s", static_cast<const char*>(user), line); }

}  // namespace

int main()
{
    constexpr int kBlock = 64;
    BlockPro context = {48000, 24, kBlock, 0, 0};
    char name[] = "minimal";
    Vantoro_set_log_handler(report, name);

    const Block tone(BlockAlgo_init(&context, 0, 1, EN_SOURCE_OSC_SINE));
    const Block volume(BlockAlgo_init(&context, 1, 1, EN_VC_SIG_CONTROL_SLEW));
    if (!tone || !volume)
        return 1;
    set(tone, {1, 440});    // on, Hz
    set(volume, {12, -6});  // slew rate, dB
    BlockAlgo_param_invoke(volume.get());

    std::array<float, kBlock> source{}, output{};
    float* source_pin = source.data();
    float* output_pin = output.data();
    for (int second = 0; second < 2; ++second) {
        float peak = 0;
        for (int block = 0; block < context.nSamplingRate / kBlock; ++block) {
            BlockAlgo_process(tone.get(), nullptr, &source_pin);
            BlockAlgo_process(volume.get(), &source_pin, &output_pin);
            if (block % 10 == 0)
                peak = 0;
            for (const float sample : output)
                peak = sample > peak ? sample : peak;
        }
        std::printf("peak at the end: %.3f\n", static_cast<double>(peak));
        set(volume, {12, -20});  // between two blocks: the gain glides, nothing clicks
    }
}
