// SPDX-License-Identifier: Apache-2.0
#include "meter.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vgraph {

namespace {

using V = float __attribute__((vector_size(kLanes * sizeof(float))));
using Bits = unsigned __attribute__((vector_size(kLanes * sizeof(unsigned))));

void load(V& to, const float* from) { std::memcpy(&to, from, sizeof to); }

// By reference: how vectors are passed depends on the processor that is built for.
void raise_peak(V& peak, const V& x)
{
    const V magnitude = reinterpret_cast<V>(reinterpret_cast<Bits>(x) & 0x7fffffffU);
    peak = magnitude > peak ? magnitude : peak;
}

}  // namespace

bool Meters::reserve(int signals)
{
    signals_ = signals;
    for (owned::Array<Lanes>& bank : banks_) {
        const std::size_t bytes = sizeof(Lanes) * (static_cast<std::size_t>(signals) + 1);
        bank.reset(static_cast<Lanes*>(std::aligned_alloc(alignof(Lanes), bytes)));
        if (!bank)
            return false;
        std::fill_n(bank.get(), signals, Lanes{});
    }
    return true;
}

void Meters::turn()
{
    if (const unsigned asked = asked_.load(std::memory_order_acquire); asked != now_) [[unlikely]] {
        now_ = asked;
        changed_.store(now_, std::memory_order_release);
    }
    ++blocks_[now_ % 2];
}

// Two chains side by side: each waits for its own last result.
void Meters::add(int signal, const float* samples, int n)
{
    Lanes& lanes = banks_[now_ % 2][static_cast<std::size_t>(signal)];
    V peak, sum, x, peak2 = {}, sum2 = {}, x2;
    load(peak, lanes.peak);
    load(sum, lanes.sum);
    int i = 0;
    for (; i + 2 * kLanes <= n; i += 2 * kLanes) {
        load(x, samples + i);
        load(x2, samples + i + kLanes);
        raise_peak(peak, x);
        raise_peak(peak2, x2);
        sum += x * x;
        sum2 += x2 * x2;
    }
    raise_peak(peak, peak2);
    sum += sum2;
    std::memcpy(lanes.peak, &peak, sizeof peak);
    std::memcpy(lanes.sum, &sum, sizeof sum);
    for (; i < n; ++i) {
        lanes.peak[0] = std::max(lanes.peak[0], std::fabs(samples[i]));
        lanes.sum[0] += samples[i] * samples[i];
    }
}

void Meters::carry(int to, const Meters& old, int from)
{
    Lanes& lanes = banks_[now_ % 2][static_cast<std::size_t>(to)];
    const Lanes& other = old.banks_[old.now_ % 2][static_cast<std::size_t>(from)];
    for (int i = 0; i < kLanes; ++i) {
        lanes.peak[i] = std::max(lanes.peak[i], other.peak[i]);
        lanes.sum[i] += other.sum[i];
    }
}

long Meters::take(VantoroGraphMeter* meters, int count, int block)
{
    const unsigned asked = asked_.load(std::memory_order_relaxed);
    if (changed_.load(std::memory_order_acquire) != asked)
        return 0;
    const std::size_t free = (asked + 1) % 2;
    const long blocks = blocks_[free];
    for (int s = 0; blocks > 0 && s < std::min(count, signals_); ++s) {
        const Lanes& lanes = banks_[free][static_cast<std::size_t>(s)];
        double sum = 0;
        meters[s].peak = *std::max_element(lanes.peak, lanes.peak + kLanes);
        for (const float part : lanes.sum)
            sum += static_cast<double>(part);
        meters[s].mean_square = static_cast<float>(sum / (static_cast<double>(blocks) * block));
    }
    std::fill_n(banks_[free].get(), signals_, Lanes{});
    blocks_[free] = 0;
    asked_.store(asked + 1, std::memory_order_release);
    return blocks;
}

}  // namespace vgraph
