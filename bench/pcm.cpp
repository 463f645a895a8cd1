// SPDX-License-Identifier: Apache-2.0
// PCM conversions of stereo, interleaved; beside each the loop that a host would write.
#include "measure.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace bench {
namespace {

constexpr int kChannels = 2, kFrames = 480;  // 10 ms: both sides stay in the cache

struct Stream {
    std::vector<LBX_BYTE> bytes = std::vector<LBX_BYTE>(std::size_t{kChannels} * kFrames * 4);
    Pins pins{kChannels, 0, kFrames};

    Stream()
    {
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<LBX_BYTE>(37 * i);
    }
};

template <int Bytes>
float read_word(const LBX_BYTE* p)
{
    if constexpr (Bytes == 2) {
        std::int16_t word;
        std::memcpy(&word, p, 2);
        return static_cast<float>(word) / 32767.0F;
    } else {
        std::int32_t word = p[0] | p[1] << 8 | p[2] << 16;
        return static_cast<float>(word - ((word & 0x800000) << 1)) / 8388607.0F;
    }
}

template <int Bytes>
void write_word(float x, LBX_BYTE* p)
{
    const float full = Bytes == 2 ? 32767.0F : 8388607.0F;
    const long word = std::lround(std::clamp(x, -1.0F, 1.0F) * full);
    std::memcpy(p, &word, Bytes);
}

template <class Body>
void add(const std::string& title, Body body)
{
    benchmark::RegisterBenchmark(title.c_str(), [=](benchmark::State& state) {
        Stream stream;
        measure(state, kChannels, kFrames, [&] { body(stream); });
        state.SetItemsProcessed(state.iterations() * kChannels * kFrames);
    });
}

template <int Bytes>
void register_width()
{
    constexpr int kBits = 8 * Bytes;
    add(name("pcm_in", std::to_string(kBits) + "bit", kFrames, "plain"), [](Stream& s) {
        for (int i = 0; i < kFrames; ++i)
            for (int c = 0; c < kChannels; ++c)
                s.pins.in[static_cast<std::size_t>(c)][i] =
                    read_word<Bytes>(&s.bytes[static_cast<std::size_t>((kChannels * i + c) * Bytes)]);
    });
    add(name("pcm_in", std::to_string(kBits) + "bit", kFrames, "library"),
        [](Stream& s) { lbx_bytes2floats_datapoint(s.bytes.data(), s.pins.in.data(), kChannels, kFrames, kBits); });
    add(name("pcm_out", std::to_string(kBits) + "bit", kFrames, "plain"), [](Stream& s) {
        for (int i = 0; i < kFrames; ++i)
            for (int c = 0; c < kChannels; ++c)
                write_word<Bytes>(s.pins.in[static_cast<std::size_t>(c)][i],
                                  &s.bytes[static_cast<std::size_t>((kChannels * i + c) * Bytes)]);
    });
    add(name("pcm_out", std::to_string(kBits) + "bit", kFrames, "library"),
        [](Stream& s) { lbx_floats2bytes_datapoint(s.pins.in.data(), s.bytes.data(), kChannels, kFrames, kBits); });
}

}  // namespace

void register_pcm()
{
    register_width<2>();
    register_width<3>();
}

}  // namespace bench
