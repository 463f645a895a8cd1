// SPDX-License-Identifier: Apache-2.0
#include "io/sound_bytes.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace vantoro {

std::int64_t SoundBytes::Cursor::seek(std::int64_t offset, int whence)
{
    const auto size = static_cast<std::int64_t>(bytes.size());
    const std::int64_t from = whence == SEEK_CUR ? position : whence == SEEK_END ? size : 0;
    return position = std::clamp<std::int64_t>(from + offset, 0, size);
}

std::int64_t SoundBytes::Cursor::read(void* to, std::int64_t count)
{
    const std::int64_t some = std::clamp<std::int64_t>(count, 0, static_cast<std::int64_t>(bytes.size()) - position);
    std::memcpy(to, bytes.data() + position, static_cast<std::size_t>(some));
    position += some;
    return some;
}

SoundBytes::SoundBytes(std::string_view bytes) : cursor_{bytes, 0}
{
    static SF_VIRTUAL_IO calls{
        [](void* at) { return static_cast<sf_count_t>(static_cast<Cursor*>(at)->bytes.size()); },
        [](sf_count_t offset, int whence, void* at) -> sf_count_t {
            return static_cast<Cursor*>(at)->seek(offset, whence);
        },
        [](void* to, sf_count_t count, void* at) -> sf_count_t { return static_cast<Cursor*>(at)->read(to, count); },
        [](const void*, sf_count_t, void*) -> sf_count_t { return 0; },  // nothing is written
        [](void* at) -> sf_count_t { return static_cast<Cursor*>(at)->position; }};
    file_.reset(sf_open_virtual(&calls, SFM_READ, &info_, &cursor_));
}

std::vector<float> SoundBytes::channel(int n)
{
    constexpr sf_count_t kSome = 256;
    const auto channels = static_cast<std::size_t>(info_.channels);
    std::vector<float> chunk(kSome * channels), samples;
    for (sf_count_t got; (got = sf_readf_float(file_.get(), chunk.data(), kSome)) > 0;)
        for (std::size_t i = 0; i < static_cast<std::size_t>(got); ++i)
            samples.push_back(chunk[i * channels + static_cast<std::size_t>(n)]);
    return samples;
}

}  // namespace vantoro
