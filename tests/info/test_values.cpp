// SPDX-License-Identifier: Apache-2.0
// Limits and readings: what the rows say of values, seen in what the blocks put out.
#include <gtest/gtest.h>

#include <cmath>

#include "support/described.h"

namespace {

using rig::Described;
using rig::Entry;
using rig::Scene;
using rig::Vector;

constexpr int kVectors = 6;  // of each scene

rig::Outputs answer_with(const Described& type, Vector vector, const Entry& entry, float value)
{
    vector[entry.at] = value;
    return rig::answer(type, vector);
}

// Calls `see(scene, entry)` for every value that choices can make different: of a table, the first row.
template <class See>
void each_value(See&& see)
{
    for (const Described& type : rig::every_described())
        for (const Scene& scene : rig::scenes_of(type, kVectors)) {
            SCOPED_TRACE(scene.name);
            for (const Entry& entry : rig::entries_of(type, scene.vectors[0]))
                if (entry.row == 0) {
                    SCOPED_TRACE(entry.param->name);
                    see(type, scene, entry);
                }
        }
}

// Whether moving the entry through its range is heard with this vector.
bool is_heard(const Described& type, const Vector& vector, const Entry& entry)
{
    const VantoroParam& param = entry.as ? *entry.as : *entry.param;
    const rig::Outputs before = rig::answer(type, vector);
    for (const float share : {0.0F, 1.0F, 0.3F, 0.02F}) {
        float value = param.range.min + share * (param.range.max - param.range.min);
        if (param.kind != VANTORO_REAL)
            value = std::round(value);
        if (!rig::same_bits(before, answer_with(type, vector, entry, value)))
            return true;
    }
    return false;
}

}  // namespace

TEST(Readings, SayWhatIsHeard)
{
    rig::Log quiet;
    each_value([](const Described& type, const Scene& scene, const Entry& entry) {
        if (entry.param->kind == VANTORO_CHOICE)
            return;
        const bool read = entry.as && !(entry.param->flags & VANTORO_UNUSED);
        bool heard = false;
        for (std::size_t i = 0; i < scene.vectors.size() && !heard; ++i)
            heard = is_heard(type, scene.vectors[i], entry);
        EXPECT_EQ(heard, read);
    });
}

static void check_limit(const Described& type, const Scene& scene, const Entry& entry, bool upper)
{
    const VantoroParam& param = *entry.as;
    const float sign = upper ? 1.0F : -1.0F;
    const float limit = upper ? param.clamp.max : param.clamp.min;
    const float far = sign * 1e6F;
    bool differs_inside = false;
    for (const Vector& vector : scene.vectors) {
        Vector beyond = vector;
        beyond[entry.at] = far;
        rig::Log log;
        rig::Bench bench(type);
        bench.set(beyond);
        if (!std::isfinite(limit)) {
            EXPECT_EQ(bench.block()->pParam[entry.at], far);
            EXPECT_EQ(log.all(), "");
            return;
        }
        const rig::Outputs at_limit = answer_with(type, vector, entry, limit);
        EXPECT_TRUE(rig::same_bits(at_limit, rig::answer(type, beyond))) << limit;
        const float inside = limit - sign * 0.02F * (param.range.max - param.range.min);
        differs_inside = differs_inside || !rig::same_bits(at_limit, answer_with(type, vector, entry, inside));
    }
    EXPECT_TRUE(differs_inside) << limit;
}

TEST(Limits, AreThoseOfTheLibrary)
{
    each_value([](const Described& type, const Scene& scene, const Entry& entry) {
        if (entry.param->kind != VANTORO_REAL || !entry.as)
            return;
        check_limit(type, scene, entry, false);
        check_limit(type, scene, entry, true);
    });
}
