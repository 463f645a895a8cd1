// SPDX-License-Identifier: Apache-2.0
// Linear models: the paths that a block tells of, computed in double precision, against what it puts out.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
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
        [](void* user, const double* c) { list(user).back().sections.push_back({c[0], c[1], c[2], c[3], c[4]}); },
        [](void* user, const float* taps, int count) { list(user).back().taps.assign(taps, taps + count); },
    };
    EXPECT_EQ(Vantoro_block_linear(blk, &visitor), 1);
    return paths;
}

constexpr VantoroLinearVisitor kNothing = {};

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

// What glides arrives within a few blocks.
Vector in_a_hurry(const Described& type, Vector vector)
{
    for (const rig::Entry& entry : rig::entries_of(type, vector))
        if (std::string_view(entry.param->name) == "slewRate")
            vector[entry.at] = entry.param->range.min;
    return vector;
}

// The largest difference from the model, re the largest sample.
double error_of_model(const Described& type, const Vector& vector, float control)
{
    constexpr int kSamples = 2048, kSettled = 512 * 64;
    Bench bench(type);
    bench.set(in_a_hurry(type, vector));
    bench.run(rig::constant_signal(type, kSettled, 0, control));
    const std::vector<Path> paths = paths_of(bench.block());
    const Outputs in = rig::noise_signal(type, kSamples, control, 1), out = bench.run(in);
    std::vector<Signal> model(static_cast<std::size_t>(type.pins->outputs), Signal(kSamples));
    for (const Path& path : paths) {
        const Signal part = through(path, in[static_cast<std::size_t>(path.input)]);
        Signal& sum = model[static_cast<std::size_t>(path.output)];
        std::ranges::transform(sum, part, sum.begin(), std::plus<>());
    }
    double error = 0, most = 0;
    for (std::size_t pin = 0; pin < static_cast<std::size_t>(type.pins->outputs); ++pin)
        for (std::size_t i = 0; i < out[pin].size(); ++i) {
            most = std::max(most, std::abs(model[pin][i]));
            error = std::max(error, std::abs(model[pin][i] - static_cast<double>(out[pin][i])));
        }
    constexpr double kOverflow = 1e30;  // unstable: both have left the numbers
    return most > kOverflow ? 0 : error / std::max(most, 1e-30);
}

// How far a sum of signals is from giving the sum of what they give.
double superposition_error(const Described& type, const Vector& vector, float control)
{
    constexpr int kSamples = 2048;
    std::array<Outputs, 3> in = {rig::noise_signal(type, kSamples, control, 1), rig::noise_signal(type, kSamples, control, 100), {}};
    for (std::size_t pin = 0; pin < in[0].size(); ++pin)  // zeros, too, for what looks for them
        if (!rig::is_control(type, static_cast<int>(pin)))
            std::ranges::fill(std::span(in[0][pin]).subspan(kSamples / 2, kSamples / 4), 0.0F);
    in[2] = in[0];
    for (std::size_t pin = 0; pin < in[2].size(); ++pin)
        if (!rig::is_control(type, static_cast<int>(pin)))
            std::ranges::transform(in[0][pin], in[1][pin], in[2][pin].begin(), std::plus<>());
    std::array<Outputs, 3> out;
    for (std::size_t i = 0; i < in.size(); ++i) {
        Bench bench(type);
        bench.set(vector);
        out[i] = bench.run(in[i]);
    }
    double error = 0, most = 0;
    for (std::size_t pin = 0; pin < out[0].size(); ++pin)
        for (std::size_t i = 0; i < out[0][pin].size(); ++i) {
            const double both = out[2][pin][i];
            most = std::max(most, std::abs(both));
            const double sum = static_cast<double>(out[0][pin][i]) + static_cast<double>(out[1][pin][i]);
            error = std::isfinite(sum) ? std::max(error, std::abs(sum - both)) : 1;
        }
    return error > 0 ? error / most : 0;
}

}  // namespace

TEST(LinearModel, IsWhatTheBlockDoes)
{
    // Single precision, amplified by poles that lie within 1e-3 of the unit circle, as at 20 Hz; a wrong gain, sign or
    // coefficient is off by per cents. A mute comes within 4e-5 of its end in the time that is given to it.
    constexpr double kTolerance = 1e-3;
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        static constexpr float kControls[] = {1, 0.5F, 2};
        int turn = 0;
        for (const Vector& vector : rig::good_vectors(type, 8))
            if (rig::has(type, VANTORO_LINEAR_MODEL)) {
                EXPECT_LT(error_of_model(type, vector, kControls[turn++ % 3]), kTolerance) << type.info->name << turn;
            } else {
                EXPECT_FALSE(Vantoro_block_linear(Bench(type).block(), &kNothing)) << type.info->name;
            }
    }
}

// Linear in their audio, and yet without a model.
static const char* why_without_model(int type)
{
    switch (type) {
    case EN_LOUDNESS_LH_EXT:
    case EN_VC_GAINENVELOPE:
        return "a gain that moves all the time";
    case EN_BASIC_DSP_HOLD_VALUE:
    case EN_BASIC_DSP_VOL_DELAY:
    case EN_MUXES_STATE_MACHINE:
        return "a pin switches from sample to sample";
    case EN_BASIC_ARITH_SUMMAT:
        return "a pole on the unit circle";
    case EN_QVALGO_REVERB:
        return "thousands of poles";
    default:
        return nullptr;
    }
}

TEST(LinearModel, IsThereWhereTheBlockIsLinear)
{
    constexpr double kTolerance = 1e-4;  // rounding; what is not linear is off by per cents
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        if (rig::has(type, VANTORO_LINEAR_MODEL) || type.pins->inputs == 0)
            continue;
        double error = 0;
        for (const Vector& vector : rig::good_vectors(type, 8))
            for (const float control : {0.0F, 1.0F})
                error = std::max(error, superposition_error(type, vector, control));
        EXPECT_EQ(error < kTolerance, why_without_model(type.info->type) != nullptr) << type.info->name << " " << error;
    }
}
