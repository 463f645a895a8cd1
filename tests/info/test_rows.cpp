// SPDX-License-Identifier: Apache-2.0
// Descriptions of block types: complete, well formed, and true of a block as it is created.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <fstream>
#include <map>
#include <set>
#include <string_view>

#include "support/described.h"

namespace {

using rig::Described;

bool is_terminal(int type) { return (type & 0xff00) == EN_IN || (type & 0xff00) == EN_OUT; }

bool is_lower_camel(std::string_view name)
{
    return !name.empty() && std::islower(static_cast<unsigned char>(name[0])) &&
           std::ranges::all_of(name, [](unsigned char c) { return std::isalnum(c); });
}

bool within(VantoroRange inner, VantoroRange outer) { return outer.min <= inner.min && inner.max <= outer.max; }

bool served(int type, int inputs, int outputs)
{
    BlockPro pro = {48000, 24, 64, 0, 0};
    BlockAlgo* blk = BlockAlgo_init(&pro, inputs, outputs, type);
    if (blk)
        BlockAlgo_destroy(blk);
    return blk != nullptr;
}

void check_scale(const VantoroParam& p)
{
    EXPECT_TRUE(std::isfinite(p.range.min) && std::isfinite(p.range.max) && p.range.min < p.range.max);
    EXPECT_TRUE(p.range.min <= p.initial && p.initial <= p.range.max);
    EXPECT_TRUE(p.clamp.min <= p.initial && p.initial <= p.clamp.max);
    EXPECT_TRUE(within(p.range, p.clamp) && within(p.range, p.valid)) << "a slider would reach what is not so";
    if (p.scale == VANTORO_LOGARITHMIC) {
        EXPECT_GT(p.range.min, 0);
        EXPECT_GT(p.step, 1);
    }
    EXPECT_GT(p.step, 0);
    EXPECT_TRUE(p.kind == VANTORO_REAL || (p.step == 1 && p.scale == VANTORO_LINEAR));
}

// `others` are the number of entries that readings may point at.
void check_choices(const VantoroParam& p, int others)
{
    EXPECT_EQ(p.choice_count > 0, p.kind == VANTORO_CHOICE);
    std::set<std::string_view> names;
    std::set<int> values;
    for (int c = 0; c < p.choice_count; ++c) {
        const VantoroChoice& choice = p.choices[c];
        EXPECT_TRUE(*choice.name && names.insert(choice.name).second && values.insert(choice.value).second) << c;
        std::set<int> read;
        for (int r = 0; r < choice.reading_count; ++r) {
            const VantoroReading& reading = choice.readings[r];
            EXPECT_TRUE(reading.entry >= 0 && reading.entry < others && read.insert(reading.entry).second);
            if (reading.as) {
                SCOPED_TRACE(reading.as->name);
                EXPECT_TRUE(is_lower_camel(reading.as->name) && *reading.as->help);
                check_scale(*reading.as);
            }
        }
    }
    if (p.kind == VANTORO_CHOICE) {
        EXPECT_TRUE(values.contains(static_cast<int>(p.initial)));
    }
}

void check_param(const VantoroParam& p, int others)
{
    SCOPED_TRACE(p.name);
    EXPECT_TRUE(is_lower_camel(p.name) && *p.help);
    check_scale(p);
    check_choices(p, others);
}

void check_table(const VantoroTable& t, const VantoroBlockInfo& info)
{
    SCOPED_TRACE(t.name);
    EXPECT_TRUE(is_lower_camel(t.name) && *t.help && t.column_count > 0);
    EXPECT_TRUE(t.row_length == VANTORO_PER_NOTHING || t.column_count == 1);
    const auto is_whole = [&](int slot) {
        return slot < info.layout_count && info.layout[slot].param && info.layout[slot].param->kind == VANTORO_INTEGER;
    };
    EXPECT_TRUE(t.rows_entry < 0 || (is_whole(t.rows_entry) && is_whole(t.columns_entry)));
    EXPECT_TRUE(t.min_rows <= t.initial_rows && t.initial_rows <= t.max_rows);
    std::set<std::string_view> names;
    for (int c = 0; c < t.column_count; ++c) {
        check_param(t.columns[c], t.column_count);
        EXPECT_TRUE(names.insert(t.columns[c].name).second);
        for (int r = 0; t.initial && r < t.initial_rows; ++r)
            EXPECT_TRUE(std::isfinite(t.initial[r * t.column_count + c]));
    }
}

void check_pins(const VantoroBlockInfo& info)
{
    const VantoroPinRule& rule = *info.pins;
    EXPECT_TRUE(*rule.text);
    EXPECT_TRUE(Vantoro_pins_fit(&rule, rule.initial_inputs, rule.initial_outputs));
    for (int i = 0; i < info.pin_count; ++i) {
        const VantoroPin& pin = info.pin_list[i];
        SCOPED_TRACE(pin.name);
        EXPECT_TRUE(is_lower_camel(pin.name) && pin.every > 0 && !(pin.output && pin.control));
        EXPECT_TRUE(!pin.control || *pin.help);
        const int count = pin.output ? rule.initial_outputs : rule.initial_inputs;
        const auto at = [&](int n) { return n < 0 ? count + n : n; };
        EXPECT_TRUE(at(pin.first) >= 0 && at(pin.first) <= at(pin.last) && at(pin.last) < count);
    }
}

}  // namespace

TEST(Rows, DescribeExactlyWhatTheLibraryServes)
{
    rig::Log quiet;
    int index = 0;
    for (int code = 0; code <= 0x0FFF; ++code) {
        const VantoroBlockInfo* info = Vantoro_block_info(code);
        if (info) {
            EXPECT_EQ(info, Vantoro_block_info_at(index++)) << code << ": the codes ascend";
            EXPECT_EQ(info->type, code);
        }
        if (is_terminal(code))
            continue;  // any code, any pins
        for (int inputs = 0; inputs <= 8; ++inputs)
            for (int outputs = 0; outputs <= 8; ++outputs)
                if (!info || Vantoro_pins_fit(info->pins, inputs, outputs)) {
                    EXPECT_EQ(served(code, inputs, outputs), info != nullptr)
                        << code << " " << inputs << " -> " << outputs;
                }
    }
    EXPECT_EQ(index, std::ssize(rig::every_block()));
    EXPECT_FALSE(Vantoro_block_info_at(index) || Vantoro_block_info_at(-1) || Vantoro_block_info(-1));
}

TEST(Rows, AreNamedByTheEnumerators)
{
    std::ifstream header(BLOCK_TYPES_H);
    std::map<int, std::string> names;
    for (std::string line; std::getline(header, line);)
        if (const auto equals = line.find(" = "); line.starts_with("    EN_") && equals != std::string::npos)
            names[std::stoi(line.substr(equals + 3))] = line.substr(7, equals - 7);
    for (int i = 0; const VantoroBlockInfo* info = Vantoro_block_info_at(i); ++i)
        EXPECT_EQ(info->name, names[info->type]);
}

TEST(Rows, AreWellFormed)
{
    for (int i = 0; const VantoroBlockInfo* info = Vantoro_block_info_at(i); ++i) {
        SCOPED_TRACE(info->name);
        EXPECT_TRUE(*info->category && *info->summary);
        check_pins(*info);
        std::set<std::string_view> names;
        std::set<const VantoroTable*> counted;
        for (int s = 0; s < info->layout_count; ++s) {
            const VantoroSlot& slot = info->layout[s];
            ASSERT_EQ(slot.param == nullptr, slot.kind != VANTORO_VALUE);
            ASSERT_EQ(slot.table == nullptr, slot.kind == VANTORO_VALUE);
            if (slot.kind == VANTORO_VALUE) {
                check_param(*slot.param, info->layout_count);
                EXPECT_TRUE(names.insert(slot.param->name).second) << slot.param->name;
            } else if (slot.kind == VANTORO_COUNT) {
                counted.insert(slot.table);
            } else if (slot.kind == VANTORO_ROWS) {
                check_table(*slot.table, *info);
                EXPECT_TRUE(names.insert(slot.table->name).second) << slot.table->name;
                EXPECT_EQ(counted.contains(slot.table),
                          slot.table->per == VANTORO_PER_NOTHING && slot.table->rows_entry < 0);
            } else {
                EXPECT_TRUE(slot.column >= 0 && slot.column < slot.table->column_count);
            }
        }
    }
}

// Blocks that follow other laws until they are set for the first time, and why.
static bool differs_when_fresh(int type)
{
    return type == EN_BASIC_GAIN ||                                                          // silence
           type == EN_LOUDNESS_LH ||                                                         // another curve
           type == EN_DP_ENV || type == EN_DP_ENV_RMS ||                                     // slower decay
           (type >= EN_BASIC_LOGIC_ONESHOT_FALL && type <= EN_BASIC_LOGIC_ONESHOT_RISERST);  // pulse of 0
}

// The same samples, or all of them times the factor that the coarse exponential makes of 0 dB.
static bool same_or_coarse(const rig::Outputs& fresh, const rig::Outputs& set)
{
    if (rig::same_bits(fresh, set))
        return true;
    for (std::size_t pin = 0; pin < fresh.size(); ++pin)
        for (std::size_t i = 0; i < fresh[pin].size(); ++i)
            if (std::abs(set[pin][i] - LBX_DB2Gain(0) * fresh[pin][i]) > 1e-5F * std::abs(fresh[pin][i]))
                return false;
    return true;
}

TEST(Rows, AnEqualiserWithoutBandsIsRight)
{
    const float none = 0;
    for (const int type : {EN_FILTER_GRAPHICAL_EQ, EN_FILTER_TEXTEQ})
        EXPECT_EQ(Vantoro_param_check(type, 1, 1, &none, 1, nullptr, 0), RT_OK);
}

TEST(Defaults, AreThoseOfAFreshBlockAndChangeNothing)
{
    for (const Described& type : rig::every_described()) {
        SCOPED_TRACE(type.info->name);
        const rig::Vector vector = rig::initial_vector(type);
        if (vector.empty())
            continue;
        rig::Log log;
        rig::Bench bench(type);
        for (const bool set : {false, true}) {
            if (set) {
                EXPECT_EQ(bench.set(vector), 0);
            }
            const float* own = bench.block()->pParam;
            EXPECT_TRUE(std::equal(own, own + rig::kept_entries(type, vector), vector.data())) << set;
        }
        EXPECT_EQ(log.all(), "");  // nothing was out of range
        const rig::Outputs scene = rig::scene_signal(type, 1024);
        EXPECT_NE(same_or_coarse(rig::answer(type, {}, scene), rig::answer(type, vector, scene)),
                  differs_when_fresh(type.info->type));
    }
}
