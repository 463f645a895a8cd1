// SPDX-License-Identifier: Apache-2.0
#include "io/audio_file.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "support/problem.h"

namespace vantoro {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kChunkSamples = 32768;  // per call of libsndfile: few system calls, and it stays in the cache

std::size_t chunk_frames(int channels)
{
    return std::max<std::size_t>(kChunkSamples / static_cast<std::size_t>(channels), 64);
}

struct Extension {
    std::string_view name;
    int format;
    bool lossy;  // the format brings its own encoding
};
constexpr Extension kExtensions[] = {
    {"wav", SF_FORMAT_WAV, false},
    {"w64", SF_FORMAT_W64, false},
    {"rf64", SF_FORMAT_RF64, false},
    {"flac", SF_FORMAT_FLAC, false},
    {"aiff", SF_FORMAT_AIFF, false},
    {"aif", SF_FORMAT_AIFF, false},
    {"caf", SF_FORMAT_CAF, false},
    {"au", SF_FORMAT_AU, false},
    {"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, true},
    {"oga", SF_FORMAT_OGG | SF_FORMAT_VORBIS, true},
    {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, true},
    {"mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, true},
};

int subtype(Encoding encoding)
{
    switch (encoding) {
    case Encoding::pcm16:
        return SF_FORMAT_PCM_16;
    case Encoding::pcm32:
        return SF_FORMAT_PCM_32;
    case Encoding::real:
        return SF_FORMAT_FLOAT;
    default:
        return SF_FORMAT_PCM_24;
    }
}

int bits_of(int format)
{
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_16:
        return 16;
    case SF_FORMAT_PCM_24:
        return 24;
    case SF_FORMAT_PCM_32:
        return 32;
    default:
        return 0;
    }
}

SF_INFO format_of(const std::string& path, Encoding encoding, int channels, int rate)
{
    std::string wanted = fs::path(path).extension().string();
    std::error_code none;
    if (wanted.empty() && fs::exists(path, none) && !fs::is_regular_file(path, none))
        wanted = ".wav";  // a device, a fifo
    std::ranges::transform(wanted, wanted.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const auto* row =
        std::ranges::find_if(kExtensions, [&](const Extension& e) { return wanted == '.' + std::string(e.name); });
    if (row == std::end(kExtensions)) {
        std::string known;
        for (const Extension& e : kExtensions)
            known += (known.empty() ? "" : ", ") + std::string(e.name);
        throw UserError(path + ": the extension names the format, one of " + known);
    }
    if (row->lossy && encoding != Encoding::natural)
        throw UserError(path + ": " + std::string(row->name) + " has its own encoding; leave --format out");
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = row->lossy ? row->format : row->format | subtype(encoding);
    if (!sf_format_check(&info))
        throw UserError(path + ": " + std::string(row->name) + " does not take " + std::to_string(channels) +
                        " channels of " + std::to_string(rate) + " Hz in this encoding");
    return info;
}

// How the words of a file lie in it, where they can be taken as they are: libsndfile converts them one by one, in
// pieces of 8 KiB. None: it decodes them, or turns their bytes around.
std::optional<Packing> packing_of(SNDFILE* file, int format)
{
    constexpr int kPlain[] = {SF_FORMAT_WAV,  SF_FORMAT_WAVEX, SF_FORMAT_W64, SF_FORMAT_RF64,
                              SF_FORMAT_AIFF, SF_FORMAT_CAF,   SF_FORMAT_AU};
    const int bits = bits_of(format);
    if (std::ranges::find(kPlain, format & SF_FORMAT_TYPEMASK) == std::end(kPlain) ||
        (bits == 0 && (format & SF_FORMAT_SUBMASK) != SF_FORMAT_FLOAT) ||
        sf_command(file, SFC_RAW_DATA_NEEDS_ENDSWAP, nullptr, 0) != SF_FALSE)
        return {};
    return Packing{bits > 0 ? bits / 8 : 4, bits};
}

// What libsndfile writes through: its own files do not report every failed write, above all not the last ones.
SF_VIRTUAL_IO& part_calls()
{
    static SF_VIRTUAL_IO calls{[](void* part) -> sf_count_t { return static_cast<PartFile*>(part)->size(); },
                               [](sf_count_t offset, int whence, void* part) -> sf_count_t {
                                   return static_cast<PartFile*>(part)->seek(offset, whence);
                               },
                               [](void*, sf_count_t, void*) -> sf_count_t { return 0; },  // nothing is read back
                               [](const void* bytes, sf_count_t size, void* part) -> sf_count_t {
                                   return static_cast<PartFile*>(part)->write(bytes, static_cast<std::size_t>(size))
                                              ? size
                                              : 0;
                               },
                               [](void* part) -> sf_count_t { return static_cast<PartFile*>(part)->position(); }};
    return calls;
}

// AIFF has 32 bits for its size, and libsndfile begins again at 0. The other formats have room, or say "unknown".
std::int64_t most_frames(const SF_INFO& info)
{
    constexpr std::int64_t kMost = 0xffffffff, kHeader = 1024;  // bytes; the header is shorter
    const int bits = bits_of(info.format);
    if ((info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_AIFF)
        return std::numeric_limits<std::int64_t>::max();
    return (kMost - kHeader) / (info.channels * (bits ? bits / 8 : 4));
}

std::string too_long(const std::string& path)
{
    return path + ": is longer than an AIFF can be: .wav, .w64 or .caf can";
}

// ---- WAV ----

// Its length is known at the end. A chunk of its own after the first 12 bytes keeps room for the 64-bit sizes of RF64
// (EBU Tech 3306). libsndfile knows nothing of it: what it takes for byte 12 and after comes that much later.
constexpr std::size_t kRiffBytes = 12, kRoom = 36;

void put_number(char* to, std::uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        to[i] = static_cast<char>(value >> 8 * i & 0xff);
}

std::uint64_t byte_at(std::string_view bytes, std::size_t at) { return static_cast<unsigned char>(bytes[at]); }

// `header`: libsndfile's, up to the size of the data, whose upper 32 bits it has dropped.
bool write_roomy_header(PartFile& part, std::string_view header) noexcept
{
    constexpr std::uint64_t kMost = 0xffffffff;
    const std::uint64_t all = std::max(static_cast<std::uint64_t>(part.size()), header.size() + kRoom);
    const bool large = all - 8 > kMost;
    char sizes[4] = {header[header.size() - 4], header[header.size() - 3], header[header.size() - 2], header.back()};
    char start[kRiffBytes + kRoom] = "RIFF____WAVEJUNK";
    put_number(start + 4, large ? kMost : all - 8, 4);
    put_number(start + 16, kRoom - 8, 4);
    if (large) {
        const std::uint64_t after = all - kRoom - header.size();
        const std::uint64_t data = after - ((after ^ byte_at({sizes, 4}, 0)) & 1U);  // without the padding
        std::copy_n("RF64", 4, start);
        std::copy_n("ds64", 4, start + kRiffBytes);
        put_number(start + 20, all - 8, 8);
        put_number(start + 28, data, 8);
        put_number(start + 36, data / (byte_at(header, 32) + 256 * byte_at(header, 33)), 8);  // frames
        put_number(sizes, kMost, 4);
    }
    part.write(start, sizeof start);
    part.write(header.substr(kRiffBytes, header.size() - kRiffBytes - 4));
    return part.write(sizes, 4);
}

SF_VIRTUAL_IO& roomy_calls()
{
    static constexpr auto known = [](std::int64_t at) -> sf_count_t {
        return std::max<std::int64_t>(at - static_cast<std::int64_t>(kRoom), 0);
    };
    static SF_VIRTUAL_IO calls{
        [](void* part) -> sf_count_t { return known(static_cast<PartFile*>(part)->size()); },
        [](sf_count_t offset, int whence, void* part) -> sf_count_t {
            const bool moved = whence == SEEK_SET && offset > 0;
            return known(static_cast<PartFile*>(part)->seek(offset + (moved ? sf_count_t{kRoom} : 0), whence));
        },
        [](void*, sf_count_t, void*) -> sf_count_t { return 0; },  // nothing is read back
        [](const void* bytes, sf_count_t size, void* part) -> sf_count_t {
            auto& file = *static_cast<PartFile*>(part);
            const std::string_view some(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
            return (file.position() == 0 ? write_roomy_header(file, some) : file.write(some)) ? size : 0;
        },
        [](void* part) -> sf_count_t { return known(static_cast<PartFile*>(part)->position()); }};
    return calls;
}

// ---- lengths ----

constexpr std::int64_t kUnknown = 0x7ffff000;  // bytes, and above: what programs that write to a pipe leave there

double bytes_a_frame(SNDFILE* file, const SF_INFO& info)
{
    return static_cast<double>(sf_current_byterate(file)) / info.samplerate;
}

std::int64_t number_after(std::string_view line, std::string_view mark)
{
    std::int64_t value = 0;
    if (const std::size_t at = line.find(mark); at != line.npos)
        std::from_chars(line.data() + at + mark.size(), line.data() + line.size(), value);
    return value;
}

// How many bytes of audio a file lacks. Where it is too short, libsndfile takes it as it is, and only its log has both
// sizes: "data : 288000 (should be 172783)".
std::int64_t missing_bytes(SNDFILE* file)
{
    std::string log(16384, '\0');
    log.resize(static_cast<std::size_t>(sf_command(file, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()))));
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        line.erase(0, line.find_first_not_of(' '));
        const std::int64_t claimed = number_after(line, ": ");
        const std::int64_t found = number_after(line, "(should be ");
        for (const char* name : {"data", "riff", "Riff size", "SSND", "Data Size"})
            if (line.starts_with(name) && found > 0 && claimed > found && claimed < kUnknown)
                return claimed - found;
    }
    return 0;
}

}  // namespace

std::int64_t claimed_frames(SNDFILE* file, const SF_INFO& info)
{
    const double frame_bytes = bytes_a_frame(file, info);
    if (info.frames == SF_COUNT_MAX || !(frame_bytes > 0))
        return info.frames == SF_COUNT_MAX ? 0 : info.frames;
    return info.frames + std::llround(std::ceil(static_cast<double>(missing_bytes(file)) / frame_bytes));
}

// ---- reading ----

AudioReader::AudioReader(const std::string& path) : path_(path)
{
    file_.reset(sf_open(path.c_str(), SFM_READ, &info_));
    if (!file_)
        throw UserError(path + ": " + sf_strerror(nullptr));
    if (!info_.seekable && (static_cast<double>(info_.frames) + 1) * bytes_a_frame(file_.get(), info_) > kUnknown)
        info_.frames = SF_COUNT_MAX;
    const auto packing = packing_of(file_.get(), info_.format);
    raw_ = packing.has_value();
    packing_ = packing.value_or(Packing{});
    chunk_.resize(chunk_frames(info_.channels) * static_cast<std::size_t>(frame_bytes()) + kPad);
}

std::optional<std::int64_t> AudioReader::frames() const
{
    if (info_.frames < 0 || info_.frames == SF_COUNT_MAX)
        return {};
    return info_.frames;
}

void AudioReader::fill()
{
    position_ = 0;
    const auto wanted = static_cast<sf_count_t>(chunk_frames(info_.channels));
    void* to = chunk_.data();
    size_ = raw_ ? sf_read_raw(file_.get(), to, wanted * frame_bytes()) / frame_bytes()
                 : sf_readf_float(file_.get(), static_cast<float*>(to), wanted);
    found_ += std::max<sf_count_t>(size_, 0);
    if (sf_error(file_.get()) == SF_ERR_SYSTEM)
        throw std::runtime_error(path_ + ": cannot be read: " + sf_strerror(file_.get()));
}

std::string AudioReader::shortfall() const
{
    const std::string found = std::to_string(found_) + " found";
    if (const std::int64_t claimed = claimed_frames(file_.get(), info_); claimed > found_)
        return path_ + ": cut short or damaged: " + std::to_string(claimed) + " frames are claimed, " + found;
    if (!frames() && info_.seekable)
        return path_ + ": cut short: its end is missing; " + found;
    return "";
}

int AudioReader::read(float* const* channels, int frames)
{
    int done = 0;
    while (done < frames) {
        if (position_ == size_)
            fill();
        if (size_ <= 0)
            break;
        const int n = static_cast<int>(std::min<sf_count_t>(frames - done, size_ - position_));
        unpack(chunk_.data() + position_ * frame_bytes(), packing_, channels, info_.channels, done, n);
        position_ += n;
        done += n;
    }
    for (int ch = 0; ch < info_.channels; ++ch)
        std::fill(channels[ch] + done, channels[ch] + frames, 0.0F);
    return done;
}

// ---- writing ----

void AudioWriter::check(const std::string& path, Encoding encoding, int channels, int rate,
                        std::optional<std::int64_t> frames)
{
    if (frames.value_or(0) > most_frames(format_of(path, encoding, channels, rate)))
        throw UserError(too_long(path));
}

AudioWriter::AudioWriter(const std::string& path, Encoding encoding, int channels, int rate)
    : part_(path, PartFile::Access::seek), channels_(channels)
{
    SF_INFO info = format_of(path, encoding, channels, rate);
    const bool wav = (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV;
    left_ = most_frames(info);
    file_.reset(sf_open_virtual(wav ? &roomy_calls() : &part_calls(), SFM_WRITE, &info, &part_));
    check_sound(file_ != nullptr);
    sf_command(file_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);  // it holds the time: equal runs, equal files
    sf_command(file_.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    const auto packing = packing_of(file_.get(), info.format);
    raw_ = packing.has_value();
    packing_ = packing.value_or(Packing{4, bits_of(info.format)});
    chunk_.resize(chunk_frames(channels) * frame_bytes() + kPad);
}

void AudioWriter::write(const float* const* channels, int frames)
{
    if ((left_ -= frames) < 0)
        throw std::runtime_error(too_long(part_.name()));
    const std::size_t room = chunk_frames(channels_);
    for (int done = 0; done < frames;) {
        const int n = static_cast<int>(std::min(room - filled_, static_cast<std::size_t>(frames - done)));
        pack(channels, channels_, done, n, packing_, chunk_.data() + filled_ * frame_bytes());
        filled_ += static_cast<std::size_t>(n);
        done += n;
        if (filled_ == room)
            flush();
    }
}

void AudioWriter::flush()
{
    const auto frames = static_cast<sf_count_t>(filled_);
    filled_ = 0;
    const void* from = chunk_.data();
    const auto size = static_cast<sf_count_t>(frame_bytes());
    const sf_count_t written = raw_ ? sf_write_raw(file_.get(), from, frames * size) / size
                               : packing_.bits == 0
                                   ? sf_writef_float(file_.get(), static_cast<const float*>(from), frames)
                                   : sf_writef_int(file_.get(), static_cast<const int*>(from), frames);
    check_sound(written == frames && sf_error(file_.get()) == SF_ERR_NO_ERROR);
}

void AudioWriter::commit()
{
    flush();
    if (const int error = sf_close(file_.release()); error != 0) {
        part_.check();
        throw std::runtime_error(part_.name() + ": cannot be written: " + sf_error_number(error));
    }
    part_.commit();
}

// The system's own word for what went wrong, or else libsndfile's, which does not always say that something did.
void AudioWriter::check_sound(bool done) const
{
    part_.check();
    if (!done)
        throw std::runtime_error(part_.name() + ": cannot be written: " + sf_strerror(file_.get()));
}

}  // namespace vantoro
