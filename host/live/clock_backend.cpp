// SPDX-License-Identifier: Apache-2.0
// No device: the machine's clock asks for audio.
#include <atomic>
#include <chrono>
#include <thread>
#include <utility>

#include "live/backend.h"
#include "live/console.h"

namespace vantoro {

namespace {

class ClockBackend : public Backend {
public:
    ~ClockBackend() override { stop(); }
    explicit ClockBackend(std::string name) : name_(std::move(name)) {}
    ClockBackend(const ClockBackend&) = delete;
    ClockBackend& operator=(const ClockBackend&) = delete;

    StreamFormat open(const StreamFormat& wanted) override
    {
        constexpr int kPeriod = 512;
        format_ = {wanted.rate, wanted.period > 0 ? wanted.period : kPeriod, 0, 0};
        return format_;
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
    }
    std::string name() const override { return name_; }
    std::string trouble() const override { return ""; }

private:
    using Clock = std::chrono::steady_clock;

    // A machine that slept goes on from where it is.
    void run(AudioClient& client)
    {
        constexpr std::chrono::milliseconds kTooLate{200};
        LiveLog::mark_audio_thread();
        const auto period = std::chrono::nanoseconds(std::int64_t{1'000'000'000} * format_.period / format_.rate);
        for (Clock::time_point next = Clock::now(); !stop_; next += period) {
            if (Clock::now() - next > kTooLate) {
                client.xrun();
                next = Clock::now();
            }
            std::this_thread::sleep_until(next);
            client.await(format_.period);
            client.process(nullptr, nullptr, format_.period);
        }
    }

    std::string name_;
    StreamFormat format_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

}  // namespace

std::unique_ptr<Backend> make_clock_backend(std::string name)
{
    return std::make_unique<ClockBackend>(std::move(name));
}

}  // namespace vantoro
