// SPDX-License-Identifier: Apache-2.0
// Traits, delays, block sizes, and what a parameter set does to a running block: each measured on the block.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <string_view>

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

Outputs louder(const Described& type, Outputs signal, float factor)
{
    for (std::size_t pin = 0; pin < signal.size(); ++pin)
        if (!rig::is_control(type, static_cast<int>(pin)))
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

// Without inputs anything counts; with controls only what moves while they stand still: the others are tables.
bool makes_sound(const Described& type)
{
    return !has_audio_inputs(type) && any_vector(type, 4, [&](const Vector& vector) {
        std::srand(7);
        Bench bench(type);
        bench.set(vector);
        const Outputs out = bench.run(rig::constant_signal(type, 16 * kBlock, 0, 0.5F));
        const auto moves = [](const std::vector<float>& pin) { return std::ranges::count(pin, pin[0]) < std::ssize(pin); };
        return type.pins->inputs == 0 ? peak(out) > 0 : std::ranges::any_of(out, moves);
    });
}

// A recursion that dies away rounds to denormals on its way, which the processor notes. The slowest, with a pole at
// 0.9999, needs a million samples.
bool underflows_in_silence(const Described& type)
{
    constexpr int kRate = 8000, kLong = 512, kBlocks = 2400;
    static constexpr float kControls[] = {1, 100, 0};
    int turn = 0;
    return any_vector(type, 4, [&](const Vector& vector) {
        Bench bench(type, {.rate = kRate, .block = kLong});
        bench.set(vector);
        bench.run(rig::scene_signal(type, 16 * kLong, kLong));
        const Outputs silence = rig::constant_signal(type, kLong, 0, kControls[turn++ % 3]);
        std::feclearexcept(FE_ALL_EXCEPT);
        for (int i = 0; i < kBlocks && !std::fetestexcept(FE_UNDERFLOW); ++i)
            bench.run(silence);
        return std::fetestexcept(FE_UNDERFLOW) != 0;
    });
}

bool needs_pins_in_one_run(const Described& type)
{
    rig::BlockCase wide = *type.pins;
    ++wide.inputs;
    ++wide.outputs;
    if (!Vantoro_pins_fit(type.info->pins, wide.inputs, wide.outputs))
        return false;
    const Described wider = {type.info, &wide};
    return !rig::same_bits(rig::answer(wider, {}), rig::answer(wider, {}, {.apart = true}));
}

bool leaves_samples(const Described& type)
{
    return any_vector(type, 6, [&](const Vector& vector) {
        return !rig::same_bits(rig::answer(type, vector, {.before = 1.5F}), rig::answer(type, vector, {.before = -2.5F}));
    });
}

// Whole blocks; but for the logic of two pins, which leaves what has no result.
bool leaves_blocks(const Described& type)
{
    return type.info->type != EN_BASIC_LOGIC_CALC && any_vector(type, 6, [&](const Vector& vector) {
        const Outputs left = rig::answer(type, vector, {.before = 1.5F});
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

// However loud or soft, and whatever the parameters: also with 100 for each of them.
bool stays_within_full_scale(const Described& type)
{
    std::vector<Vector> vectors = rig::good_vectors(type, 6);
    for (std::size_t i = vectors.size(); i-- > 0;) {
        vectors.push_back(vectors[i]);
        for (const rig::Entry& entry : rig::entries_of(type, vectors[i]))
            if (entry.param->kind == VANTORO_REAL)
                vectors.back()[entry.at] = 100;
    }
    return has_audio_inputs(type) && std::ranges::none_of(vectors, [&](const Vector& vector) {
        Bench bench(type);
        bench.set(vector);
        const Outputs scene = rig::scene_signal(type, 16 * kBlock, kBlock);
        return std::max(peak(bench.run(louder(type, scene, 1e4F))), peak(bench.run(louder(type, scene, 1e-4F)))) > 1;
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

// Samples from a change of the audio inputs to the first output that hears it; INT_MAX: none did. The audio stands at
// `before` or jumps from there; a negative `control` stands for the controls of the scene.
static int measured_delay(const Described& type, const Vector& vector, float before, float control)
{
    constexpr int kBefore = 8 * kBlock, kSamples = 24 * kBlock;
    Outputs still = rig::constant_signal(type, kSamples, before, control), moved = still;
    const Outputs scene = rig::scene_signal(type, kSamples, kBlock);
    for (std::size_t pin = 0; pin < still.size(); ++pin)
        if (!rig::is_control(type, static_cast<int>(pin)))
            std::fill(moved[pin].begin() + kBefore, moved[pin].end(), 0.5F - before);
        else if (control < 0)
            still[pin] = moved[pin] = scene[pin];
    Bench a(type), b(type);
    a.set(vector);
    b.set(vector);
    const Outputs one = a.run(still), other = b.run(moved);
    int first = INT_MAX;
    for (std::size_t pin = 0; pin < one.size(); ++pin) {
        const auto x = rig::bits(one[pin]), y = rig::bits(other[pin]);
        if (const auto [at, ignored] = std::ranges::mismatch(x, y); at != x.end())
            first = std::min(first, static_cast<int>(at - x.begin()) - kBefore);
    }
    return first;
}

TEST(Delay, IsTheLeastOrFollowsAParameter)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        int least = INT_MAX, most = 0;
        for (const Vector& vector : rig::good_vectors(type, 4))
            for (const float before : {0.0F, 0.5F})
                for (const float control : {0.0F, 1.0F, -1.0F}) {
                    const int delay = measured_delay(type, vector, before, control);
                    least = std::min(least, delay);
                    most = delay < INT_MAX ? std::max(most, delay) : most;
                }
        if (!has_audio_inputs(type))
            continue;
        if (type.info->delay < 0) {
            EXPECT_LT(least, most) << type.info->name;
        } else {
            EXPECT_EQ(least, type.info->delay) << type.info->name;
        }
    }
}

// ---- block sizes ----

// Whether the last sample of a block is written, on some pin and with some parameters.
static bool is_served(const Described& type, int block)
{
    return any_vector(type, 4, [&](const Vector& vector) {
        Outputs last[2];
        for (const int k : {0, 1}) {
            Bench bench(type, {.block = block, .before = k == 0 ? 1.5F : -2.5F});
            bench.set(vector);
            for (const auto& pin : bench.run(rig::scene_signal(type, 2 * block, block)))
                last[k].push_back({pin.back()});
        }
        for (std::size_t pin = 0; pin < last[0].size(); ++pin)
            if (rig::bits(last[0][pin]) == rig::bits(last[1][pin]))
                return true;
        return false;
    });
}

TEST(BlockSizes, AreTheMultiplesUpToTheLargest)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        SCOPED_TRACE(type.info->name);
        const int multiple = type.info->block_multiple, largest = type.info->max_block;
        for (int block = 1; block <= 9; ++block)
            EXPECT_EQ(is_served(type, block), block % multiple == 0) << block;
        EXPECT_TRUE(is_served(type, std::min(largest, 40000)));
        if (largest < INT_MAX) {
            EXPECT_FALSE(is_served(type, largest + multiple));
        }
    }
}

// ---- parameters on a running block ----

static const char* name_of(VantoroOnSet on_set)
{
    return on_set == VANTORO_KEEPS ? "keeps" : on_set == VANTORO_RESTARTS ? "restarts" : "glides";
}

// What the block puts out after some blocks, with the same vector set again or not.
static Outputs goes_on(Bench& bench, int blocks, const Vector* again)
{
    std::srand(7);
    bench.run(rig::scene_signal(bench.type(), blocks * kBlock, kBlock));
    if (again)
        bench.set(*again);
    std::srand(8);
    return bench.run(rig::scene_signal(bench.type(), 16 * kBlock, kBlock));
}

// A set ends a hold that is under way; that is no restart.
static Vector without_hold(const Described& type, Vector vector)
{
    for (const rig::Entry& entry : rig::entries_of(type, vector))
        if (std::string_view(entry.param->name) == "holdTime")
            vector[entry.at] = 0;
    return vector;
}

TEST(OnSet, TheSameVectorAgainRestartsOrIsNotHeard)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        bool heard = false;
        for (const Vector& good : rig::good_vectors(type, 6))
            for (const int blocks : {17, 11}) {
                if (good.empty())
                    continue;
                const Vector vector = without_hold(type, good);
                Bench kept(type), set(type), fresh(type);
                for (Bench* bench : {&kept, &set, &fresh})
                    bench->set(vector);
                const Outputs again = goes_on(set, blocks, &vector);
                heard = heard || !rig::same_bits(goes_on(kept, blocks, nullptr), again);
                if (type.info->on_set == VANTORO_RESTARTS) {
                    EXPECT_TRUE(rig::same_bits(again, goes_on(fresh, 0, nullptr))) << type.info->name;
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
    Outputs dc = rig::constant_signal(type, kBlocks * kBlock, 0.25F, 1);
    for (std::size_t pin = 0; pin < dc.size(); ++pin)  // each pin another, so that a switch is heard
        if (!rig::is_control(type, static_cast<int>(pin)))
            std::ranges::fill(dc[pin], 0.25F * static_cast<float>(pin + 1));
    Bench bench(type);
    Vector vector = rig::initial_vector(type);
    bench.set(vector);
    const Outputs before = bench.run(dc);
    vector[entry.at] = value;
    bench.set(vector);
    const Outputs after = bench.run(dc);
    double largest = 0;
    for (std::size_t pin = 0; pin < after.size(); ++pin) {
        double last = static_cast<double>(before[pin].back()), step = 0;
        const double way = std::abs(static_cast<double>(after[pin].back()) - last);
        for (const float v : after[pin]) {
            step = std::max(step, std::abs(static_cast<double>(v) - last));
            last = static_cast<double>(v);
        }
        if (way > 0.02)  // the glide from the start has not quite arrived
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
        // A ramp as short as a block takes steps of 1/64 of the way. Where only the speed can be set, nothing moves.
        EXPECT_LT(largest, 1.0 / 16) << type.info->name;
    }
}
