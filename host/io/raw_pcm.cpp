// SPDX-License-Identifier: Apache-2.0
#include "io/raw_pcm.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "support/problem.h"
#include "vantoro.h"

namespace vantoro {

namespace {

std::size_t size_of(int a, int b) { return static_cast<std::size_t>(a) * static_cast<std::size_t>(b); }

}  // namespace

const std::map<std::string, RawFormat>& raw_formats()
{
    static const std::map<std::string, RawFormat> kFormats = {
        {"s16le", {16, false}}, {"s16be", {16, true}}, {"s24le", {24, false}}, {"s24be", {24, true}}};
    return kFormats;
}

void CloseStream::operator()(std::FILE* file) const
{
    if (file != stdin)
        std::fclose(file);
}

// ---- reading ----

RawReader::RawReader(const std::string& path, RawFormat format, int channels, int rate)
    : path_(path == "-" ? "standard input" : path), format_(format), channels_(channels), rate_(rate),
      stream_(path == "-" ? stdin : std::fopen(path.c_str(), "rb"))
{
    if (!stream_)
        throw UserError(path_ + ": cannot be read: " + std::strerror(errno));
}

int RawReader::read(float* const* channels, int frames)
{
    const std::size_t frame_bytes = size_of(channels_, format_.bits / 8);
    bytes_.resize(frame_bytes * static_cast<std::size_t>(frames));
    samples_.resize(size_of(channels_, frames));
    const std::size_t got = std::fread(bytes_.data(), 1, bytes_.size(), stream_.get());
    if (std::ferror(stream_.get()))
        throw std::runtime_error(path_ + ": cannot be read: " + std::strerror(errno));
    if (got % frame_bytes != 0)
        throw std::runtime_error(path_ + ": ends inside a frame of " + std::to_string(frame_bytes) + " bytes; are " +
                                 std::to_string(channels_) + " channels of " + std::to_string(format_.bits) +
                                 " bits right?");
    const int done = static_cast<int>(got / frame_bytes);
    lbx_bytes2floats(bytes_.data(), samples_.data(), done * channels_, format_.bits, format_.big_endian ? 1 : 0);
    for (int ch = 0; ch < channels_; ++ch) {
        for (int i = 0; i < done; ++i)
            channels[ch][i] = samples_[size_of(i, channels_) + static_cast<std::size_t>(ch)];
        std::fill(channels[ch] + done, channels[ch] + frames, 0.0F);
    }
    return done;
}

// ---- writing ----

RawWriter::RawWriter(const std::string& path, RawFormat format, int channels)
    : part_(path), live_(path == "-"), format_(format), channels_(channels)
{}

void RawWriter::write(const float* const* channels, int frames)
{
    samples_.resize(size_of(channels_, frames));
    pins_.resize(static_cast<std::size_t>(channels_));
    bytes_.resize(size_of(channels_, frames) * static_cast<std::size_t>(format_.bits / 8));
    for (int ch = 0; ch < channels_; ++ch) {
        float* to = pins_[static_cast<std::size_t>(ch)] = samples_.data() + size_of(ch, frames);
        std::transform(channels[ch], channels[ch] + frames, to,
                       [](float v) { return v == v ? std::clamp(v, -1.0F, 1.0F) : 0.0F; });
    }
    // The rounding form is little-endian only.
    lbx_floats2bytes_datapoint(pins_.data(), bytes_.data(), channels_, frames, format_.bits);
    const std::size_t width = static_cast<std::size_t>(format_.bits / 8);
    for (std::size_t at = 0; format_.big_endian && at < bytes_.size(); at += width)
        std::swap(bytes_[at], bytes_[at + width - 1]);
    part_.write(bytes_.data(), bytes_.size());
    if (live_)
        part_.flush();
    part_.check();
}

void RawWriter::commit() { part_.commit(); }

}  // namespace vantoro
