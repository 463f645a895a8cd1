// SPDX-License-Identifier: Apache-2.0
// A player without audio: every signal is a sine, louder and softer by turns, of the graph that was handed over last.
#pragma once

#include <chrono>
#include <cmath>
#include <mutex>
#include <utility>

#include "live/player.h"

class FakePlayer : public vantoro::Player {
public:
    FakePlayer(vantoro::Schematic schematic, int rate) : schematic_(std::move(schematic)), rate_(rate) {}

    void play(vantoro::Schematic next, std::uint64_t revision) override
    {
        const std::scoped_lock lock(mutex_);
        schematic_ = std::move(next);
        revision_ = revision;
        ++plays_;
    }

    std::unique_ptr<Reader> reader() override { return std::make_unique<Levels>(*this); }

    std::unique_ptr<Tap> tap(const std::string& block, int pin) override
    {
        return std::make_unique<Sine>(
            *this, 200.0 * (1 + static_cast<double>((block.size() + static_cast<std::size_t>(pin)) % 9)));
    }

    vantoro::PlayerStatus status() override
    {
        const std::scoped_lock lock(mutex_);
        vantoro::PlayerStatus status;
        status.playing = true;
        status.device = "no device: sines";
        status.rate = rate_;
        status.period = 256;
        status.seconds = seconds();
        status.load = 0.12;
        status.worst_load = 0.2;
        status.heard = revision_;
        return status;
    }

    vantoro::Schematic heard()
    {
        const std::scoped_lock lock(mutex_);
        return schematic_;
    }
    std::uint64_t revision()
    {
        const std::scoped_lock lock(mutex_);
        return revision_;
    }
    int plays() const { return plays_; }

private:
    double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count(); }

    vantoro::SignalLevel level(std::size_t n) const
    {
        const float peak = static_cast<float>(0.5 + 0.4 * std::sin(seconds() * 2 + static_cast<double>(n)));
        return {peak, peak * peak / 2};
    }

    class Levels : public Reader {
    public:
        explicit Levels(FakePlayer& player) : player_(player) {}
        vantoro::Readings read() override
        {
            const std::scoped_lock lock(player_.mutex_);
            vantoro::Readings out;
            out.revision = player_.revision_;
            std::size_t n = 0;
            const auto levels = [&](std::size_t count) {
                std::vector<vantoro::SignalLevel> list;
                for (std::size_t i = 0; i < count; ++i)
                    list.push_back(player_.level(n++));
                return list;
            };
            out.inputs = levels(static_cast<std::size_t>(player_.schematic_.inputs));
            for (const vantoro::Block& block : player_.schematic_.blocks) {
                out.pins.push_back(levels(static_cast<std::size_t>(block.pins.outputs)));
                out.detectors.emplace_back();
                if (vantoro::has_trait(*block.type, VANTORO_METER))
                    out.detectors.back().push_back(20 * std::log10(player_.level(n).peak));
            }
            out.outputs = levels(player_.schematic_.outputs.size());
            return out;
        }

    private:
        FakePlayer& player_;
    };

    class Sine : public Tap {
    public:
        Sine(const FakePlayer& player, double hz) : player_(player), hz_(hz) {}
        bool newest(std::span<float> out) override
        {
            const double start = player_.seconds();
            for (std::size_t i = 0; i < out.size(); ++i)
                out[i] = static_cast<float>(
                    0.5 * std::sin(6.283185307 * hz_ * (start + static_cast<double>(i) / player_.rate_)));
            return true;
        }

    private:
        const FakePlayer& player_;
        double hz_;
    };

    std::mutex mutex_;
    vantoro::Schematic schematic_;
    int rate_;
    std::uint64_t revision_ = 1;
    int plays_ = 0;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};
