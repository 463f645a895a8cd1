// SPDX-License-Identifier: Apache-2.0
// Limits and readings: what the rows say of values, seen in what the blocks put out.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "support/described.h"

namespace {

using rig::Described;
using rig::Entry;
using rig::Vector;

constexpr int kVectors = 6;  // of each scene

// Long enough for the reverb's first echo and for the breakpoints of the tests' list.
rig::Outputs answer(const Described& type, const Vector& vector)
{
    return rig::answer(type, vector, rig::scene_signal(type, 16 * 256, 256), {.block = 256});
}

rig::Outputs answer_with(const Described& type, Vector vector, const Entry& entry, float value)
{
    vector[entry.at] = value;
    return answer(type, vector);
}

// Whether moving the entry through its range is heard with this vector.
bool is_heard(const Described& type, const Vector& vector, const Entry& entry)
{
    const VantoroParam& param = entry.as ? *entry.as : *entry.param;
    const rig::Outputs before = answer(type, vector);
    for (const float share : {0.0F, 1.0F, 0.3F, 0.02F}) {
        const float value = param.range.min + share * (param.range.max - param.range.min);
        const float taken = param.kind == VANTORO_REAL ? value : std::round(value);
        if (!rig::same_bits(before, answer_with(type, vector, entry, taken)))
            return true;
    }
    return false;
}

}  // namespace

TEST(Readings, SayWhatIsHeard)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described())
        for (const rig::Scene& scene : rig::scenes_of(type, kVectors)) {
            std::map<std::string, bool> heard;  // of what is read: in any vector, in any row
            for (const Vector& vector : scene.vectors)
                for (const Entry& entry : rig::entries_of(type, vector)) {
                    const bool read = entry.as && !(entry.param->flags & VANTORO_UNUSED);
                    if (!read) {
                        EXPECT_FALSE(is_heard(type, vector, entry)) << scene.name << ": " << entry.param->name;
                    } else if (!rig::is_size(type, entry)) {
                        bool& once = heard[entry.as->name];
                        once = once || is_heard(type, vector, entry);
                    }
                }
            for (const auto& [name, once] : heard)
                EXPECT_TRUE(once) << scene.name << ": " << name;
        }
}

// What is not heard beyond the ends of its range although it is not limited: times and places that the signal does not
// reach, speeds at which all is done at once, and what is not read.
// The amounts of the loudness block with a volume pin make no difference from 0 up.
static bool is_saturated(const Described& type, const VantoroParam& param, bool upper)
{
    static const std::set<std::string_view> kNames = {
        "holdTime", "maxTime", "repeatTime", "repeatCounter", "slewRate", "rmstc", "in", "low", "high", "thresholdDb"};
    return (param.flags & VANTORO_UNUSED) != 0 || kNames.contains(param.name) ||
           (upper && type.info->type == EN_LOUDNESS_LH_EXT);
}

// A value far beyond one end is taken as that end, where there is one. Returns whether the end itself can be told from
// a value inside, or the value from another one beyond.
static bool check_limit(const Described& type, Vector vector, const Entry& entry, bool upper, rig::Log& log)
{
    if (type.info->type == EN_BASIC_DSP_DELAY && entry.at == kBasicDelayDelay)
        vector[kBasicDelayMaxDelay] = entry.as->clamp.max;  // which limits it, too
    const VantoroParam& param = *entry.as;
    const bool kept = entry.at < rig::kept_entries(type, vector);
    const auto taken = [&](float value) {
        Vector other = vector;
        other[entry.at] = value;
        rig::Bench bench(type);
        bench.set(other);
        return bench.block()->pParam[entry.at];
    };
    const float sign = upper ? 1.0F : -1.0F, limit = upper ? param.clamp.max : param.clamp.min, far = sign * 1e6F;
    const float span = param.range.max - param.range.min;
    if (param.kind == VANTORO_INTEGER) {  // many of them are sizes: not far, and nothing where there is no limit
        const auto at = [&](float value) { return answer_with(type, vector, entry, value); };
        EXPECT_TRUE(!std::isfinite(limit) || rig::same_bits(at(limit), at(limit + sign * 100))) << limit;
        return true;
    }
    if (!std::isfinite(limit)) {
        log.clear();
        EXPECT_TRUE(!kept || taken(far) == far) << taken(far) << " instead of " << far;
        EXPECT_EQ(log.all(), "");
        const float near = (upper ? param.range.max : param.range.min) + sign * 0.01F * span;
        return near < param.valid.min || near > param.valid.max || is_saturated(type, param, upper) ||
               !rig::same_bits(answer_with(type, vector, entry, near),
                               answer_with(type, vector, entry, near + sign * 0.01F * span));
    }
    const float inside = limit - sign * 0.02F * span;
    log.clear();
    const rig::Outputs at_limit = answer_with(type, vector, entry, limit);
    EXPECT_TRUE(rig::same_bits(at_limit, answer_with(type, vector, entry, far))) << "not limited to " << limit;
    const int category = type.info->type & 0xff00;
    EXPECT_TRUE(category == EN_BASIC_DSP || category == EN_MIXERS || log.lines().empty()) << "only those two report";
    return (kept && taken(far) == limit && taken(inside) == inside) ||
           !rig::same_bits(at_limit, answer_with(type, vector, entry, inside));
}

TEST(Limits, AreThoseOfTheLibrary)
{
    rig::Log log;
    for (const Described& type : rig::every_described())
        for (const rig::Scene& scene : rig::scenes_of(type, kVectors)) {
            std::map<std::pair<std::string, bool>, bool> told;
            for (const Vector& vector : scene.vectors)
                for (const Entry& entry : rig::entries_of(type, vector))
                    for (const bool upper : {false, true})
                        if (entry.as && (entry.param->kind == VANTORO_REAL || entry.param->kind == VANTORO_INTEGER)) {
                            SCOPED_TRACE(scene.name + " " + entry.as->name);
                            bool& once = told[{entry.as->name, upper}];
                            once = check_limit(type, vector, entry, upper, log) || once;
                        }
            for (const auto& [end, once] : told)
                EXPECT_TRUE(once) << scene.name << ": " << (end.second ? "largest " : "least ") << end.first;
        }
}

// A vector with this many rows in its list, all alike.
static Vector with_rows(const VantoroBlockInfo& info, int rows)
{
    Vector vector;
    const auto ahead = static_cast<float>(info.layout_count - 1);  // the list is the last of a layout
    for (int i = 0; i < info.layout_count; ++i) {
        const VantoroSlot& slot = info.layout[i];
        const auto count = static_cast<float>(rows);
        if (slot.kind == VANTORO_ROWS)
            for (int k = 0; k < rows * slot.table->column_count; ++k)
                vector.push_back(
                    slot.table->columns[slot.table->by_columns ? k / rows : k % slot.table->column_count].initial);
        else
            vector.push_back(slot.kind == VANTORO_VALUE   ? slot.param->initial
                             : slot.kind == VANTORO_COUNT ? count
                                                          : ahead + static_cast<float>(slot.column) * count);
    }
    return vector;
}

// A vector that is refused leaves the block as it is; one that passes is what a reset and an update make of it.
TEST(Set, ChecksFirst)
{
    rig::Log log;
    for (const Described& type : rig::every_described()) {
        const rig::Scene scene = rig::scenes_of(type, 1).front();
        Vector good = scene.vectors.front(), bad = rig::initial_vector(type);
        if (good.empty())
            continue;
        rig::Bench bench(type), other(type);
        char why[100] = "";
        bad.back() = NAN;
        EXPECT_EQ(Vantoro_param_set(bench.block(), good.data(), static_cast<int>(good.size()), why, sizeof why), RT_OK);
        EXPECT_EQ(other.set(good), RT_OK);
        EXPECT_STREQ(why, "");
        EXPECT_EQ(Vantoro_param_set(bench.block(), bad.data(), static_cast<int>(bad.size()), why, sizeof why),
                  RT_ERR_VALUE);
        EXPECT_STRNE(why, "");
        const rig::Outputs signal = rig::scene_signal(type, 4 * 64);
        EXPECT_TRUE((type.info->traits & VANTORO_RANDOM) != 0 || rig::same_bits(bench.run(signal), other.run(signal)))
            << type.info->name;
    }
}

// Of values in their ranges BlockAlgo_param_update recomputes what a reset has computed.
TEST(Set, IsWholeWithoutAnUpdate)
{
    rig::Log log;
    for (const Described& type : rig::every_described())
        for (const rig::Scene& scene : rig::scenes_of(type, kVectors)) {
            if (type.info->layout_count == 0 || (type.info->traits & VANTORO_PARAMS_IN_PLACE) != 0)
                continue;
            const rig::Outputs signal = rig::scene_signal(type, 4 * 64);
            rig::Bench benches[2] = {rig::Bench(type), rig::Bench(type)};
            rig::Outputs heard[2];
            for (int updated = 0; updated < 2; ++updated) {
                std::srand(1);
                for (Vector vector : scene.vectors) {
                    BlockAlgo* blk = benches[updated].block();
                    const Vector given = vector;
                    EXPECT_EQ(BlockAlgo_param_reset(blk, vector.data()), 0);
                    EXPECT_EQ(vector, given);
                    EXPECT_GE(updated == 0 ? 0 : BlockAlgo_param_update(blk), 0);
                    for (const std::vector<float>& pin : benches[updated].run(signal))
                        heard[updated].push_back(pin);
                }
            }
            EXPECT_TRUE(rig::same_bits(heard[0], heard[1])) << scene.name;
        }
}

TEST(Lists, TakeAsManyRowsAsTheySay)
{
    constexpr int kMany = 300;  // stands for lists without an end
    rig::Log log;
    for (const Described& type : rig::every_described())
        for (int i = 0; i < type.info->layout_count; ++i) {
            const VantoroSlot& slot = type.info->layout[i];
            if (slot.kind != VANTORO_COUNT)
                continue;
            const int most = slot.table->max_rows;
            for (const int rows : {slot.table->min_rows, most <= 10000 ? most : kMany, most + 1}) {
                if (rows > 10001)
                    continue;
                log.clear();
                rig::Bench bench(type);
                EXPECT_EQ(bench.set(with_rows(*type.info, rows)), 0) << type.info->name;
                EXPECT_EQ(bench.block()->pParam[i] == static_cast<float>(rows) && log.lines().empty(), rows <= most)
                    << type.info->name << " " << rows << " " << log.all();
                bench.run(rig::scene_signal(type, 4 * 64));  // no sample is read outside, says the sanitizer
            }
        }
}
