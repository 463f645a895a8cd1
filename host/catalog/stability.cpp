// SPDX-License-Identifier: Apache-2.0
#include "catalog/stability.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <string>
#include <utility>

#include "catalog/entries.h"
#include "support/decimal.h"

namespace vantoro {

namespace {

// A block that vectors are tried in.
class Trial {
public:
    Trial(const BlockType& type, PinCounts pins, Pace pace)
        : context_(BlockAlgo_BlockPro_init(pace.rate, kBits, std::max(pace.block_size, 1))),
          block_(context_ ? BlockAlgo_init(context_.get(), pins.inputs, pins.outputs, type.type) : nullptr)
    {}

    bool stable(std::span<const float> vector) const
    {
        bool good = true;
        VantoroLinearVisitor visitor{};
        visitor.user = &good;
        visitor.section = [](void* user, const double* c) {
            bool& so_far = *static_cast<bool*>(user);
            so_far = so_far && stable_poles(c[3], c[4]);
        };
        if (block_ && Vantoro_param_set(block_.get(), vector.data(), static_cast<int>(vector.size()), nullptr, 0) >= 0)
            Vantoro_block_linear(block_.get(), &visitor);
        return good;
    }

private:
    static constexpr int kBits = 24;
    struct Destroy {
        void operator()(void* context) const { BlockAlgo_BlockPro_destroy(context); }
        void operator()(BlockAlgo* block) const { BlockAlgo_destroy(block); }
    };
    std::unique_ptr<void, Destroy> context_;
    std::unique_ptr<BlockAlgo, Destroy> block_;
};

// From `good`, with which the vector is stable, the last such value before the one that it has.
float limit_of(const Trial& trial, std::span<float> vector, std::size_t n, float good)
{
    float bad = vector[n];
    for (float middle = std::midpoint(good, bad); middle != good && middle != bad; middle = std::midpoint(good, bad)) {
        vector[n] = middle;
        (trial.stable(vector) ? good : bad) = middle;
    }
    return good;
}

// To four digits, towards the default.
float rounded(float value, bool down)
{
    if (value == 0)
        return value;
    constexpr double kRounding = 1e-4;
    const double step = std::pow(10.0, std::floor(std::log10(std::abs(static_cast<double>(value)))) - 3);
    const double steps = static_cast<double>(value) / step;
    return static_cast<float>((down ? std::floor(steps + kRounding) : std::ceil(steps - kRounding)) * step);
}

std::string place_of(const VectorEntry& entry)
{
    return (entry.table ? '/' + std::string(entry.table->name) + '/' + std::to_string(entry.row) : "") + '/' +
           entry.param->name;
}

// The number to blame, with what would be right.
Problem blamed(const Trial& trial, std::span<const VectorEntry> entries, std::vector<float> vector)
{
    constexpr std::size_t kMostTried = 256;  // each takes as long as the vector is
    for (std::size_t n = 0; n < std::min(entries.size(), kMostTried); ++n) {
        const VectorEntry& entry = entries[n];
        if (!entry.param || entry.param->kind != VANTORO_REAL || !entry.meaning.as)
            continue;
        const float initial = entry.param->initial;
        const float value = std::exchange(vector[n], initial);
        if (value == initial || !trial.stable(vector)) {
            vector[n] = value;
            continue;
        }
        vector[n] = value;
        const float limit = rounded(limit_of(trial, vector, n, initial), initial < value);
        const std::string unit = entry.meaning.as->unit;
        return {place_of(entry), decimal(value),
                std::string("makes the output grow without end: stable ") + (initial < value ? "up to " : "from ") +
                    decimal(limit) + (unit.empty() ? "" : ' ' + unit) + " with the other values",
                true};
    }
    return {"", "", "the values together make the output grow without end", true};
}

}  // namespace

void check_stability(const BlockType& type, PinCounts pins, std::span<const float> vector, Pace pace,
                     std::vector<Problem>& problems)
{
    // Sound dies away, through the smallest numbers, in what is recursive, and only there.
    if (!has_trait(type, VANTORO_LINEAR_MODEL) || !has_trait(type, VANTORO_DENORMALS) || vector.empty())
        return;
    for (int pin = 0; pin < pins.inputs; ++pin)
        if (is_control(type, pin, pins))
            return;
    const Trial trial(type, pins, pace);
    if (trial.stable(vector))
        return;
    Problem found = blamed(trial, entries_of(type, pins, vector), {vector.begin(), vector.end()});
    if (std::ranges::none_of(problems, [&](const Problem& p) { return p.where.starts_with(found.where); }))
        problems.push_back(std::move(found));
}

}  // namespace vantoro
