// SPDX-License-Identifier: Apache-2.0
#include "io/raw_pcm.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "support/problem.h"

namespace vantoro {

const std::map<std::string, RawFormat>& raw_formats()
{
    static const std::map<std::string, RawFormat> kFormats = {
        {"s16le", {VANTORO_PCM_S16, false}},       {"s16be", {VANTORO_PCM_S16, true}},
        {"s24le", {VANTORO_PCM_S24, false}},       {"s24be", {VANTORO_PCM_S24, true}},
        {"s24_32le", {VANTORO_PCM_S24_32, false}}, {"s24_32be", {VANTORO_PCM_S24_32, true}},
        {"s32le", {VANTORO_PCM_S32, false}},       {"s32be", {VANTORO_PCM_S32, true}},
        {"f32le", {VANTORO_PCM_FLOAT, false}},     {"f32be", {VANTORO_PCM_FLOAT, true}}};
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
    const std::size_t frame_bytes = format_.width() * static_cast<std::size_t>(channels_);
    bytes_.resize(frame_bytes * static_cast<std::size_t>(frames));
    const std::size_t got = std::fread(bytes_.data(), 1, bytes_.size(), stream_.get());
    if (std::ferror(stream_.get()))
        throw std::runtime_error(path_ + ": cannot be read: " + std::strerror(errno));
    if (got % frame_bytes != 0)
        throw std::runtime_error(path_ + ": ends inside a frame of " + std::to_string(frame_bytes) + " bytes; are " +
                                 std::to_string(channels_) + " channels of " + std::to_string(8 * format_.width()) +
                                 " bits right?");
    const int done = static_cast<int>(got / frame_bytes);
    Vantoro_pcm_read(bytes_.data(), channels, channels_, done, format_.format, format_.big_endian ? 1 : 0);
    for (int ch = 0; ch < channels_; ++ch)
        std::fill(channels[ch] + done, channels[ch] + frames, 0.0F);
    return done;
}

// ---- writing ----

RawWriter::RawWriter(const std::string& path, RawFormat format, int channels)
    : part_(path), live_(path == "-"), format_(format), channels_(channels)
{}

void RawWriter::write(const float* const* channels, int frames)
{
    bytes_.resize(format_.width() * static_cast<std::size_t>(channels_) * static_cast<std::size_t>(frames));
    Vantoro_pcm_write(channels, bytes_.data(), channels_, frames, format_.format, format_.big_endian ? 1 : 0);
    part_.write(bytes_.data(), bytes_.size());
    if (live_)
        part_.flush();
    part_.check();
}

void RawWriter::commit() { part_.commit(); }

}  // namespace vantoro
