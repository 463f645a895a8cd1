// SPDX-License-Identifier: Apache-2.0
// Headerless PCM, from a file or through a pipe ("-": standard input and output), by the library's own converters.
// Errors as with sound files.
#pragma once

#include <cstdio>
#include <map>

#include "io/audio_file.h"
#include "vantoro.h"

namespace vantoro {

struct RawFormat {
    VantoroPcm format;
    bool big_endian;
    std::size_t width() const { return static_cast<std::size_t>(Vantoro_pcm_width(format)); }  // bytes
};
const std::map<std::string, RawFormat>& raw_formats();  // by name: s16le, f32be ...

struct CloseStream {
    void operator()(std::FILE* file) const;  // standard input stays open
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

// Interleaved frames. The most negative word lies a little below -1, as the library scales it.
class RawReader : public AudioSource {
public:
    RawReader(const std::string& path, RawFormat format, int channels, int rate);

    int rate() const override { return rate_; }
    int channels() const override { return channels_; }
    std::optional<std::int64_t> frames() const override { return {}; }
    int read(float* const* channels, int frames) override;

private:
    std::string path_;
    RawFormat format_;
    int channels_, rate_;
    Stream stream_;
    std::vector<unsigned char> bytes_;
};

// The nearest word; what lies beyond full scale is clipped, but for floats. A file takes its place with commit();
// standard output gets every block at once.
class RawWriter : public AudioSink {
public:
    RawWriter(const std::string& path, RawFormat format, int channels);

    void write(const float* const* channels, int frames) override;
    void commit() override;

private:
    PartFile part_;
    bool live_;  // standard output
    RawFormat format_;
    int channels_;
    std::vector<unsigned char> bytes_;
};

}  // namespace vantoro
