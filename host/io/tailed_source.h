// SPDX-License-Identifier: Apache-2.0
// Audio with silence after it, in which delays and reverbs die away.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "io/audio_file.h"

namespace vantoro {

class TailedSource : public AudioSource {
public:
    // `tail`: frames of silence.
    TailedSource(std::unique_ptr<AudioSource> audio, std::int64_t tail) : audio_(std::move(audio)), left_(tail) {}

    int rate() const override { return audio_->rate(); }
    int channels() const override { return audio_->channels(); }
    std::optional<std::int64_t> frames() const override
    {
        const auto frames = audio_->frames();
        return frames ? std::optional(*frames + left_) : frames;
    }
    int read(float* const* channels, int frames) override
    {
        const int came = audio_->read(channels, frames);
        const int silent = static_cast<int>(std::min<std::int64_t>(frames - came, left_));
        left_ -= silent;
        silent_ = silent_ || came < frames;
        return came + silent;
    }
    std::string shortfall() const override { return audio_->shortfall(); }
    bool silent() const { return silent_; }  // the audio is over

private:
    std::unique_ptr<AudioSource> audio_;
    std::int64_t left_;
    bool silent_ = false;
};

}  // namespace vantoro
