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

std::vector<Path> paths_of(const BlockAlgo* blk)
{
    std::vector<Path> paths;
    const auto list = [](void* user) -> std::vector<Path>& { return *static_cast<std::vector<Path>*>(user); };
    static const auto& kList = list;
    const VantoroLinearVisitor visitor = {
        &paths,
        [](void* user, int input, int output, double gain, int delay) {
            kList(user).push_back({input, output, gain, delay, {}, {}});
        },
        [](void* user, const double* c) { kList(user).back().sections.push_back({c[0], c[1], c[2], c[3], c[4]}); },
        [](void* user, const float* taps, int count) { kList(user).back().taps.assign(taps, taps + count); },
    };
    if (!Vantoro_block_linear(blk, &visitor))
        paths.push_back({-1, -1, 0, 0, {}, {}});
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

// Noise on the audio pins, `control` on the others.
Outputs noise_on(const Described& type, int samples, float control, unsigned seed)
{
    Outputs signal;
    for (int pin = 0; pin < std::max(type.pins->inputs, 1); ++pin)
        signal.push_back(rig::is_control(type, pin) ? std::vector<float>(static_cast<std::size_t>(samples), control)
                                                    : rig::noise(samples, seed + static_cast<unsigned>(pin)));
    return signal;
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
    Outputs quiet = noise_on(type, kSettled, control, 1);
    for (std::size_t pin = 0; pin < quiet.size(); ++pin)
        if (!rig::is_control(type, static_cast<int>(pin)))
            std::ranges::fill(quiet[pin], 0.0F);
    bench.run(quiet);
    const std::vector<Path> paths = paths_of(bench.block());
    const Outputs in = noise_on(type, kSamples, control, 1), out = bench.run(in);
    std::vector<Signal> model(out.size(), Signal(kSamples));
    for (const Path& path : paths) {
        if (path.input < 0)
            return 1;
        const Signal part = through(path, in[static_cast<std::size_t>(path.input)]);
        Signal& sum = model[static_cast<std::size_t>(path.output)];
        std::ranges::transform(sum, part, sum.begin(), std::plus<>());
    }
    double error = 0, most = 0;
    for (std::size_t pin = 0; pin < out.size(); ++pin)
        for (std::size_t i = 0; i < out[pin].size(); ++i) {
            most = std::max(most, std::abs(model[pin][i]));
            error = std::max(error, std::abs(model[pin][i] - static_cast<double>(out[pin][i])));
        }
    return most > 0 && std::isfinite(most) ? error / most : error;
}

// How far a sum of signals is from giving the sum of what they give.
double superposition_error(const Described& type, const Vector& vector, float control)
{
    constexpr int kSamples = 2048;
    std::array<Outputs, 3> in = {noise_on(type, kSamples, control, 1), noise_on(type, kSamples, control, 100), {}};
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
            error = std::max(error, std::abs(static_cast<double>(out[0][pin][i]) + static_cast<double>(out[1][pin][i]) - both));
        }
    return most > 0 ? error / most : 0;
}

}  // namespace

TEST(LinearModel, IsWhatTheBlockDoes)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        if (!rig::has(type, VANTORO_LINEAR_MODEL))
            continue;
        int turn = 0;
        for (const Vector& vector : rig::good_vectors(type, 8)) {
            static constexpr float kControls[] = {1, 0.5F, 2};
            const double error = error_of_model(type, vector, kControls[turn++ % 3]);
            printf("%s %d %g\n", type.info->name, turn, error);
        }
    }
}

TEST(LinearModel, IsThereWhereTheBlockIsLinear)
{
    rig::Log quiet;
    for (const Described& type : rig::every_described()) {
        if (rig::has(type, VANTORO_LINEAR_MODEL))
            continue;
        double error = 0;
        for (const Vector& vector : rig::good_vectors(type, 8))
            error = std::max(error, superposition_error(type, vector, 1));
        printf("%s %g\n", type.info->name, error);
    }
}
