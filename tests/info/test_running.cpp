// SPDX-License-Identifier: Apache-2.0
// Traits, delays, block sizes, and what a parameter set does to a running block: each measured on the block.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <climits>
#include <cmath>
#include <cstdlib>

#include "support/described.h"

namespace {

using rig::Bench;
using rig::Described;
using rig::Outputs;
using rig::Vector;

constexpr int kBlock = 64;

bool any_vector(const Described& type, int count, auto&& is_so)
{
    return std::ranges::any_of(rig::good_vectors(type, count), is_so);
}

float peak(const Outputs& outputs)
{
    float most = 0;
    for (const auto& pin : outputs)
        for (const float v : pin)
            most = std::max(most, std::abs(v));
    return most;
}

// The signal on every audio pin (or control pin), times a factor.
Outputs scaled(const Described& type, Outputs signal, float factor, bool controls = false)
{
    for (std::size_t pin = 0; pin < signal.size(); ++pin)
        if (rig::is_control(type, static_cast<int>(pin)) == controls)
            for (float& v : signal[pin])
                v *= factor;
    return signal;
}

// ---- traits ----

bool has_audio_inputs(const Described& type)
{
    for (int pin = 0; pin < type.pins->inputs; ++pin)
        if (!rig::is_control(type, pin))
            return true;
    return false;
}

// Sound, not a value: a constant counts only where no pin could ask for it.
bool makes_sound(const Described& type)
{
    return !has_audio_inputs(type) && any_vector(type, 4, [&](const Vector& vector) {
        return peak(rig::answer(type, vector)) > 0;
    });
}

// A recursion that dies away rounds to denormals on its way, which the processor notes.
bool underflows_in_silence(const Described& type)
{
    constexpr int kRate = 8000, kSeconds = 20;
    return any_vector(type, 6, [&](const Vector& vector) {
        Bench bench(type, {.rate = kRate});
        bench.set(vector);
        bench.run(rig::scene_signal(type, 16 * kBlock, kBlock));
        const Outputs silence(static_cast<std::size_t>(std::max(type.pins->inputs, 1)), std::vector<float>(kBlock));
        bench.run(silence);
        std::feclearexcept(FE_ALL_EXCEPT);
        for (int i = 0; i < kSeconds * kRate / kBlock && !std::fetestexcept(FE_UNDERFLOW); ++i)
            bench.run(silence);
        return std::fetestexcept(FE_UNDERFLOW) != 0;
    });
}

bool needs_pins_in_one_run(const Described& type)
{
    return any_vector(type, 4, [&](const Vector& vector) {
        return !rig::same_bits(rig::answer(type, vector), rig::answer(type, vector, {.apart = true}));
    });
}

Outputs answer_over(const Described& type, const Vector& vector, float before, int block = kBlock, int blocks = 16)
{
    return rig::answer(type, vector, {.block = block, .before = before}, blocks);
}

bool leaves_samples(const Described& type)
{
    return any_vector(type, 6, [&](const Vector& vector) {
        return !rig::same_bits(answer_over(type, vector, 1.5F), answer_over(type, vector, -2.5F));
    });
}

// Whole blocks, and not for want of a result.
bool leaves_blocks(const Described& type)
{
    return any_vector(type, 6, [&](const Vector& vector) {
        const Outputs left = answer_over(type, vector, 1.5F);
        return std::ranges::any_of(left, [](const std::vector<float>& pin) {
            for (std::size_t start = 0; start < pin.size(); start += kBlock)
                if (std::all_of(pin.begin() + static_cast<std::ptrdiff_t>(start),
                                pin.begin() + static_cast<std::ptrdiff_t>(start + kBlock),
                                [](float v) { return v == 1.5F; }))
                    return true;
            return false;
        });
    });
}

bool draws_from_rand(const Described& type)
{
    std::srand(7);
    const int first = std::rand();
    return any_vector(type, 4, [&](const Vector& vector) {
        rig::answer(type, vector);  // begins with the same srand
        return std::rand() != first;
    });
}

bool takes_params_in_place(const Described& type)
{
    const Outputs fresh = rig::answer(type, {});
    return type.info->layout_count > 0 && !any_vector(type, 6, [&](Vector vector) {
        std::srand(7);
        Bench bench(type);
        BlockAlgo_param_reset(bench.block(), vector.data());
        BlockAlgo_param_update(bench.block());
        return !rig::same_bits(fresh, bench.run(rig::scene_signal(type, 16 * kBlock, kBlock)));
    });
}

bool stays_within_full_scale(const Described& type)
{
    return has_audio_inputs(type) && !any_vector(type, 6, [&](const Vector& vector) {
        Bench bench(type);
        bench.set(vector);
        return peak(bench.run(scaled(type, rig::scene_signal(type, 16 * kBlock, kBlock), 1e4F))) > 1;
    });
}

}  // namespace

TEST(Traits, AreWhatTheBlocksDo)
{
    rig::Log quiet;
    const struct {
        VantoroTrait trait;
        const char* name;
        bool (*is_so)(const Described&);
    } kTraits[] = {
        {VANTORO_SOURCE, "SOURCE", makes_sound},
        {VANTORO_DENORMALS, "DENORMALS", underflows_in_silence},
        {VANTORO_CONTIGUOUS_PINS, "CONTIGUOUS_PINS", needs_pins_in_one_run},
        {VANTORO_UNWRITTEN_OUTPUTS, "UNWRITTEN_OUTPUTS", leaves_samples},
        {VANTORO_CLEAR_OUTPUTS, "CLEAR_OUTPUTS", leaves_blocks},
        {VANTORO_RANDOM, "RANDOM", draws_from_rand},
        {VANTORO_PARAMS_IN_PLACE, "PARAMS_IN_PLACE", takes_params_in_place},
        {VANTORO_CLIPS, "CLIPS", stays_within_full_scale},
    };
    for (const Described& type : rig::every_described())
        for (const auto& [trait, name, is_so] : kTraits)
            EXPECT_EQ(rig::has(type, trait), is_so(type)) << type.info->name << " " << name;
}

// ---- delays ----

// Samples from a change of the audio inputs to the first output that hears it; INT_MAX: none did.
static int measured_delay(const Described& type, const Vector& vector)
{
    constexpr int kBefore = 8 * kBlock;
    Outputs one = rig::scene_signal(type, 64 * kBlock, kBlock), other = one;
    for (std::size_t pin = 0; pin < one.size(); ++pin)
        for (std::size_t i = kBefore; i < one[pin].size() && !rig::is_control(type, static_cast<int>(pin)); ++i)
            other[pin][i] = 0.7F - one[pin][i];
    Bench a(type), b(type);
    a.set(vector);
    b.set(vector);
    const Outputs heard = a.run(one), changed = b.run(other);
    int first = INT_MAX;
    for (std::size_t pin = 0; pin < heard.size(); ++pin) {
        const auto differs = std::ranges::mismatch(rig::bits(heard[pin]), rig::bits(changed[pin]));
        const auto at = static_cast<int>(std::ranges::mismatch(heard[pin], changed[pin]).in1 - heard[pin].begin());
        if (at < static_cast<int>(heard[pin].size()))
            first = std::min(first, at - kBefore);
        (void)differs;
    }
    return first;
}

TEST(Delay, IsTheLeastOrFollowsAParameter)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        if (!has_audio_inputs(type))
            continue;
        int least = INT_MAX, most = 0;
        for (const Vector& vector : rig::good_vectors(type, 8)) {
            const int delay = measured_delay(type, vector);
            least = std::min(least, delay);
            most = delay < INT_MAX ? std::max(most, delay) : most;
        }
        if (type.info->delay < 0) {
            EXPECT_LT(least, most) << type.info->name;
        } else {
            EXPECT_EQ(least, type.info->delay) << type.info->name;
        }
    }
}

// ---- block sizes ----

static bool is_written(const Described& type, int block)
{
    return any_vector(type, 6, [&](const Vector& vector) {
        return rig::same_bits(answer_over(type, vector, 1.5F, block, 2), answer_over(type, vector, -2.5F, block, 2));
    });
}

TEST(BlockSizes, AreTheMultiplesUpToTheLargest)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        SCOPED_TRACE(type.info->name);
        const int multiple = type.info->block_multiple, largest = type.info->max_block;
        for (int block = 1; block <= 9; ++block)
            EXPECT_EQ(is_written(type, block), block % multiple == 0) << block;
        EXPECT_TRUE(is_written(type, std::min(largest, 40000)));
        if (largest < INT_MAX) {
            EXPECT_FALSE(is_written(type, largest + multiple));
        }
    }
}

// ---- parameters on a running block ----

static const char* name_of(VantoroOnSet on_set)
{
    return on_set == VANTORO_KEEPS ? "keeps" : on_set == VANTORO_RESTARTS ? "restarts" : "glides";
}

// What the block puts out after the first half of the scene, with the same vector set again or not.
static Outputs second_half(Bench& bench, const Vector* again)
{
    const Outputs half = rig::scene_signal(bench.type(), 16 * kBlock, kBlock);
    std::srand(7);
    bench.run(half);
    if (again)
        bench.set(*again);
    std::srand(8);
    return bench.run(half);
}

TEST(OnSet, TheSameVectorAgainRestartsOrIsNotHeard)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        bool heard = false;
        for (const Vector& vector : rig::good_vectors(type, type.info->layout_count > 0 ? 6 : 0)) {
            Bench kept(type), set(type), fresh(type);
            for (Bench* bench : {&kept, &set, &fresh})
                bench->set(vector);
            const Outputs again = second_half(set, &vector);
            heard = heard || !rig::same_bits(second_half(kept, nullptr), again);
            if (type.info->on_set == VANTORO_RESTARTS) {
                std::srand(8);
                EXPECT_TRUE(rig::same_bits(again, fresh.run(rig::scene_signal(type, 16 * kBlock, kBlock))))
                    << type.info->name;
            }
        }
        EXPECT_EQ(heard, type.info->on_set == VANTORO_RESTARTS) << type.info->name << " " << name_of(type.info->on_set);
    }
}

// Moves one value from its default to `value` under a constant input, and compares the largest step from sample to
// sample with the whole way. 0: nothing was heard.
static double largest_step(const Described& type, const rig::Entry& entry, float value)
{
    constexpr int kBlocks = 400;
    Outputs constant;
    for (int pin = 0; pin < std::max(type.pins->inputs, 1); ++pin)
        constant.emplace_back(kBlocks * kBlock, rig::is_control(type, pin) ? 1.0F : 0.25F * static_cast<float>(pin + 1));
    Bench bench(type);
    Vector vector = rig::initial_vector(type);
    bench.set(vector);
    const Outputs before = bench.run(constant);
    vector[entry.at] = value;
    bench.set(vector);
    const Outputs after = bench.run(constant);
    double largest = 0;
    for (std::size_t pin = 0; pin < after.size(); ++pin) {
        double last = static_cast<double>(before[pin].back()), step = 0;
        const double way = std::abs(static_cast<double>(after[pin].back()) - last);
        for (const float v : after[pin]) {
            step = std::max(step, std::abs(static_cast<double>(v) - last));
            last = static_cast<double>(v);
        }
        if (way > 1e-3)
            largest = std::max(largest, step / way);
    }
    return largest;
}

TEST(OnSet, WhatGlidesTakesNoStep)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        if (type.info->on_set != VANTORO_GLIDES)
            continue;
        double largest = 0;
        for (const rig::Entry& entry : rig::entries_of(type, rig::initial_vector(type)))
            for (const float value : {entry.param->range.min, entry.param->range.max})
                largest = std::max(largest, largest_step(type, entry, value));
        // A ramp as short as a block takes steps of 1/64 of the way.
        EXPECT_GT(largest, 0) << type.info->name;
        EXPECT_LT(largest, 1.0 / 16) << type.info->name;
    }
}
