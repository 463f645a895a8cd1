// SPDX-License-Identifier: Apache-2.0
// Every PCM conversion on arbitrary bytes, widths, byte orders and counts, in buffers of exactly the documented size.
#include <vector>

#include "input.h"
#include "vantoro.h"

namespace {

int bytes_of(int bits) { return bits == 16 ? 2 : bits == 24 ? 3 : 1; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    constexpr int kWidths[] = {16, 24, 8, 32, 0, -16};
    const int bits = kWidths[input.range(0, 5)], order = input.range(-1, 3), frames = input.range(-2, 70);
    const int channels = input.range(1, 5), room = frames > 0 ? frames * channels : 0;
    const auto samples = static_cast<std::size_t>(room > 0 ? room : 1);  // never a null buffer

    std::vector<LBX_BYTE> bytes(samples * static_cast<std::size_t>(bytes_of(bits)));
    for (LBX_BYTE& b : bytes)
        b = input.take<LBX_BYTE>();
    std::vector<float> floats(samples);
    for (float& v : floats)
        v = input.take<float>();
    std::vector<short> shorts(samples);
    std::vector<int> ints(samples);
    const int count = frames > 0 ? room : frames;

    lbx_bytes2shorts(bytes.data(), shorts.data(), count, bits, order);
    lbx_shorts2bytes(shorts.data(), bytes.data(), count, bits, order);
    lbx_bytes2ints(bytes.data(), ints.data(), count, bits, order);
    lbx_ints2bytes(ints.data(), bytes.data(), count, bits, order);
    lbx_floats2bytes(floats.data(), bytes.data(), count, bits, order);
    lbx_bytes2floats(bytes.data(), floats.data(), count, bits, order);

    std::vector<float*> pins;
    std::vector<int*> int_pins;
    for (int c = 0; c < channels; ++c) {
        pins.push_back(floats.data() + c * (frames > 0 ? frames : 0));
        int_pins.push_back(ints.data() + c * (frames > 0 ? frames : 0));
    }
    for (float& v : floats)
        v = input.take<float>();
    const std::size_t wide = bits == 16 || bits == 24 ? bytes.size() : samples * sizeof(float);
    std::vector<LBX_BYTE> joined(wide);
    lbx_floats2bytes_datastream(floats.data(), joined.data(), channels, frames, bits);
    lbx_floats2bytes_datapoint(pins.data(), joined.data(), channels, frames, bits);
    lbx_bytes2floats_datapoint(bytes.data(), pins.data(), channels, frames, bits);
    lbx_bytes2floats_datastream(bytes.data(), floats.data(), channels, frames, bits);
    lbx_ints2bytes_ch(int_pins.data(), bytes.data(), frames, bits, order, channels);

    char text[64] = {};
    lbx_itoa(input.take<int>(), text);
    for (std::size_t i = 0; i + 1 < sizeof text; ++i)
        text[i] = input.take<char>();
    lbx_strlwr(text);
    lbx_datestr2sec(text);
    return 0;
}
