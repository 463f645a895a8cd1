// SPDX-License-Identifier: Apache-2.0
// Traits, delays, block sizes, and what a parameter set and clearing do to a running block: each measured on the block.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <string>
#include <string_view>

#include "support/described.h"

namespace {

using rig::answer;
using rig::Bench;
using rig::Described;
using rig::Outputs;
using rig::same_bits;
using rig::Vector;

constexpr int kBlock = 64;

bool any_vector(const Described& type, int count, auto&& is_so)
{
    return std::ranges::any_of(rig::good_vectors(type, count), is_so);
}

Outputs scene(const Described& type) { return rig::scene_signal(type, 16 * kBlock); }

float peak(const Outputs& outputs)
{
    float most = 0;
    for (const auto& pin : outputs)
        for (const float v : pin)
            most = std::max(most, std::abs(v));
    return most;
}

bool has_audio_inputs(const Described& type)
{
    for (int pin = 0; pin < type.pins->inputs; ++pin)
        if (!rig::is_control(type, pin))
            return true;
    return false;
}

// ---- traits ----

// Without inputs anything counts; with controls only what moves while they stand still: the others are tables.
bool makes_sound(const Described& type)
{
    return !has_audio_inputs(type) && any_vector(type, 4, [&](const Vector& vector) {
        const Outputs out = answer(type, vector, rig::constant_signal(type, 16 * kBlock, 0, 0.5F));
        const auto moves = [](const auto& pin) { return std::ranges::count(pin, pin[0]) < std::ssize(pin); };
        return type.pins->inputs == 0 ? peak(out) > 0 : std::ranges::any_of(out, moves);
    });
}

// A recursion that dies away rounds to denormals on its way, which the processor notes. The slowest by default has a
// pole at 0.9999 and needs a million samples; the others are faster with some vector.
bool underflows_in_silence(const Described& type)
{
    static constexpr float kControls[] = {1, 100, 0};
    int turn = 0;
    return any_vector(type, 9, [&](const Vector& vector) {
        Bench bench(type, {.rate = 8000});
        bench.set(vector);
        bench.run(scene(type));
        const Outputs silence = rig::constant_signal(type, kBlock, 0, kControls[turn++ % 3]);
        std::feclearexcept(FE_ALL_EXCEPT);
        for (int i = turn == 1 ? 0 : 16000; i < 18000 && !std::fetestexcept(FE_UNDERFLOW); ++i)
            bench.run(silence);
        return std::fetestexcept(FE_UNDERFLOW) != 0;
    });
}

bool needs_pins_in_one_run(const Described& type)
{
    const rig::BlockCase wide = {type.info->type, type.pins->inputs + 1, type.pins->outputs + 1, {}};
    const Described wider = {type.info, &wide};  // one data pin is always one run
    return Vantoro_pins_fit(type.info->pins, wide.inputs, wide.outputs) &&
           !same_bits(answer(wider, {}, scene(wider)), answer(wider, {}, scene(wider), {.apart = true}));
}

bool leaves_samples(const Described& type)
{
    return any_vector(type, 6, [&](const Vector& vector) {
        return !same_bits(answer(type, vector, scene(type), {.before = 1.5F}),
                          answer(type, vector, scene(type), {.before = -2.5F}));
    });
}

// A whole block on some pin. Logic leaves samples too, but because they have no result.
bool leaves_pins(const Described& type)
{
    static constexpr float kBefore = 1.5F;
    const auto is_left = [](const auto& pin) { return std::ranges::search_n(pin, kBlock, kBefore).size() > 0; };
    return type.info->type != EN_BASIC_LOGIC_CALC && any_vector(type, 6, [&](const Vector& vector) {
               return std::ranges::any_of(answer(type, vector, scene(type), {.before = kBefore}), is_left);
           });
}

bool draws_from_rand(const Described& type)
{
    std::srand(rig::kSeed);
    const int first = std::rand();
    return any_vector(type, 4, [&](const Vector& vector) {
        answer(type, vector, scene(type));  // begins with the same srand
        return std::rand() != first;
    });
}

bool ignores_its_argument(const Described& type)
{
    const Outputs fresh = answer(type, {}, scene(type));
    return type.info->layout_count > 0 && !any_vector(type, 6, [&](Vector vector) {
               std::srand(rig::kSeed);
               Bench bench(type);
               BlockAlgo_param_reset(bench.block(), vector.data());
               BlockAlgo_param_update(bench.block());
               return !same_bits(fresh, bench.run(scene(type)));
           });
}

// However loud or soft, and whatever the parameters: also with 100 for each of them.
bool stays_within_full_scale(const Described& type)
{
    const auto times = [&](float factor) {
        Outputs signal = scene(type);
        for (auto& pin : signal)
            std::ranges::transform(pin, pin.begin(), [=](float v) { return factor * v; });
        return rig::with_controls(type, signal, scene(type));
    };
    const Outputs loud = times(1e4F), soft = times(1e-4F);
    return has_audio_inputs(type) && !any_vector(type, 6, [&](Vector vector) {
               const float most = std::max(peak(answer(type, vector, loud)), peak(answer(type, vector, soft)));
               for (const rig::Entry& entry : rig::entries_of(type, vector))
                   if (entry.param->kind == VANTORO_REAL)
                       vector[entry.at] = 100;
               return most > 1 || peak(answer(type, vector, loud)) > 1;
           });
}

}  // namespace

TEST(Traits, AreWhatTheBlocksDo)
{
    const struct {
        VantoroTrait trait;
        const char* name;
        bool (*is_so)(const Described&);
    } kTraits[] = {
        {VANTORO_SOURCE, "SOURCE", makes_sound},
        {VANTORO_DENORMALS, "DENORMALS", underflows_in_silence},
        {VANTORO_CONTIGUOUS_PINS, "CONTIGUOUS_PINS", needs_pins_in_one_run},
        {VANTORO_UNWRITTEN_OUTPUTS, "UNWRITTEN_OUTPUTS", leaves_samples},
        {VANTORO_CLEAR_OUTPUTS, "CLEAR_OUTPUTS", leaves_pins},
        {VANTORO_RANDOM, "RANDOM", draws_from_rand},
        {VANTORO_PARAMS_IN_PLACE, "PARAMS_IN_PLACE", ignores_its_argument},
        {VANTORO_CLIPS, "CLIPS", stays_within_full_scale},
    };
    rig::Log quiet;
    for (const Described& type : rig::every_described())
        for (const auto& [trait, name, is_so] : kTraits)
            EXPECT_EQ(rig::has(type, trait), is_so(type)) << type.info->name << " " << name;
}

// ---- delays and block sizes ----

// Samples from a jump on all audio inputs to the first output that hears it; INT_MAX: none does.
static int measured_delay(const Described& type, const Vector& vector, float before, const Outputs& controls)
{
    constexpr int kJump = 8 * kBlock;
    const Outputs still = rig::constant_signal(type, 16 * kBlock, before, 0);
    Outputs jumps = still;
    for (auto& pin : jumps)
        std::fill(pin.begin() + kJump, pin.end(), 0.5F - before);
    const Outputs one = answer(type, vector, rig::with_controls(type, still, controls));
    const Outputs other = answer(type, vector, rig::with_controls(type, jumps, controls));
    int first = INT_MAX;
    for (std::size_t pin = 0; pin < one.size(); ++pin) {
        const auto x = rig::bits(one[pin]), y = rig::bits(other[pin]);
        if (const auto at = std::ranges::mismatch(x, y).in1; at != x.end())
            first = std::min(first, static_cast<int>(at - x.begin()) - kJump);
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
                for (const Outputs& controls : {rig::constant_signal(type, 16 * kBlock, 0, 0),
                                                rig::constant_signal(type, 16 * kBlock, 0, 1), scene(type)})
                    if (const int delay = measured_delay(type, vector, before, controls); delay < INT_MAX) {
                        least = std::min(least, delay);
                        most = std::max(most, delay);
                    }
        if (type.info->delay < 0) {
            EXPECT_LT(least, most) << type.info->name;
        } else if (has_audio_inputs(type)) {
            EXPECT_EQ(least, type.info->delay) << type.info->name;
        }
    }
}

// Whether the last sample of a block is written, on some pin and with some parameters.
static bool is_served(const Described& type, int block)
{
    return any_vector(type, 4, [&](const Vector& vector) {
        const Outputs signal = rig::scene_signal(type, 2 * block, block);
        const Outputs one = answer(type, vector, signal, {.block = block, .before = 1.5F});
        const Outputs other = answer(type, vector, signal, {.block = block, .before = -2.5F});
        return !std::ranges::equal(one, other, [](const auto& x, const auto& y) {
            return rig::bits({&x.back(), 1}) != rig::bits({&y.back(), 1});
        });
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
        EXPECT_TRUE(largest == INT_MAX || !is_served(type, largest + multiple));
    }
}

// ---- parameters on a running block ----

// What the block puts out after some blocks, with the same vector set again or not.
static Outputs goes_on(const Described& type, const Vector& vector, int blocks, bool again)
{
    Bench bench(type);
    bench.set(vector);
    bench.run(rig::scene_signal(type, blocks * kBlock));
    if (again)
        bench.set(vector);
    std::srand(rig::kSeed);
    return bench.run(scene(type));
}

TEST(OnSet, TheSameVectorAgainRestartsOrIsNotHeard)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        const bool restarts = type.info->on_set == VANTORO_RESTARTS;
        bool heard = false;
        for (Vector& vector : rig::good_vectors(type, 6)) {
            for (const rig::Entry& entry : rig::entries_of(type, vector))
                if (std::string_view(entry.param->name) == "holdTime")
                    vector[entry.at] = 0;  // a set ends a hold that is under way; that is no restart
            for (const int blocks : {17, 11}) {
                const Outputs again = goes_on(type, vector, blocks, true);
                heard = heard || !same_bits(goes_on(type, vector, blocks, false), again);
                EXPECT_TRUE(!restarts || same_bits(again, goes_on(type, vector, 0, false))) << type.info->name;
            }
        }
        EXPECT_EQ(heard, restarts) << type.info->name;
    }
}

// Moves one value from its default under constant inputs, each pin's another, and compares the largest step from
// sample to sample with the whole way. 0: nothing is heard.
static double largest_step(const Described& type, const rig::Entry& entry, float value)
{
    const Outputs ones = rig::constant_signal(type, 400 * kBlock, 0, 1);
    Outputs dc = ones;
    for (std::size_t pin = 0; pin < dc.size(); ++pin)
        std::ranges::fill(dc[pin], 0.25F * static_cast<float>(pin + 1));
    dc = rig::with_controls(type, dc, ones);
    Bench bench(type);
    Vector vector = rig::initial_vector(type);
    bench.set(vector);
    const Outputs before = bench.run(dc);
    vector[entry.at] = value;
    bench.set(vector);
    const Outputs after = bench.run(dc);
    float largest = 0;
    for (std::size_t pin = 0; pin < after.size(); ++pin) {
        float last = before[pin].back(), step = 0;
        const float way = std::abs(after[pin].back() - last);
        for (const float v : after[pin])
            step = std::max(step, std::abs(v - std::exchange(last, v)));
        if (way > 0.02F)  // less is the end of the first glide
            largest = std::max(largest, step / way);
    }
    return largest;
}

TEST(OnSet, OnlyWhatGlidesTakesNoStep)
{
    constexpr double kSteep = 1.0 / 16;  // a ramp as short as a block has steps of 1/64
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        if (type.info->on_set == VANTORO_RESTARTS)
            continue;
        double largest = 0;
        for (const rig::Entry& entry : rig::entries_of(type, rig::initial_vector(type))) {
            if (rig::is_size(type, entry))
                continue;  // another size needs another vector
            for (const float value : {entry.param->range.min, entry.param->range.max})
                largest = std::max(largest, largest_step(type, entry, value));
        }
        EXPECT_EQ(largest > 0 && largest < kSteep, type.info->on_set == VANTORO_GLIDES) << type.info->name;
    }
}

// Whether some move of one entry makes a set allocate, from the default and from drawn vectors.
static bool allocates(const Described& type, const rig::Entry& entry)
{
    return any_vector(type, 6, [&](Vector vector) {
        const std::vector<rig::Entry> entries = rig::entries_of(type, vector);  // of its own length
        const auto here = std::ranges::find_if(
            entries, [&](const rig::Entry& e) { return e.param == entry.param && e.row == entry.row; });
        if (here == entries.end())
            return false;
        Bench bench(type);
        bench.set(vector);
        std::vector<float> values = {entry.param->range.min, entry.param->range.max};
        for (int i = 0; i < entry.param->choice_count; ++i)
            values.push_back(static_cast<float>(entry.param->choices[i].value));
        const long before = rig::Allocator::touched();
        for (const float value : values) {
            vector[here->at] = value;
            bench.set(vector);
        }
        return rig::Allocator::touched() != before;
    });
}

TEST(OnSet, OnlyWhatIsMarkedAsASizeAllocates)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described())
        for (const rig::Entry& entry : rig::entries_of(type, rig::initial_vector(type)))
            if (entry.row <= 0 && !rig::is_size(type, entry)) {
                EXPECT_EQ(allocates(type, entry), (entry.param->flags & VANTORO_SIZES) != 0)
                    << type.info->name << ' ' << entry.param->name;
            }
}

// ---- clearing ----

static constexpr float kPoison[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                                    1e20F};

// The scene, with controls that are 1 and then 0.
static Outputs switched_scene(const Described& type)
{
    Outputs controls = rig::constant_signal(type, 8 * kBlock, 0, 1);
    const Outputs zeros = rig::constant_signal(type, 8 * kBlock, 0, 0);
    for (std::size_t pin = 0; pin < controls.size(); ++pin)
        controls[pin].insert(controls[pin].end(), zeros[pin].begin(), zeros[pin].end());
    return rig::with_controls(type, scene(type), controls);
}

TEST(Clear, LeavesWhatAFreshBlockWithTheParametersIs)
{
    rig::Log log;
    for (const Described& type : rig::every_described()) {
        std::vector<Vector> vectors = rig::good_vectors(type, 4);
        vectors.emplace_back();  // never set
        for (const Outputs& signal : {scene(type), switched_scene(type), rig::constant_signal(type, kBlock, 0.5F, 1)})
            for (const Vector& vector : vectors)
                for (const float poison : kPoison) {
                    const Outputs fresh = answer(type, vector, signal);
                    Bench bench(type);
                    bench.set(vector);
                    bench.run(signal);
                    bench.run(rig::constant_signal(type, kBlock, poison, poison));
                    log.clear();
                    const long touched = rig::Allocator::touched();
                    EXPECT_EQ(BlockAlgo_clear(bench.block()), RT_OK);
                    EXPECT_EQ(rig::Allocator::touched(), touched) << type.info->name;
                    EXPECT_TRUE(log.lines().empty()) << type.info->name;
                    std::srand(rig::kSeed);
                    EXPECT_TRUE(same_bits(bench.run(signal), fresh)) << type.info->name << " after " << poison;
                }
    }
}

// Within 60 dB of each other; the square root of a negative number is none in both.
static bool alike(const Outputs& a, const Outputs& b)
{
    return std::ranges::equal(a, b, [](const auto& x, const auto& y) {
        return std::ranges::equal(x, y, [](float v, float w) {
            return std::abs(v - w) <= 1e-3F * (1 + std::abs(w)) || (std::isnan(v) && std::isnan(w));
        });
    });
}

// Whether the block comes back to what an undisturbed one puts out, and stays so for longer than any delay, within
// 15 seconds. With `again` both are given the vector again first.
static bool comes_back(const Described& type, float poison, bool again)
{
    Bench ill(type), well(type);
    const Outputs signal = switched_scene(type);
    for (Bench* bench : {&ill, &well}) {
        bench->set(type.pins->vector);
        const float audio = bench == &ill ? poison : 0;
        bench->run(rig::with_controls(type, rig::constant_signal(type, 16 * kBlock, audio, 0), signal));
        if (again)
            bench->set(type.pins->vector);
    }
    const auto is_number = [](const auto& pin) { return std::isfinite(pin.back()); };
    int good = 0;
    for (int turn = 0; turn < 700 && good < 10; ++turn) {
        const Outputs out = ill.run(signal);
        good = alike(out, well.run(signal)) ? good + 1 : 0;
        if (turn > 50 && !std::ranges::all_of(out, is_number))
            return false;  // for a second: for good
    }
    return good == 10;
}

static const char* after(const Described& type, float poison)
{
    if (comes_back(type, poison, false))
        return "recovers";
    return comes_back(type, poison, true) ? "until a set" : "until cleared";
}

// The table of docs/embedding.md: a row for each way in which types behave.
TEST(Clear, WhatDoesWithoutItIsAsThePageSays)
{
    rig::Log quiet;
    std::map<std::string, std::string> rows;
    for (const Described& type : rig::every_described()) {
        if (!has_audio_inputs(type))
            continue;
        std::string row = "|";
        for (const float poison : kPoison)
            row.append(" ").append(after(type, poison)).append(" |");
        rows[row].append(rows[row].empty() ? " " : ", ").append(type.info->name);
    }
    std::string table;
    for (const auto& [row, types] : rows)
        table.append(row).append(types).append(" |\n");
    std::ifstream file(EMBEDDING_MD);
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(page.find("| --- | --- | --- | --- |\n" + table + "\n"), std::string::npos) << table;
}
