// SPDX-License-Identifier: Apache-2.0
// Sound files, a block of planar samples at a time. Memory does not grow with a file's length. What the user named
// wrongly throws UserError; what goes wrong on the way, a std::runtime_error with the file and the cause.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sndfile.h>

#include "io/packing.h"
#include "io/part_file.h"

namespace vantoro {

struct CloseSound {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using Sound = std::unique_ptr<SNDFILE, CloseSound>;
// The length that the header of an open file claims, where it may have less; 0: none.
std::int64_t claimed_frames(SNDFILE* file, const SF_INFO& info);

// Where audio comes from.
class AudioSource {
public:
    virtual ~AudioSource() = default;
    virtual int rate() const = 0;  // Hz
    virtual int channels() const = 0;
    virtual std::optional<std::int64_t> frames() const = 0;  // unknown for some streams

    // Up to `frames` samples a channel; the rest of each buffer is zeroed. Returns how many came, 0 at the end.
    virtual int read(float* const* channels, int frames) = 0;

    // At the end: what a file lacks of the length that it claims, as a sentence. Empty: nothing.
    virtual std::string shortfall() const { return ""; }
};

// Where it goes.
class AudioSink {
public:
    virtual ~AudioSink() = default;
    virtual void write(const float* const* channels, int frames) = 0;
    virtual void commit() = 0;  // flushes, closes and puts a file in its place
};

// Reads whatever libsndfile reads.
class AudioReader : public AudioSource {
public:
    explicit AudioReader(const std::string& path);

    int rate() const override { return info_.samplerate; }
    int channels() const override { return info_.channels; }
    std::optional<std::int64_t> frames() const override;
    int read(float* const* channels, int frames) override;
    std::string shortfall() const override;

private:
    void fill();
    int frame_bytes() const { return packing_.bytes * info_.channels; }

    SF_INFO info_{};
    Sound file_;
    std::string path_;
    std::int64_t found_ = 0;
    Packing packing_;
    bool raw_ = false;                  // the file's own words; else libsndfile makes them
    std::vector<unsigned char> chunk_;  // frames, and kPad bytes
    sf_count_t position_ = 0, size_ = 0;
};

// How samples are stored. PCM: the nearest code, full scale 1.0, what lies beyond is clipped. `natural`: 24-bit PCM, or
// what a lossy format has.
enum class Encoding {
    natural,
    pcm16,
    pcm24,
    pcm32,
    real  // 32-bit float, exact
};

// Writes a file whose format follows from its extension. It takes its place with commit(), not before.
class AudioWriter : public AudioSink {
public:
    // Whether the path's extension and the encoding name a format that can be written, and that so many frames fit
    // into, where it is known how many come. Throws if not.
    static void check(const std::string& path, Encoding encoding, int channels, int rate,
                      std::optional<std::int64_t> frames = {});

    // WAV files of more than 4 GB become RF64.
    AudioWriter(const std::string& path, Encoding encoding, int channels, int rate);

    void write(const float* const* channels, int frames) override;
    void commit() override;

private:
    void flush();
    void check_sound(bool done) const;
    std::size_t frame_bytes() const
    {
        return static_cast<std::size_t>(packing_.bytes) * static_cast<std::size_t>(channels_);
    }

    PartFile part_;  // before the sound file, which writes its last bytes into it when it is closed
    int channels_;
    std::int64_t left_;  // frames that still fit
    Sound file_;
    Packing packing_;
    bool raw_ = false;                  // as AudioReader
    std::vector<unsigned char> chunk_;  // frames, and kPad bytes
    std::size_t filled_ = 0;            // of them
};

}  // namespace vantoro
