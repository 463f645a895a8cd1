// SPDX-License-Identifier: Apache-2.0
// What stands between a backend and the player: channels of the device against those of the schematic, a file in the
// place of an input, a file beside an output. Files are read and written by threads of their own.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "io/audio_file.h"
#include "live/backend.h"

namespace vantoro {

// Planar blocks of samples from one thread to another.
class FrameQueue {
public:
    FrameQueue(int channels, std::size_t frames);  // rounded up to a power of two

    std::size_t ready() const
    {
        return written_.load(std::memory_order_acquire) - read_.load(std::memory_order_acquire);
    }
    std::size_t room() const { return mask_ + 1 - ready(); }
    // As many of `frames` as there are, or as fit. Channels beyond those of the queue are left alone.
    int pop(float* const* to, int frames) noexcept;
    int push(const float* const* from, int frames) noexcept;

private:
    int channels_;
    std::size_t mask_;
    std::vector<float> samples_;
    std::atomic<std::size_t> written_{0}, read_{0};
};

class Routing : public AudioClient {
public:
    struct Files {
        std::unique_ptr<AudioSource> input;                   // null: the device, or nothing
        std::function<std::unique_ptr<AudioSource>()> again;  // opens it anew, to play it in a loop; may be empty
        std::unique_ptr<AudioSink> output;                    // null: none
    };
    // `inputs` and `outputs` of the player, `rate` for the length of the queues.
    Routing(AudioClient& player, int inputs, int outputs, int rate, Files files);
    ~Routing() override;
    Routing(const Routing&) = delete;
    Routing& operator=(const Routing&) = delete;

    void set_device(int inputs, int outputs);  // before it starts

    void process(const float* const* in, float* const* out, int frames) noexcept override;
    void xrun() noexcept override { player_.xrun(); }
    void await(int frames) noexcept override;

    bool ended() const { return ended_; }  // the file was played to its end
    // Why a file cannot be read or written any more, or empty.
    std::string trouble() const;
    // After the backend has stopped: writes what is left and puts the output file in its place.
    void finish();
    // After that: what the input file lacked where it was read to its end, as AudioSource says it.
    const std::string& shortfall() const { return shortfall_; }

private:
    void read_ahead();
    void write_behind();
    void fail(const std::string& why);

    AudioClient& player_;
    int inputs_, outputs_, device_inputs_ = 0, device_outputs_ = 0;
    Files files_;
    std::vector<float> arena_;
    std::vector<float*> in_, out_;  // of the player
    std::vector<const float*> in_at_;
    std::unique_ptr<FrameQueue> from_file_, to_file_;
    std::atomic<bool> stop_{false}, read_all_{false}, ended_{false}, failed_{false};
    std::atomic_flag failing_;
    std::string why_;        // written once, before failed_
    std::string shortfall_;  // of the reader's
    std::thread reader_, writer_;
};

}  // namespace vantoro
