// SPDX-License-Identifier: Apache-2.0
#include "live/routing.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <exception>

namespace vantoro {

namespace {

std::size_t index(int n) { return static_cast<std::size_t>(n); }

constexpr int kChunk = 1024;  // frames that are read or written at once
constexpr std::chrono::milliseconds kNap{2};

struct Chunk {
    explicit Chunk(int channels) : samples(index(channels) * kChunk)
    {
        for (int ch = 0; ch < channels; ++ch)
            at.push_back(samples.data() + index(ch) * kChunk);
    }
    std::vector<float> samples;
    std::vector<float*> at;
};

}  // namespace

// ---- queue ----

FrameQueue::FrameQueue(int channels, std::size_t frames)
    : channels_(channels), mask_(std::bit_ceil(frames) - 1), samples_(index(channels) * (mask_ + 1))
{}

int FrameQueue::pop(float* const* to, int frames) noexcept
{
    const std::size_t at = read_.load(std::memory_order_relaxed), n = std::min(ready(), index(frames));
    for (int ch = 0; ch < channels_; ++ch)
        for (std::size_t i = 0; i < n; ++i)
            to[ch][i] = samples_[index(ch) * (mask_ + 1) + ((at + i) & mask_)];
    read_.store(at + n, std::memory_order_release);
    return static_cast<int>(n);
}

int FrameQueue::push(const float* const* from, int frames) noexcept
{
    const std::size_t at = written_.load(std::memory_order_relaxed), n = std::min(room(), index(frames));
    for (int ch = 0; ch < channels_; ++ch)
        for (std::size_t i = 0; i < n; ++i)
            samples_[index(ch) * (mask_ + 1) + ((at + i) & mask_)] = from[ch][i];
    written_.store(at + n, std::memory_order_release);
    return static_cast<int>(n);
}

// ---- routing ----

Routing::Routing(AudioClient& player, int inputs, int outputs, int rate, Files files)
    : player_(player), inputs_(inputs), outputs_(outputs), files_(std::move(files)),
      arena_(index(kMaxPeriod) * index(inputs + outputs)), in_at_(index(inputs))
{
    for (int ch = 0; ch < inputs + outputs; ++ch)
        (ch < inputs ? in_ : out_).push_back(arena_.data() + index(ch) * kMaxPeriod);
    const std::size_t second = std::max(index(rate), std::size_t{4} * kMaxPeriod);
    if (files_.input) {
        from_file_ = std::make_unique<FrameQueue>(std::min(files_.input->channels(), inputs), second);
        reader_ = std::thread([this] { read_ahead(); });
    }
    if (files_.output) {
        to_file_ = std::make_unique<FrameQueue>(outputs, second);
        writer_ = std::thread([this] { write_behind(); });
    }
}

Routing::~Routing()
{
    stop_ = true;
    for (std::thread* thread : {&reader_, &writer_})
        if (thread->joinable())
            thread->join();
}

void Routing::set_device(int inputs, int outputs)
{
    device_inputs_ = inputs;
    device_outputs_ = outputs;
}

std::string Routing::trouble() const { return failed_.load(std::memory_order_acquire) ? why_ : ""; }

void Routing::fail(const std::string& why)
{
    if (failing_.test_and_set())
        return;
    why_ = why;
    failed_.store(true, std::memory_order_release);
}

void Routing::read_ahead()
try {
    Chunk chunk(files_.input->channels());
    for (bool any = false; !stop_;) {
        if (from_file_->room() < kChunk) {
            std::this_thread::sleep_for(kNap);
            continue;
        }
        const int frames = files_.input->read(chunk.at.data(), kChunk);
        from_file_->push(chunk.at.data(), frames);
        if (frames == 0 && shortfall_.empty())
            shortfall_ = files_.input->shortfall();
        if (frames == 0 && !(any && files_.again))
            break;
        if (frames == 0)
            files_.input = files_.again();
        any = frames > 0;
    }
    read_all_.store(true, std::memory_order_release);
} catch (const std::exception& error) {
    fail(error.what());
    read_all_.store(true, std::memory_order_release);
}

void Routing::write_behind()
try {
    Chunk chunk(outputs_);
    while (!stop_ || to_file_->ready() > 0) {
        if (to_file_->ready() == 0)
            std::this_thread::sleep_for(kNap);
        else
            files_.output->write(chunk.at.data(), to_file_->pop(chunk.at.data(), kChunk));
    }
} catch (const std::exception& error) {
    fail(error.what());
}

void Routing::await(int frames) noexcept
{
    while (!stop_ && !failed_ &&
           ((from_file_ && !read_all_ && from_file_->ready() < index(frames)) ||
            (to_file_ && to_file_->room() < index(frames))))
        std::this_thread::sleep_for(kNap);
}

void Routing::process(const float* const* in, float* const* out, int frames) noexcept
{
    for (int ch = 0; ch < inputs_; ++ch) {
        const bool from_device = !from_file_ && ch < device_inputs_;
        in_at_[index(ch)] = from_device ? in[ch] : in_[index(ch)];
        if (!from_device)
            std::fill_n(in_[index(ch)], frames, 0.0F);
    }
    int heard = frames;
    if (from_file_) {
        const bool all = read_all_.load(std::memory_order_acquire);
        heard = from_file_->pop(in_.data(), frames);
        if (heard < frames && !all)
            player_.xrun();
        if (all && heard < frames)
            ended_ = true;
    }
    player_.process(in_at_.data(), out_.data(), frames);
    for (int ch = 0; ch < device_outputs_; ++ch)
        if (ch < outputs_)
            std::copy_n(out_[index(ch)], frames, out[ch]);
        else
            std::fill_n(out[ch], frames, 0.0F);
    const int written = ended_ ? heard : frames;  // not what follows the end of the file
    if (to_file_ && to_file_->push(out_.data(), written) < written)
        player_.xrun();
}

void Routing::finish()
{
    stop_ = true;
    for (std::thread* thread : {&reader_, &writer_})
        if (thread->joinable())
            thread->join();
    if (files_.output && !failed_)
        files_.output->commit();
}

}  // namespace vantoro
