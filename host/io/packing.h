// SPDX-License-Identifier: Apache-2.0
// Samples as sound files have them: frames of words, low byte first.
#pragma once

#include <cstddef>

namespace vantoro {

struct Packing {
    int bytes = 4;  // of a word
    int bits = 0;   // its upper ones, which hold the code, full scale 1.0; 0: the word is a float
};

inline constexpr std::size_t kPad = 4;  // bytes of room after the frames

// A run of samples of each channel, `at` samples into its buffer, from and to frames. Words of 2, 3 and 4 bytes are
// read with all bits, words of 4 are written with fewer, too. A code is the nearest; what lies beyond is clipped.
void unpack(const unsigned char* from, Packing packing, float* const* channels, int count, int at, int frames);
void pack(const float* const* channels, int count, int at, int frames, Packing packing, unsigned char* to);

}  // namespace vantoro
