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
constexpr rig::Conditions kLong = {.block = 256};

rig::Outputs answer_with(const Described& type, Vector vector, const Entry& entry, float value)
{
    vector[entry.at] = value;
    return rig::answer(type, vector, kLong);
}

// Whether moving the entry through its range is heard with this vector.
bool is_heard(const Described& type, const Vector& vector, const Entry& entry)
{
    const VantoroParam& param = entry.as ? *entry.as : *entry.param;
    const rig::Outputs before = rig::answer(type, vector, kLong);
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
static bool is_saturated(const VantoroParam& param)
{
    static const std::set<std::string_view> kNames = {"holdTime", "maxTime", "repeatTime", "repeatCounter", "slewRate",
                                                      "rmstc",    "in",      "low",        "high",          "thresholdDb"};
    return (param.flags & VANTORO_UNUSED) != 0 || kNames.contains(param.name);
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
    if (!std::isfinite(limit)) {
        log.clear();
        EXPECT_TRUE(!kept || taken(far) == far) << taken(far) << " instead of " << far;
        EXPECT_EQ(log.all(), "");
        const float near = (upper ? param.range.max : param.range.min) + sign * 0.01F * span;
        return near < param.valid.min || near > param.valid.max || is_saturated(param) ||
               !rig::same_bits(answer_with(type, vector, entry, near),
                               answer_with(type, vector, entry, near + sign * 0.01F * span));
    }
    const float inside = limit - sign * 0.02F * span;
    const rig::Outputs at_limit = answer_with(type, vector, entry, limit);
    EXPECT_TRUE(rig::same_bits(at_limit, answer_with(type, vector, entry, far))) << "not limited to " << limit;
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
                        if (entry.as && entry.param->kind == VANTORO_REAL) {
                            SCOPED_TRACE(scene.name + " " + entry.as->name);
                            bool& once = told[{entry.as->name, upper}];
                            once = check_limit(type, vector, entry, upper, log) || once;
                        }
            for (const auto& [end, once] : told)
                EXPECT_TRUE(once) << scene.name << ": " << (end.second ? "largest " : "least ") << end.first;
        }
}
