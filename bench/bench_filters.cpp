// SPDX-License-Identifier: Apache-2.0
// The filter blocks through the public entry points, each beside the plain per-sample loop of its rule in the same run:
// what counts is the ratio of the two. `per_sample` is seconds per sample and channel.
//
//   bench_filters --benchmark_filter=eq
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <vantoro/vantoro.h>

namespace {

// A block's pins, away from multiples of 4 KiB, filled with noise.
struct Pins {
    static constexpr int kGap = 80;
    std::vector<float> memory;
    std::vector<float*> in, out;

    Pins(int inputs, int outputs, int n) : memory(static_cast<std::size_t>((inputs + outputs) * (n + kGap)))
    {
        std::uint32_t seed = 1;
        for (float& x : memory)
            x = static_cast<float>(static_cast<std::int32_t>(seed = seed * 1664525U + 1013904223U)) * 0x1p-31F;
        for (int p = 0; p < inputs + outputs; ++p)
            (p < inputs ? in : out).push_back(memory.data() + static_cast<std::ptrdiff_t>(p) * (n + kGap));
    }
};

void report(benchmark::State& state, int channels, int n)
{
    state.counters["per_sample"] = benchmark::Counter(
        static_cast<double>(channels) * n, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// `channels`: what the time is divided by.
void library(benchmark::State& state, int type, std::vector<float> vector, int inputs, int outputs, int channels, int n)
{
    BlockPro pro = {48000, 32, n, 0, 0};
    BlockAlgo* blk = BlockAlgo_init(&pro, inputs, outputs, type);
    if (!vector.empty())
        BlockAlgo_param_reset(blk, vector.data());
    Pins pins(inputs, outputs, n);
    for (auto _ : state) {
        BlockAlgo_process(blk, pins.in.data(), pins.out.data());
        benchmark::ClobberMemory();
    }
    report(state, channels, n);
    BlockAlgo_destroy(blk);
}

template <class Loop>
void plain(benchmark::State& state, int inputs, int outputs, int channels, int n, Loop loop)
{
    Pins pins(inputs, outputs, n);
    for (auto _ : state) {
        loop(pins.in.data(), pins.out.data());
        benchmark::ClobberMemory();
    }
    report(state, channels, n);
}

// ---- the rules

float section(const float* c, float* s, float x)
{
    const float y = std::fma(c[0], x, s[0]);
    s[0] = std::fma(-c[2], y, c[1] * x) + s[1];
    s[1] = std::fma(-c[4], y, c[3] * x);
    return y;
}

float chain(const float* c, float* s, int sections, float x)
{
    for (int k = 0; k < sections; ++k)
        x = section(c + 5 * k, s + 2 * k, x);
    return x;
}

// Mild sections, all different.
std::vector<float> sections(int count)
{
    std::vector<float> c;
    for (int k = 0; k < count; ++k) {
        const float r = 0.9F, w = 0.01F + 0.2F * static_cast<float>(k);
        for (float v : {0.9F, -1.7F * std::cos(w), -2.0F * r * std::cos(w), 0.8F, r * r})
            c.push_back(v);
    }
    return c;
}

// ---- the pairs

constexpr int kBlock = 64;

void second_order(int channels, int n)
{
    const std::string name = "second_order/" + std::to_string(channels) + "ch/" + std::to_string(n);
    benchmark::RegisterBenchmark((name + "/library").c_str(), [=](benchmark::State& state) {
        library(state, EN_FILTER_2ND_GENERAL, {1, 0, Gen_Param, 0, 1000, 1.4F, 3}, channels, channels, channels, n);
    });
    benchmark::RegisterBenchmark((name + "/plain").c_str(), [=](benchmark::State& state) {
        const auto c = sections(1);
        std::vector<float> s(static_cast<std::size_t>(2 * channels));
        plain(state, channels, channels, channels, n, [&](float** in, float** out) {
            for (int ch = 0; ch < channels; ++ch) {
                float now[2] = {s[static_cast<std::size_t>(2 * ch)], s[static_cast<std::size_t>(2 * ch + 1)]};
                for (int i = 0; i < n; ++i)
                    out[ch][i] = section(c.data(), now, in[ch][i]);
                std::copy_n(now, 2, s.data() + 2 * ch);
            }
        });
    });
}

void equaliser(int channels, int bands, int n)
{
    const std::string name = "eq" + std::to_string(bands) + "/" + std::to_string(channels) + "ch/" + std::to_string(n);
    benchmark::RegisterBenchmark((name + "/library").c_str(), [=](benchmark::State& state) {
        std::vector<float> vector = {static_cast<float>(bands)};
        for (int k = 0; k < bands; ++k)
            for (float v : {31.25F * std::exp2(static_cast<float>(k)), 3.0F, 1.4F, 0.0F, 0.0F})
                vector.push_back(v);
        library(state, EN_FILTER_GRAPHICAL_EQ, vector, channels, channels, channels, n);
    });
    benchmark::RegisterBenchmark((name + "/plain").c_str(), [=](benchmark::State& state) {
        const auto c = sections(bands);
        std::vector<float> s(static_cast<std::size_t>(2 * bands * channels));
        plain(state, channels, channels, channels, n, [&](float** in, float** out) {
            for (int ch = 0; ch < channels; ++ch)
                for (int i = 0; i < n; ++i)
                    out[ch][i] = chain(c.data(), s.data() + 2 * bands * ch, bands, in[ch][i]);
        });
    });
}

// Two-way (LR24) and three-way (mid: two filters) of two sections a filter.
void crossover(int ways, int channels, int n)
{
    const std::string name =
        "crossover" + std::to_string(ways) + "/" + std::to_string(channels) + "ch/" + std::to_string(n);
    benchmark::RegisterBenchmark((name + "/library").c_str(), [=](benchmark::State& state) {
        library(state, ways == 2 ? EN_FILTER_CROSSOVER_2WAY : EN_FILTER_CROSSOVER_3WAY, {}, channels, ways * channels,
                channels, n);
    });
    benchmark::RegisterBenchmark((name + "/plain").c_str(), [=](benchmark::State& state) {
        const int total = ways == 2 ? 4 : 8;
        const auto c = sections(total);
        std::vector<float> s(static_cast<std::size_t>(2 * total * channels)), x(static_cast<std::size_t>(channels));
        plain(state, channels, ways * channels, channels, n, [&](float** in, float** out) {
            for (int i = 0; i < n; ++i) {
                for (int ch = 0; ch < channels; ++ch)
                    x[static_cast<std::size_t>(ch)] = in[ch][i];
                for (int ch = 0; ch < channels; ++ch)
                    for (int b = 0, k = 0; b < ways; ++b) {
                        const int here = b == 2 ? 4 : 2;
                        out[ways * ch + b][i] = chain(c.data() + 5 * k, s.data() + 2 * (total * ch + k), here,
                                                      x[static_cast<std::size_t>(ch)]);
                        k += here;
                    }
            }
        });
    });
}

void fir(int taps, int n)
{
    const std::string name = "fir" + std::to_string(taps) + "/1ch/" + std::to_string(n);
    std::vector<float> vector = {static_cast<float>(taps)};
    for (int k = 0; k < taps; ++k)
        vector.push_back(std::cos(static_cast<float>(k)) / static_cast<float>(taps));
    benchmark::RegisterBenchmark((name + "/library").c_str(),
                                 [=](benchmark::State& state) { library(state, EN_FILTER_FIR, vector, 1, 1, 1, n); });
    benchmark::RegisterBenchmark((name + "/plain").c_str(), [=](benchmark::State& state) {
        int length = 1;
        while (length < taps)
            length *= 2;
        std::vector<float> ring(static_cast<std::size_t>(length));
        int w = 0;
        plain(state, 1, 1, 1, n, [&](float** in, float** out) {
            const float* c = vector.data() + 1;
            for (int i = 0; i < n; ++i) {
                float y = c[0] * in[0][i];
                for (int k = 1; k < taps; ++k)
                    y = std::fma(c[k], ring[static_cast<std::size_t>((w - k) & (length - 1))], y);
                ring[static_cast<std::size_t>(w)] = in[0][i];
                w = (w + 1) & (length - 1);
                out[0][i] = y;
            }
        });
    });
}

// The bands and, once per block, their levels; compiled without knowledge of its arguments, as a block is.
[[gnu::noipa]] void meter_loop(int bands, const float* c, float* s, float* smooth, float* level, const float* in,
                               float* out, int n)
{
    float sum[10] = {};
    for (int i = 0; i < n; ++i) {
        const float x = out[i] = in[i];
        for (int k = 0; k < bands; ++k) {
            const float y = section(c + 5 * k, s + 2 * k, x);
            sum[k] = std::fma(y, y, sum[k]);
        }
    }
    for (int k = 0; k < bands; ++k) {
        smooth[k] = std::fma(0.9F, smooth[k], 0.1F * (sum[k] / static_cast<float>(n + 1)));
        level[k] = static_cast<float>(6.0206 * static_cast<double>(lbx_fast_log2(smooth[k] + 1e-9F)));
    }
}

void meter(int n)
{
    const std::string name = "meter7/1ch/" + std::to_string(n);
    benchmark::RegisterBenchmark((name + "/library").c_str(), [=](benchmark::State& state) {
        library(state, EN_DETECTORS_SEVEN_BAND, {}, 1, 1, 1, n);
    });
    benchmark::RegisterBenchmark((name + "/plain").c_str(), [=](benchmark::State& state) {
        const auto c = sections(7);
        float s[14] = {}, smooth[7] = {}, level[7] = {};
        plain(state, 1, 1, 1, n,
              [&](float** in, float** out) { meter_loop(7, c.data(), s, smooth, level, in[0], out[0], n); });
    });
}

[[maybe_unused]] const bool kRegistered = [] {
    for (int channels : {1, 2, 4, 8})
        second_order(channels, kBlock);
    second_order(8, 4);
    second_order(2, 16);
    second_order(8, 256);
    for (int channels : {1, 2, 4, 8})
        equaliser(channels, 10, kBlock);
    for (int bands : {2, 3, 4, 5})
        for (int channels : {1, 2})
            equaliser(channels, bands, kBlock);
    equaliser(1, 10, 4);
    equaliser(2, 10, 16);
    for (int channels : {1, 2, 4})
        crossover(2, channels, kBlock);
    crossover(3, 2, kBlock);
    crossover(2, 2, 4);
    for (int taps : {32, 128, 512})
        fir(taps, kBlock);
    fir(128, 4);
    meter(kBlock);
    return true;
}();

}  // namespace
