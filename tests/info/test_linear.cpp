// SPDX-License-Identifier: Apache-2.0
// Linear models: the paths that a block tells of, computed in double precision, against what it puts out.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <set>
#include <string_view>

#include "support/described.h"

namespace {

using rig::Bench;
using rig::Described;
using rig::Outputs;
using rig::Vector;
using Signal = std::vector<double>;

struct Path {
    int input, output;
    double gain;
    int delay;
    std::vector<std::array<double, 5>> sections;
    std::vector<float> taps;
};

std::vector<Path>& list(void* user) { return *static_cast<std::vector<Path>*>(user); }

std::vector<Path> paths_of(const BlockAlgo* blk)
{
    std::vector<Path> paths;
    const VantoroLinearVisitor visitor = {
        &paths,
        [](void* user, int input, int output, double gain, int delay) {
            list(user).push_back({input, output, gain, delay, {}, {}});
        },
        [](void* user, const double* c) {
            list(user).back().sections.push_back({c[0], c[1], c[2], c[3], c[4]});
        },
        [](void* user, const float* taps, int count) { list(user).back().taps.assign(taps, taps + count); },
    };
    EXPECT_EQ(Vantoro_block_linear(blk, &visitor), 1);
    return paths;
}

Signal through(const Path& path, const std::vector<float>& in)
{
    Signal x(in.size());
    for (std::size_t i = static_cast<std::size_t>(path.delay); i < in.size(); ++i)
        x[i] = path.gain * static_cast<double>(in[i - static_cast<std::size_t>(path.delay)]);
    for (const auto& [b0, b1, b2, a1, a2] : path.sections) {
        double s1 = 0, s2 = 0;
        for (double& v : x) {
            const double y = b0 * v + s1;
            s1 = b1 * v - a1 * y + s2;
            s2 = b2 * v - a2 * y;
            v = y;
        }
    }
    for (std::size_t i = x.size(); i-- > 0 && !path.taps.empty();) {
        double sum = 0;
        for (std::size_t k = 0; k < path.taps.size() && k <= i; ++k)
            sum += static_cast<double>(path.taps[k]) * x[i - k];
        x[i] = sum;
    }
    return x;
}

constexpr int kSamples = 2048;

// Noise in [-1, 1) on the audio pins.
Outputs noise_on(const Described& type, float control)
{
    Outputs signal = rig::constant_signal(type, kSamples, 0, control), controls = signal;
    for (std::size_t pin = 0; pin < signal.size(); ++pin)
        signal[pin] = rig::noise(kSamples, static_cast<std::uint32_t>(pin));
    return rig::with_controls(type, signal, controls);
}

void add(std::vector<double>& sum, const auto& part)
{
    std::ranges::transform(sum, part, sum.begin(), [](double a, double b) { return a + b; });
}

// The largest difference, re the largest sample of the model.
double difference(const std::vector<Signal>& model, const Outputs& out)
{
    double error = 0, most = 1e-30;
    for (std::size_t pin = 0; pin < model.size(); ++pin)
        for (std::size_t i = 0; i < model[pin].size(); ++i) {
            const double off = std::abs(model[pin][i] - static_cast<double>(out[pin][i]));
            most = std::max(most, std::abs(model[pin][i]));
            error = off >= 0 ? std::max(error, off) : 1;  // not a number
        }
    return error / most;
}

std::vector<Signal> computed(const std::vector<Path>& paths, const Outputs& in, int outputs)
{
    std::vector<Signal> model(static_cast<std::size_t>(outputs), Signal(kSamples));
    for (const Path& path : paths)
        add(model[static_cast<std::size_t>(path.output)], through(path, in[static_cast<std::size_t>(path.input)]));
    return model;
}

// A vector with which what glides arrives within a few blocks.
Vector in_a_hurry(const Described& type, Vector vector)
{
    for (const rig::Entry& entry : rig::entries_of(type, vector))
        if (std::string_view(entry.param->name) == "slewRate")
            vector[entry.at] = entry.param->range.min;
    return vector;
}

void check_model(const Described& type, const Vector& vector, float control)
{
    // Single precision, amplified by poles that lie within 1e-3 of the unit circle, as at 20 Hz; a wrong gain, sign or
    // coefficient is off by per cents. A mute comes within 4e-5 of its end in the time that is given to it.
    constexpr double kTolerance = 1e-3, kOverflow = 1e30;
    Bench bench(type);
    bench.set(in_a_hurry(type, vector));
    bench.run(rig::constant_signal(type, 64, 0, control));
    const std::vector<Path> early = paths_of(bench.block());
    bench.run(rig::constant_signal(type, 512 * 64, 0, control));
    const std::vector<Path> paths = paths_of(bench.block());
    EXPECT_TRUE(std::ranges::equal(early, paths, {}, &Path::gain, &Path::gain)) << "what glides counts as arrived";
    const Outputs in = noise_on(type, control);
    const std::vector<Signal> model = computed(paths, in, type.pins->outputs);
    if (std::abs(model[0].back()) < kOverflow) {  // else it is unstable, and both have left the numbers
        EXPECT_LT(difference(model, bench.run(in)), kTolerance);
    }
}

// How far the answer to a sum of signals is from the sum of the answers. One has zeros, for what looks for them.
double superposition_error(const Described& type, const Vector& vector, float control)
{
    const Outputs controls = rig::constant_signal(type, kSamples, 0, control), a = noise_on(type, control),
                  b = rig::with_controls(type, rig::scene_signal(type, kSamples), controls);
    Outputs both = a;
    for (std::size_t pin = 0; pin < both.size(); ++pin)
        std::ranges::transform(a[pin], b[pin], both[pin].begin(), std::plus<>());
    std::vector<Signal> sum;
    for (const auto& pin : rig::answer(type, vector, a))
        sum.emplace_back(pin.begin(), pin.end());
    const Outputs other = rig::answer(type, vector, b);
    for (std::size_t pin = 0; pin < sum.size(); ++pin)
        add(sum[pin], other[pin]);
    return difference(sum, rig::answer(type, vector, rig::with_controls(type, both, controls)));
}

}  // namespace

TEST(LinearModel, IsWhatTheBlockDoes)
{
    constexpr VantoroLinearVisitor kNobody = {};
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        SCOPED_TRACE(type.info->name);
        const bool told = rig::has(type, VANTORO_LINEAR_MODEL);
        EXPECT_EQ(Vantoro_block_linear(Bench(type).block(), &kNobody), told);
        for (float control = 2; const Vector& vector : rig::good_vectors(type, told ? 8 : 0))
            if (told)
                check_model(type, vector, control = control > 1 ? 0.5F : 2 * control);
    }
}

TEST(LinearModel, IsThereWhereTheBlockIsLinear)
{
    static const std::set<int> kWithout = {
        EN_LOUDNESS_LH_EXT,      EN_VC_GAINENVELOPE,                              // the gain moves all the time
        EN_BASIC_DSP_HOLD_VALUE, EN_BASIC_DSP_VOL_DELAY, EN_MUXES_STATE_MACHINE,  // a pin switches
        EN_BASIC_ARITH_SUMMAT,                                                    // it never dies away
        EN_QVALGO_REVERB,                                                         // thousands of poles
    };
    constexpr double kTolerance = 1e-4;  // rounding; what is not linear is off by per cents
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        if (rig::has(type, VANTORO_LINEAR_MODEL) || type.pins->inputs == 0)
            continue;
        double error = 0;
        for (const Vector& vector : rig::good_vectors(type, 8))
            for (const float control : {0.0F, 1.0F})
                error = std::max(error, superposition_error(type, vector, control));
        EXPECT_EQ(error < kTolerance, kWithout.contains(type.info->type)) << type.info->name << " " << error;
    }
}
