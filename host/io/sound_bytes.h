// SPDX-License-Identifier: Apache-2.0
// A short sound file that stands in memory.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "io/audio_file.h"

namespace vantoro {

class SoundBytes {
public:
    explicit SoundBytes(std::string_view bytes);  // borrowed
    SoundBytes(const SoundBytes&) = delete;
    SoundBytes& operator=(const SoundBytes&) = delete;

    bool good() const { return file_ != nullptr; }  // libsndfile can read them
    int rate() const { return info_.samplerate; }   // Hz
    int channels() const { return info_.channels; }
    std::int64_t frames() const { return claimed_frames(file_.get(), info_); }  // or more than there are
    // All of a channel, or less where the file is damaged.
    std::vector<float> channel(int n);

private:
    struct Cursor {
        std::string_view bytes;
        std::int64_t position;
        std::int64_t seek(std::int64_t offset, int whence);
        std::int64_t read(void* to, std::int64_t count);
    };
    Cursor cursor_;
    SF_INFO info_{};
    Sound file_;
};

}  // namespace vantoro
