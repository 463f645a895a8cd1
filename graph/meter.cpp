// SPDX-License-Identifier: Apache-2.0
#include "meter.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "../lib/kernels/lanes.h"

namespace vgraph {

namespace {

using lbx::load, lbx::store;
using V = lbx::f8;

template <class W>
LBX_INLINE W greater(W a, W b)
{
    if constexpr (std::is_class_v<W>)
        return lbx::join(greater(lbx::lower(a), lbx::lower(b)), greater(lbx::upper(a), lbx::upper(b)));
    else
        return a > b ? a : b;
}

LBX_INLINE void raise(V& peak, V& sum, V x)
{
    x = lbx::magnitude(x);
    peak = greater(x, peak);
    sum = lbx::mul_add(x, x, sum);
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

// All signals in one loop: with a call for each, that would cost as much as its samples. Two chains side by side: each
// waits for its own last result.
void Meters::add(int first, const float* const* signals, int count, int n)
{
    Lanes* lanes = &banks_[now_ % 2][static_cast<std::size_t>(first)];
    for (int s = 0; s < count; ++s, ++lanes) {
        const float* samples = signals[s];
        V peak[] = {load<V>(lanes->peak), {}}, sum[] = {load<V>(lanes->sum), {}};
        int i = 0;
        for (; i + 4 * kLanes <= n; i += 4 * kLanes)
            lbx::repeat<4>([&](auto k) { raise(peak[k % 2], sum[k % 2], load<V>(samples + i + k * kLanes)); });
        for (; i + kLanes <= n; i += kLanes)
            raise(peak[0], sum[0], load<V>(samples + i));
        store(lanes->peak, greater(peak[0], peak[1]));
        store(lanes->sum, sum[0] + sum[1]);
        for (; i < n; ++i) {
            lanes->peak[0] = std::max(lanes->peak[0], std::fabs(samples[i]));
            lanes->sum[0] += samples[i] * samples[i];
        }
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
