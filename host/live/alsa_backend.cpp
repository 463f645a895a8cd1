// SPDX-License-Identifier: Apache-2.0
// Devices of ALSA, by any PCM name, without a sound server. One thread reads, processes and writes; every wait has a
// limit. A device that goes away is opened again when it is back.
#include <alsa/asoundlib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "live/backend.h"
#include "live/console.h"

namespace vantoro {

namespace {

struct Close {
    void operator()(snd_pcm_t* pcm) const { snd_pcm_close(pcm); }
};
using Pcm = std::unique_ptr<snd_pcm_t, Close>;

// The library prints by itself; what matters comes back as a code.
void silence_library()
{
    struct Nothing {
        static void say(const char*, int, const char*, int, const char*, ...) {}
    };
    snd_lib_error_set_handler(Nothing::say);
}

std::size_t index(int n) { return static_cast<std::size_t>(n); }

// ---- formats ----

// How a sample lies in memory, little-endian. The first that a device takes is used.
struct SampleFormat {
    snd_pcm_format_t code;
    const char* name;
    int bytes, bits;  // bits 0: float
};
constexpr SampleFormat kFormats[] = {{SND_PCM_FORMAT_FLOAT_LE, "float", 4, 0},
                                     {SND_PCM_FORMAT_S32_LE, "32 bits", 4, 32},
                                     {SND_PCM_FORMAT_S24_LE, "24 bits in 4 bytes", 4, 24},
                                     {SND_PCM_FORMAT_S24_3LE, "24 bits", 3, 24},
                                     {SND_PCM_FORMAT_S16_LE, "16 bits", 2, 16}};

double full_scale(const SampleFormat& format) { return static_cast<double>(std::uint64_t{1} << (format.bits - 1)); }

// The nearest code; full scale is 1, and what lies beyond is clipped. NaN is 0.
void encode(const SampleFormat& format, float sample, unsigned char* to)
{
    if (format.bits == 0) {
        std::memcpy(to, &sample, sizeof sample);
        return;
    }
    const double scale = full_scale(format);
    const double v = sample == sample ? std::clamp(static_cast<double>(sample) * scale, -scale, scale - 1) : 0.0;
    const auto code = static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lrint(v)));
    std::memcpy(to, &code, index(format.bytes));
}

float decode(const SampleFormat& format, const unsigned char* from)
{
    if (format.bits == 0) {
        float sample;
        std::memcpy(&sample, from, sizeof sample);
        return sample;
    }
    std::uint32_t code = 0;
    std::memcpy(&code, from, index(format.bytes));
    const int unused = 32 - format.bits;  // above the code: the sign fills it
    return static_cast<float>(static_cast<std::int32_t>(code << unused) >> unused) /
           static_cast<float>(full_scale(format));
}

// ---- one direction ----

[[noreturn]] void refuse(const std::string& name, const char* what, int error)
{
    throw std::runtime_error("alsa:" + name + ": " + what + ": " + snd_strerror(error));
}

struct HwParams {
    HwParams() { snd_pcm_hw_params_malloc(&at); }
    ~HwParams() { snd_pcm_hw_params_free(at); }
    HwParams(const HwParams&) = delete;
    HwParams& operator=(const HwParams&) = delete;
    snd_pcm_hw_params_t* at = nullptr;
};

class Side {
public:
    Side(std::string name, snd_pcm_stream_t stream) : name_(std::move(name)), stream_(stream) {}

    bool is_open() const { return pcm_ != nullptr; }
    snd_pcm_t* pcm() const { return pcm_.get(); }
    int channels() const { return channels_; }
    int period() const { return period_; }
    int card() const { return card_; }
    const std::string& name() const { return name_; }
    void close() { pcm_.reset(); }

    // Throws std::runtime_error. The rate is kept; channels and period are what the device has nearest.
    void open(int rate, int channels, int period)
    {
        snd_pcm_t* pcm = nullptr;
        if (const int error = snd_pcm_open(&pcm, name_.c_str(), stream_, SND_PCM_NONBLOCK); error < 0)
            refuse(name_, "cannot be opened", error);
        Pcm opened(pcm);
        set_hardware(pcm, rate, channels, period);
        set_software(pcm);
        snd_pcm_info_t* info = nullptr;
        snd_pcm_info_malloc(&info);
        card_ = snd_pcm_info(pcm, info) == 0 ? snd_pcm_info_get_card(info) : -1;
        snd_pcm_info_free(info);
        bytes_.resize(index(channels_ * period_ * format_->bytes));
        pcm_ = std::move(opened);
    }

    // Both: 0, or the error. What is not there within the limit is -ETIME.
    int read(float* const* to, int frames)
    {
        const int error =
            transfer(frames, [&](unsigned char* at, snd_pcm_uframes_t n) { return snd_pcm_readi(pcm(), at, n); });
        for (int i = 0; i < frames && error == 0; ++i)
            for (int ch = 0; ch < channels_; ++ch)
                to[ch][i] = decode(*format_, bytes_.data() + index((i * channels_ + ch) * format_->bytes));
        return error;
    }
    int write(const float* const* from, int frames)
    {
        for (int i = 0; i < frames; ++i)
            for (int ch = 0; ch < channels_; ++ch)
                encode(*format_, from[ch][i], bytes_.data() + index((i * channels_ + ch) * format_->bytes));
        return transfer(frames, [&](unsigned char* at, snd_pcm_uframes_t n) { return snd_pcm_writei(pcm(), at, n); });
    }

private:
    void set_hardware(snd_pcm_t* pcm, int rate, int channels, int period)
    {
        const HwParams params;
        const auto need = [&](int result, const char* what) {
            if (result < 0)
                refuse(name_, what, result);
        };
        need(snd_pcm_hw_params_any(pcm, params.at), "has no configuration");
        need(snd_pcm_hw_params_set_access(pcm, params.at, SND_PCM_ACCESS_RW_INTERLEAVED), "cannot be read and written");
        const auto* format = std::ranges::find_if(
            kFormats, [&](const SampleFormat& f) { return snd_pcm_hw_params_set_format(pcm, params.at, f.code) == 0; });
        if (format == std::end(kFormats))
            refuse(name_, "takes none of 16, 24, 32 bits and float", -EINVAL);
        format_ = format;
        need(snd_pcm_hw_params_set_rate_resample(pcm, params.at, 0), "converts rates");
        need(snd_pcm_hw_params_set_rate(pcm, params.at, static_cast<unsigned>(rate), 0),
             ("does not run at " + std::to_string(rate) + " Hz").c_str());
        unsigned count = static_cast<unsigned>(channels);
        need(snd_pcm_hw_params_set_channels_near(pcm, params.at, &count), "has no such channels");
        snd_pcm_uframes_t frames = static_cast<snd_pcm_uframes_t>(period);
        need(snd_pcm_hw_params_set_period_size_near(pcm, params.at, &frames, nullptr), "has no such period");
        snd_pcm_uframes_t buffer = frames * kPeriods;
        need(snd_pcm_hw_params_set_buffer_size_near(pcm, params.at, &buffer), "has no such buffer");
        need(snd_pcm_hw_params(pcm, params.at), "refuses its configuration");
        snd_pcm_hw_params_get_period_size(params.at, &frames, nullptr);
        snd_pcm_hw_params_get_buffer_size(params.at, &buffer_);
        channels_ = static_cast<int>(count);
        period_ = std::min(static_cast<int>(frames), kMaxPeriod);
    }

    // Started by hand, once it is full.
    void set_software(snd_pcm_t* pcm) const
    {
        snd_pcm_sw_params_t* params = nullptr;
        snd_pcm_sw_params_malloc(&params);
        snd_pcm_sw_params_current(pcm, params);
        snd_pcm_sw_params_set_start_threshold(pcm, params, buffer_ * 2);
        snd_pcm_sw_params_set_avail_min(pcm, params, static_cast<snd_pcm_uframes_t>(period_));
        snd_pcm_sw_params(pcm, params);
        snd_pcm_sw_params_free(params);
    }

    template <class Step>
    int transfer(int frames, Step step)
    {
        constexpr int kLimit = 400;  // ms
        unsigned char* at = bytes_.data();
        for (int left = frames; left > 0;) {
            const snd_pcm_sframes_t n = step(at, static_cast<snd_pcm_uframes_t>(left));
            if (n > 0) {
                at += index(static_cast<int>(n) * channels_ * format_->bytes);
                left -= static_cast<int>(n);
                continue;
            }
            if (n < 0 && n != -EAGAIN)
                return static_cast<int>(n);
            if (const int ready = snd_pcm_wait(pcm(), kLimit); ready <= 0)
                return ready == 0 ? -ETIME : ready;
        }
        return 0;
    }

    static constexpr snd_pcm_uframes_t kPeriods = 3;

    std::string name_;
    snd_pcm_stream_t stream_;
    Pcm pcm_;
    const SampleFormat* format_ = nullptr;
    int channels_ = 0, period_ = 0, card_ = -1;
    snd_pcm_uframes_t buffer_ = 0;
    std::vector<unsigned char> bytes_;
};

// ---- the backend ----

class AlsaBackend : public Backend {
public:
    AlsaBackend(const std::string& in, const std::string& out)
        : capture_(in.empty() ? "default" : in, SND_PCM_STREAM_CAPTURE),
          playback_(out.empty() ? "default" : out, SND_PCM_STREAM_PLAYBACK)
    {
        silence_library();
    }
    ~AlsaBackend() override { stop(); }
    AlsaBackend(const AlsaBackend&) = delete;
    AlsaBackend& operator=(const AlsaBackend&) = delete;

    StreamFormat open(const StreamFormat& wanted) override
    {
        wanted_ = wanted;
        open_sides();
        if (capture_.is_open() && playback_.is_open() && capture_.name() != playback_.name() &&
            (capture_.card() < 0 || capture_.card() != playback_.card()))
            throw std::runtime_error("alsa:" + capture_.name() + " and alsa:" + playback_.name() +
                                     " have clocks of their own and would drift apart; take one device for both, or a "
                                     "sound server (jack), which matches them");
        got_ = {wanted.rate, side().period(), capture_.channels(), playback_.channels()};
        if (!capture_.is_open())
            got_.inputs = 0;
        if (!playback_.is_open())
            got_.outputs = 0;
        arena_.assign(index(got_.inputs + got_.outputs) * kMaxPeriod, 0.0F);
        for (int ch = 0; ch < got_.inputs + got_.outputs; ++ch)
            (ch < got_.inputs ? in_ : out_).push_back(arena_.data() + index(ch) * kMaxPeriod);
        return got_;
    }

    void start(AudioClient& client) override
    {
        stop_ = false;
        thread_ = std::thread([this, &client] { run(client); });
    }
    void stop() override
    {
        stop_ = true;
        if (thread_.joinable())
            thread_.join();
        capture_.close();
        playback_.close();
    }

    std::string name() const override
    {
        if (wanted_.inputs == 0 || capture_.name() == playback_.name())
            return "alsa:" + playback_.name();
        return wanted_.outputs == 0 ? "alsa:" + capture_.name()
                                    : "alsa:" + capture_.name() + " to alsa:" + playback_.name();
    }
    std::string trouble() const override
    {
        const std::lock_guard lock(mutex_);
        return trouble_;
    }
    std::vector<std::string> notes() const override
    {
        const std::lock_guard lock(mutex_);
        return std::exchange(notes_, {});
    }

private:
    Side& side() { return playback_.is_open() ? playback_ : capture_; }

    void open_sides()
    {
        if (wanted_.outputs > 0)
            playback_.open(wanted_.rate, wanted_.outputs, wanted_.period);
        if (wanted_.inputs > 0)
            capture_.open(wanted_.rate, wanted_.inputs, wanted_.outputs > 0 ? playback_.period() : wanted_.period);
        linked_ = capture_.is_open() && playback_.is_open() && snd_pcm_link(capture_.pcm(), playback_.pcm()) == 0;
    }

    // Fills the output with silence and lets both sides go. 0 or the error.
    int begin()
    {
        for (Side* one : {&capture_, &playback_})
            if (one->is_open() && (one == &capture_ || !linked_ || !capture_.is_open()))
                if (const int error = snd_pcm_prepare(one->pcm()); error < 0)
                    return error;
        for (float* channel : out_)
            std::fill_n(channel, kMaxPeriod, 0.0F);
        for (int i = 0; playback_.is_open() && i < 2; ++i)
            if (const int error = playback_.write(out_.data(), got_.period); error < 0)
                return error;
        for (Side* one : {&capture_, &playback_})
            if (one->is_open() && snd_pcm_state(one->pcm()) == SND_PCM_STATE_PREPARED)
                if (const int error = snd_pcm_start(one->pcm()); error < 0)
                    return error;
        return 0;
    }

    int period(AudioClient& client)
    {
        if (capture_.is_open())
            if (const int error = capture_.read(in_.data(), got_.period); error < 0)
                return error;
        client.process(in_.data(), out_.data(), got_.period);
        return playback_.is_open() ? playback_.write(out_.data(), got_.period) : 0;
    }

    void run(AudioClient& client)
    {
        LiveLog::mark_audio_thread();
        if (const std::string refused = ask_for_realtime(); !refused.empty()) {
            const std::lock_guard lock(mutex_);
            notes_.push_back(refused);
        }
        int error = begin();
        while (!stop_) {
            if (error == 0)
                error = period(client);
            if (error == -EPIPE || error == -ESTRPIPE) {
                client.xrun();
                error = begin();
            }
            if (error != 0)
                error = come_back(error);
        }
    }

    // Waits a little for a device that went away, and opens it again. 0 when it plays.
    int come_back(int error)
    {
        constexpr std::chrono::milliseconds kLook{200};
        say_trouble(std::string("the device is gone (") + snd_strerror(error) + "); waiting for it");
        capture_.close();
        playback_.close();
        std::this_thread::sleep_for(kLook);
        try {
            open_sides();
            if (side().period() != got_.period || (capture_.is_open() && capture_.channels() != got_.inputs) ||
                (playback_.is_open() && playback_.channels() != got_.outputs))
                return -ENODEV;  // it came back as another one
        } catch (const std::runtime_error&) {
            return -ENODEV;
        }
        const int result = begin();
        if (result == 0)
            say_trouble("");
        return result;
    }

    void say_trouble(const std::string& text)
    {
        const std::lock_guard lock(mutex_);
        trouble_ = text;
    }

    Side capture_, playback_;
    StreamFormat wanted_, got_;
    bool linked_ = false;
    std::vector<float> arena_;
    std::vector<float*> in_, out_;
    std::atomic<bool> stop_{false};
    mutable std::mutex mutex_;
    std::string trouble_;
    mutable std::vector<std::string> notes_;
    std::thread thread_;
};

// ---- what there is ----

std::string range_text(unsigned least, unsigned most)
{
    return least == most ? std::to_string(least) : std::to_string(least) + " to " + std::to_string(most);
}

// Channels, rates and formats, for one direction; empty when it cannot be opened.
std::string look_at(const std::string& name, snd_pcm_stream_t stream)
{
    snd_pcm_t* pcm = nullptr;
    if (snd_pcm_open(&pcm, name.c_str(), stream, SND_PCM_NONBLOCK) < 0)
        return "";
    const Pcm closed(pcm);
    const HwParams params;
    if (snd_pcm_hw_params_any(pcm, params.at) < 0)
        return "";
    unsigned least = 0, most = 0;
    snd_pcm_hw_params_get_channels_min(params.at, &least);
    snd_pcm_hw_params_get_channels_max(params.at, &most);
    std::string text = range_text(least, most) + (stream == SND_PCM_STREAM_PLAYBACK ? " out, " : " in, ");
    snd_pcm_hw_params_get_rate_min(params.at, &least, nullptr);
    snd_pcm_hw_params_get_rate_max(params.at, &most, nullptr);
    text += range_text(least, most) + " Hz";
    for (const SampleFormat& format : kFormats)
        if (snd_pcm_hw_params_test_format(pcm, params.at, format.code) == 0)
            text += std::string(", ") + format.name;
    return text;
}

std::vector<Device> list()
{
    silence_library();
    void** hints = nullptr;
    std::vector<Device> devices;
    if (snd_device_name_hint(-1, "pcm", &hints) != 0)
        return devices;
    for (void** hint = hints; *hint; ++hint) {
        const std::unique_ptr<char, decltype(&std::free)> text(snd_device_name_get_hint(*hint, "NAME"), std::free);
        const std::string name = text ? text.get() : "";
        std::string detail;
        for (const snd_pcm_stream_t stream : {SND_PCM_STREAM_PLAYBACK, SND_PCM_STREAM_CAPTURE})
            if (const std::string side = look_at(name, stream); !side.empty())
                detail += (detail.empty() ? "" : "; ") + side;
        if (!detail.empty() && name != "null")
            devices.push_back({"alsa:" + name, detail});
    }
    snd_device_name_free_hint(hints);
    return devices;
}

}  // namespace

extern const BackendKind kAlsaBackend;
const BackendKind kAlsaBackend = {"alsa",
                                  [](const std::string& in, const std::string& out) -> std::unique_ptr<Backend> {
                                      return std::make_unique<AlsaBackend>(in, out);
                                  },
                                  list,
                                  [] {
                                      silence_library();
                                      return !look_at("default", SND_PCM_STREAM_PLAYBACK).empty();
                                  }};

}  // namespace vantoro
