// SPDX-License-Identifier: Apache-2.0
// The words that descriptions are written in. A module's <module>_info.h holds its parameters as constants, so that the
// module takes its defaults and limits from them at compile time; <module>_info.cpp holds the rows that a host sees.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

#include "../common/block_info.h"
#include "params.h"

namespace lbx::info {

void text_too_long();  // not constexpr, not defined: calling it stops the compiler

template <std::size_t kSize>
constexpr void put(char (&to)[kSize], std::string_view text)
{
    if (text.size() >= kSize)
        text_too_long();
    for (std::size_t i = 0; i < text.size(); ++i)
        to[i] = text[i];
}

inline constexpr float kInfinity = std::numeric_limits<float>::infinity();
inline constexpr VantoroRange kAnyValue = {-kInfinity, kInfinity};

// ---- parameters ----

// A parameter under construction: each word returns a changed copy.
//   real("holdTime", "ms", 0, {0, 5000}, "before a level may fall").in_steps(1).clamped({0, 10000})
struct ParamWords : VantoroParam {
    constexpr ParamWords logarithmic(float ratio = 1.01F) const { return with(VANTORO_LOGARITHMIC, ratio); }
    constexpr ParamWords decibel(float db = 0.1F) const { return with(VANTORO_DECIBEL, db); }
    constexpr ParamWords in_steps(float size) const { return with(scale, size); }
    // Limited by the library.
    constexpr ParamWords clamped(VantoroRange to) const
    {
        ParamWords out = *this;
        out.clamp = to;
        return out;
    }
    constexpr ParamWords valid_in(VantoroRange bounds) const
    {
        ParamWords out = *this;
        out.valid = bounds;
        return out;
    }
    constexpr ParamWords below_count(VantoroPer count) const
    {
        ParamWords out = *this;
        out.below = count;
        return out;
    }
    constexpr ParamWords flagged(VantoroParamFlag flag) const
    {
        ParamWords out = *this;
        out.flags |= flag;
        return out;
    }
    // The same under another default.
    constexpr ParamWords starting_at(float value) const
    {
        ParamWords out = *this;
        out.initial = value;
        return out;
    }

private:
    constexpr ParamWords with(VantoroScale how, float size) const
    {
        ParamWords out = *this;
        out.scale = how;
        out.step = size;
        return out;
    }
};

constexpr ParamWords param(VantoroKind kind, std::string_view name, std::string_view unit, float initial,
                           VantoroRange range, const char* help)
{
    ParamWords out = {};
    put(out.name, name);
    put(out.unit, unit);
    out.help = help;
    out.kind = kind;
    out.initial = initial;
    out.step = 1;
    out.clamp = kAnyValue;
    out.valid = kAnyValue;
    out.range = range;
    return out;
}

// `range` is the suggested one; a hundredth of it is the step unless another word says.
constexpr ParamWords real(std::string_view name, std::string_view unit, float initial, VantoroRange range,
                          const char* help)
{
    return param(VANTORO_REAL, name, unit, initial, range, help).in_steps((range.max - range.min) / 100);
}

// A corner or centre: above 0 and below half the sampling rate.
constexpr ParamWords corner_hz(std::string_view name, float initial, const char* help, VantoroRange range = {20, 20000})
{
    return real(name, "Hz", initial, range, help)
        .logarithmic()
        .valid_in({std::numeric_limits<float>::min(), kInfinity})
        .flagged(VANTORO_BELOW_HALF_RATE);
}

inline constexpr float kMostGainDb = 60;  // beyond this a gain is a mistake
constexpr ParamWords gain_db(std::string_view name, float initial, VantoroRange range, const char* help)
{
    return real(name, "dB", initial, range, help).decibel().valid_in({-kInfinity, kMostGainDb});
}

// A gain that the coarse exponential converts (LBX_DB2Gain): within 0.35 dB, and 0 dB is -0.256 dB. From -1000 dB on
// the factor is 0, and far below, from -6158 dB on, no number.
inline constexpr float kLeastCoarseGainDb = -1000;
constexpr ParamWords coarse_gain_db(std::string_view name, float initial, VantoroRange range, const char* help)
{
    return gain_db(name, initial, range, help).valid_in({kLeastCoarseGainDb, kMostGainDb}).flagged(VANTORO_COARSE_DB);
}

// What slew_alpha takes. Beyond the upper end a glide takes minutes, and where its factor rounds to 1 it is a jump.
inline constexpr VantoroRange kSlewRates = {1, 23};
constexpr ParamWords slew_rate(float initial)
{
    return real("slewRate", "", initial, kSlewRates, "glide: a time constant of 0.0416 ms x 2^(rate - 1); 12 is 85 ms")
        .in_steps(0.1F)
        .valid_in({-kInfinity, kSlewRates.max});
}

constexpr ParamWords whole(std::string_view name, float initial, VantoroRange range, const char* help)
{
    return param(VANTORO_INTEGER, name, "", initial, range, help);
}

constexpr ParamWords flag(std::string_view name, float initial, const char* help)
{
    return param(VANTORO_FLAG, name, "", initial, {0, 1}, help).valid_in({0, 1});
}

template <std::size_t kCount>
constexpr ParamWords choice(std::string_view name, const VantoroChoice (&choices)[kCount], float initial,
                            const char* help)
{
    ParamWords out = param(VANTORO_CHOICE, name, "", initial, {}, help);
    out.choices = choices;
    out.choice_count = static_cast<int>(kCount);
    out.range = {static_cast<float>(choices[0].value), static_cast<float>(choices[kCount - 1].value)};
    return out;
}

// A choice by its public enumerator: LBX_CHOICE(LR24, kReadings...).
#define LBX_CHOICE(enumerator, ...) lbx::info::one_choice(#enumerator, enumerator __VA_OPT__(, ) __VA_ARGS__)

constexpr VantoroChoice one_choice(std::string_view name, int value, std::span<const VantoroReading> readings = {})
{
    VantoroChoice out = {};
    put(out.name, name);
    out.value = value;
    out.readings = readings.data();
    out.reading_count = static_cast<int>(readings.size());
    return out;
}

// An entry under one choice: what it then is, or that it is not read.
constexpr VantoroReading reads(int entry, const VantoroParam& as) { return {entry, 1, &as}; }
constexpr VantoroReading not_read(int entry) { return {entry, 0, nullptr}; }

inline constexpr VantoroParam kEnable = flag("enable", 1, "0 copies the input");
inline constexpr VantoroParam kPolarity = flag("polarity", 0, "1 inverts the output");

// ---- tables ----

inline constexpr int kManyRows = 65536;  // of a table that the library does not limit

struct TableWords : VantoroTable {
    constexpr TableWords by_column() const
    {
        TableWords out = *this;
        out.by_columns = 1;
        return out;
    }
    constexpr TableWords as_matrix(VantoroPer length) const
    {
        TableWords out = *this;
        out.row_length = length;
        return out;
    }
};

template <std::size_t kColumns>
constexpr TableWords table(std::string_view name, const VantoroParam (&columns)[kColumns], const char* help)
{
    TableWords out = {};
    put(out.name, name);
    out.help = help;
    out.column_count = static_cast<int>(kColumns);
    out.columns = columns;
    out.rows_entry = out.columns_entry = -1;
    return out;
}

// Its length stands in the vector, as a count before it.
template <std::size_t kColumns, std::size_t kInitial>
constexpr TableWords list(std::string_view name, const VantoroParam (&columns)[kColumns], int min, int max,
                          const float (&initial)[kInitial], const char* help)
{
    static_assert(kInitial % kColumns == 0);
    TableWords out = table(name, columns, help);
    out.min_rows = min;
    out.max_rows = max;
    out.initial = initial;
    out.initial_rows = static_cast<int>(kInitial / kColumns);
    return out;
}

// Its length follows from the pins.
template <std::size_t kColumns>
constexpr TableWords rows_per(VantoroPer per, std::string_view name, const VantoroParam (&columns)[kColumns],
                              const char* help)
{
    TableWords out = table(name, columns, help);
    out.per = per;
    return out;
}

// Its length is the product of two entries before it.
template <std::size_t kColumns>
constexpr TableWords grid(int rows_entry, int columns_entry, std::string_view name,
                          const VantoroParam (&columns)[kColumns], const char* help)
{
    TableWords out = table(name, columns, help);
    out.rows_entry = rows_entry;
    out.columns_entry = columns_entry;
    return out;
}

// ---- layouts ----

constexpr VantoroSlot value(const VantoroParam& param) { return {VANTORO_VALUE, 0, &param, nullptr}; }
constexpr VantoroSlot count(const VantoroTable& table) { return {VANTORO_COUNT, 0, nullptr, &table}; }
constexpr VantoroSlot rows(const VantoroTable& table) { return {VANTORO_ROWS, 0, nullptr, &table}; }
constexpr VantoroSlot first_of(const VantoroTable& table, int column)
{
    return {VANTORO_FIRST_OF, column, nullptr, &table};
}

// The number that `per` means for these pins.
template <class Int>
constexpr Int count_per(VantoroPer per, Int inputs, Int outputs)
{
    switch (per) {
    case VANTORO_PER_NOTHING:
        return 0;
    case VANTORO_PER_INPUT:
        return inputs;
    case VANTORO_PER_OUTPUT:
        return outputs;
    case VANTORO_PER_INPUT_PAIR:
        return inputs / 2;
    case VANTORO_PER_CROSSPOINT:
        return inputs * outputs;
    case VANTORO_PER_GROUP:
        return inputs < 1 || outputs < 1 ? 0 : inputs > outputs ? inputs / outputs : outputs / inputs;
    }
    return 0;
}

// The rows of a table in a default vector.
constexpr int initial_rows(std::span<const VantoroSlot> layout, const VantoroTable& table, int inputs, int outputs)
{
    if (table.rows_entry >= 0)
        return to_int(layout[static_cast<std::size_t>(table.rows_entry)].param->initial *
                      layout[static_cast<std::size_t>(table.columns_entry)].param->initial);
    return table.per == VANTORO_PER_NOTHING ? table.initial_rows : count_per(table.per, inputs, outputs);
}

constexpr float initial_cell(const VantoroTable& table, int row, int column)
{
    return table.initial_rows > 0 ? table.initial[row * table.column_count + column] : table.columns[column].initial;
}

// Walks the default vector of a layout, entry by entry; returns its length.
template <class Take>
constexpr int each_initial(std::span<const VantoroSlot> layout, int inputs, int outputs, Take&& take)
{
    const auto size_of = [&](const VantoroSlot& slot) {
        return slot.kind == VANTORO_ROWS ? initial_rows(layout, *slot.table, inputs, outputs) * slot.table->column_count
                                         : 1;
    };
    const auto start_of = [&](const VantoroTable* table) {
        int at = 0;
        for (const VantoroSlot& slot : layout) {
            if (slot.kind == VANTORO_ROWS && slot.table == table)
                break;
            at += size_of(slot);
        }
        return at;
    };
    int at = 0;
    for (const VantoroSlot& slot : layout) {
        const int length = slot.kind == VANTORO_VALUE ? 1 : initial_rows(layout, *slot.table, inputs, outputs);
        if (slot.kind == VANTORO_VALUE) {
            take(at++, slot.param->initial);
        } else if (slot.kind == VANTORO_COUNT) {
            take(at++, static_cast<float>(length));
        } else if (slot.kind == VANTORO_FIRST_OF) {
            take(at++, static_cast<float>(start_of(slot.table) + slot.column * length));
        } else {
            for (int i = 0; i < length * slot.table->column_count; ++i) {
                const int row = slot.table->by_columns ? i % length : i / slot.table->column_count;
                const int column = slot.table->by_columns ? i / length : i % slot.table->column_count;
                take(at++, initial_cell(*slot.table, row, column));
            }
        }
    }
    return at;
}

// ---- pins ----

constexpr VantoroPinCount pins(int fixed) { return {fixed, 0, VANTORO_NONE}; }
constexpr VantoroPinCount pins(VantoroUnknown of, int times = 1, int fixed = 0) { return {fixed, times, of}; }
constexpr VantoroPinRule rule(std::string_view text, VantoroPinCount inputs, VantoroPinCount outputs,
                              int initial_inputs, int initial_outputs, int min_k = 1, int max_n = 0)
{
    VantoroPinRule out = {{}, inputs, outputs, min_k, max_n, initial_inputs, initial_outputs};
    put(out.text, text);
    return out;
}

inline constexpr VantoroPinRule kSame = rule("n -> n", pins(VANTORO_N), pins(VANTORO_N), 1, 1);
inline constexpr VantoroPinRule kControlled = rule("n + 1 -> n", pins(VANTORO_N, 1, 1), pins(VANTORO_N), 2, 1);
inline constexpr VantoroPinRule kToOne = rule("n -> 1", pins(VANTORO_N), pins(1), 2, 1);
inline constexpr VantoroPinRule kFromOne = rule("1 -> n", pins(1), pins(VANTORO_N), 1, 2);
inline constexpr VantoroPinRule kPairs = rule("2n -> n", pins(VANTORO_N, 2), pins(VANTORO_N), 2, 1);
inline constexpr VantoroPinRule kOneOne = rule("1 -> 1", pins(1), pins(1), 1, 1);
inline constexpr VantoroPinRule kTwoOne = rule("2 -> 1", pins(2), pins(1), 2, 1);
inline constexpr VantoroPinRule kNoneToMany = rule("0 -> n", pins(0), pins(VANTORO_N), 0, 1);

// What one side says of its unknown: (pins - fixed) / times. False when the division leaves something.
constexpr bool unknown_of(VantoroPinCount side, int pins, std::int64_t& number)
{
    const std::int64_t counted = std::int64_t{pins} - side.fixed;
    if (side.of == VANTORO_NONE)
        return counted == 0;
    number = counted / side.times;
    return number * side.times == counted;
}

// Whether the two sides agree on n, whatever n is: what a module checks that leaves n itself open.
constexpr bool pins_agree(const VantoroPinRule& rule, int inputs, int outputs)
{
    std::int64_t in = 0, out = 0;
    if (!unknown_of(rule.inputs, inputs, in) || !unknown_of(rule.outputs, outputs, out))
        return false;
    return rule.inputs.of != VANTORO_N || rule.outputs.of != VANTORO_N || in == out;
}

constexpr bool pins_fit(const VantoroPinRule& rule, int inputs, int outputs)
{
    std::int64_t in = 1, out = 1;
    if (inputs < 0 || outputs < 0 || !pins_agree(rule, inputs, outputs) || !unknown_of(rule.inputs, inputs, in) ||
        !unknown_of(rule.outputs, outputs, out) || in < 1 || out < 1)
        return false;
    const auto groups = [&](VantoroPinCount side, std::int64_t kn, std::int64_t n) {
        return side.of != VANTORO_KN || (kn % n == 0 && kn / n >= rule.min_k);
    };
    const bool limited = rule.max_n > 0 && ((rule.inputs.of == VANTORO_N && in > rule.max_n) ||
                                            (rule.outputs.of == VANTORO_N && out > rule.max_n));
    return !limited && groups(rule.inputs, in, out) && groups(rule.outputs, out, in);
}

constexpr VantoroPin pin(int output, int control, int first, int last, int every, std::string_view name,
                         const char* help)
{
    VantoroPin out = {output, control, first, last, every, {}, help};
    put(out.name, name);
    return out;
}
constexpr VantoroPin control(int at, std::string_view name, const char* help)
{
    return pin(0, 1, at, at, 1, name, help);
}
constexpr VantoroPin input(int at, std::string_view name, const char* help = "")
{
    return pin(0, 0, at, at, 1, name, help);
}
constexpr VantoroPin output(int at, std::string_view name, const char* help = "")
{
    return pin(1, 0, at, at, 1, name, help);
}

// ---- linear models ----

// What a linear model tells its paths to.
class Paths {
public:
    explicit Paths(const VantoroLinearVisitor& visitor) : visitor_(visitor) {}

    void path(int input, int output, double gain = 1, int delay = 0) const
    {
        if (visitor_.path)
            visitor_.path(visitor_.user, input, output, gain, delay);
    }
    void section(double b0, double b1, double b2, double a1, double a2) const
    {
        const double coefficients[] = {b0, b1, b2, a1, a2};
        if (visitor_.section)
            visitor_.section(visitor_.user, coefficients);
    }
    // b0, b1, a1 and b0, b1, a1, b2, a2: as records hold them.
    void first_order(const float* c) const
    {
        section(static_cast<double>(c[0]), static_cast<double>(c[1]), 0, static_cast<double>(c[2]), 0);
    }
    void second_order(const float* c) const
    {
        section(static_cast<double>(c[0]), static_cast<double>(c[1]), static_cast<double>(c[3]),
                static_cast<double>(c[2]), static_cast<double>(c[4]));
    }
    void taps(const float* taps, int count) const
    {
        if (visitor_.taps)
            visitor_.taps(visitor_.user, taps, count);
    }

private:
    const VantoroLinearVisitor& visitor_;
};
using LinearModel = void (*)(const BlockAlgo* blk, const Paths& paths);

// ---- rows ----

inline constexpr int kAnyBlock = std::numeric_limits<int>::max();

// What `category` of a row says.
inline constexpr char kLoudness[] = "Loudness", kBasic[] = "Basic", kDynamics[] = "Dynamics", kFilters[] = "Filters",
                      kDetectors[] = "Level detectors and tables", kMixers[] = "Mixers and splitters",
                      kSwitching[] = "Switching", kNonLinear[] = "Non-linear", kSources[] = "Sources",
                      kVolume[] = "Volume", kInputs[] = "Inputs", kOutputs[] = "Outputs", kReverb[] = "Reverb";

// A type: LBX_TYPE(DP_LIMITER, kDynamics, "limiter", kSame).params(kLayout, VANTORO_KEEPS).traits(VANTORO_DENORMALS)
struct InfoRow {
    VantoroBlockInfo info;
    LinearModel linear_model = nullptr;

    template <std::size_t kCount>
    constexpr InfoRow pins(const VantoroPin (&list)[kCount]) const
    {
        InfoRow out = *this;
        out.info.pin_list = list;
        out.info.pin_count = static_cast<int>(kCount);
        return out;
    }
    template <std::size_t kCount>
    constexpr InfoRow params(const VantoroSlot (&layout)[kCount], VantoroOnSet on_set) const
    {
        InfoRow out = *this;
        out.info.layout = layout;
        out.info.layout_count = static_cast<int>(kCount);
        out.info.on_set = on_set;
        return out;
    }
    constexpr InfoRow traits(unsigned traits) const
    {
        InfoRow out = *this;
        out.info.traits |= traits;
        return out;
    }
    constexpr InfoRow linear(LinearModel model) const
    {
        InfoRow out = traits(VANTORO_LINEAR_MODEL);
        out.linear_model = model;
        return out;
    }
    constexpr InfoRow blocks(int multiple, int max) const
    {
        InfoRow out = *this;
        out.info.block_multiple = multiple;
        out.info.max_block = max;
        return out;
    }
    constexpr InfoRow delays(int samples) const
    {
        InfoRow out = *this;
        out.info.delay = samples;
        return out;
    }
};

constexpr InfoRow info_row(int type, std::string_view name, std::string_view category, const char* summary,
                           const VantoroPinRule& pins)
{
    InfoRow out = {};
    out.info.type = type;
    put(out.info.name, name);
    put(out.info.category, category);
    out.info.summary = summary;
    out.info.pins = &pins;
    out.info.block_multiple = 1;
    out.info.max_block = kAnyBlock;
    return out;
}
#define LBX_TYPE(name, ...) lbx::info::info_row(EN_##name, #name, __VA_ARGS__)

// The rows of one module, in the order of their codes.
using InfoRows = std::span<const InfoRow>;

}  // namespace lbx::info

namespace lbx {

// The default vector of a layout whose length does not depend on pins, for the module's init.
template <const auto& kLayout>
inline constexpr auto kInitial = [] {
    constexpr int kLength = info::each_initial(kLayout, 0, 0, [](int, float) {});
    std::array<float, kLength> out = {};
    info::each_initial(kLayout, 0, 0, [&](int at, float v) { out[static_cast<std::size_t>(at)] = v; });
    return out;
}();

}  // namespace lbx
