// SPDX-License-Identifier: Apache-2.0
// Other libraries doing the same work on the same block, where the build found them. Coefficients are any that are
// stable: they do not change the time.
#include "measure.h"

#include <cmath>

#if defined(BENCH_STK)
#include <stk/BiQuad.h>
#include <stk/Fir.h>
#include <stk/FreeVerb.h>
#endif
#if defined(BENCH_LIQUID)
#include <complex>

#include <liquid/liquid.h>
#endif
#if defined(BENCH_VOLK)
#include <volk/volk.h>
#endif

namespace bench {
namespace {

constexpr double kB[] = {0.9, -1.6, 0.8}, kA[] = {1.0, -1.6, 0.7};

[[maybe_unused]] std::vector<double> taps(int count)
{
    std::vector<double> v;
    for (int k = 0; k < count; ++k)
        v.push_back(std::cos(k) / count);
    return v;
}

// run(pins) works on one block.
template <class Make>
[[maybe_unused]] void add(const std::string& title, int channels, int inputs, int outputs, Make make)
{
    benchmark::RegisterBenchmark(title.c_str(), [=](benchmark::State& state) {
        const Pins pins(inputs, outputs, kBlock);
        auto run = make();
        run(pins);  // some set themselves up at the first call, for longer than a measurement lasts
        measure(state, channels, kBlock, [&] { run(pins); });
    });
}

#if defined(BENCH_STK)
void register_stk()
{
    for (const int channels : {1, 2, 4, 8})
        add(name("second_order", std::to_string(channels) + "ch", kBlock, "STK BiQuad"), channels, channels, channels,
            [=] {
                std::vector<stk::BiQuad> filters(static_cast<std::size_t>(channels));
                for (auto& filter : filters)
                    filter.setCoefficients(kB[0], kB[1], kB[2], kA[1], kA[2]);
                return [filters](const Pins& pins) mutable {
                    for (std::size_t c = 0; c < filters.size(); ++c)
                        for (int i = 0; i < kBlock; ++i)
                            pins.out[c][i] = static_cast<float>(filters[c].tick(pins.in[c][i]));
                };
            });
    for (const int count : {32, 128, 512})
        add(name("fir" + std::to_string(count), "1ch", kBlock, "STK Fir"), 1, 1, 1, [=] {
            auto coefficients = taps(count);
            return [fir = std::make_shared<stk::Fir>(coefficients)](const Pins& pins) {
                for (int i = 0; i < kBlock; ++i)
                    pins.out[0][i] = static_cast<float>(fir->tick(pins.in[0][i]));
            };
        });
    add(name("reverb", "2ch", kBlock, "STK FreeVerb"), 2, 2, 2, [] {
        stk::Stk::setSampleRate(48000);
        return [reverb = std::make_shared<stk::FreeVerb>()](const Pins& pins) {
            for (int i = 0; i < kBlock; ++i) {
                pins.out[0][i] = static_cast<float>(reverb->tick(pins.in[0][i], pins.in[1][i]));
                pins.out[1][i] = static_cast<float>(reverb->lastOut(1));
            }
        };
    });
}
#endif

#if defined(BENCH_LIQUID)
void iir(const std::string& kernel, int channels, unsigned sections)
{
    add(name(kernel, std::to_string(channels) + "ch", kBlock, "liquid iirfilt"), channels, channels, channels, [=] {
        std::vector<float> b, a;
        for (unsigned k = 0; k < sections; ++k)
            for (int j = 0; j < 3; ++j) {
                b.push_back(static_cast<float>(kB[j]));
                a.push_back(static_cast<float>(kA[j]));
            }
        std::vector<std::shared_ptr<iirfilt_rrrf_s>> filters;
        for (int c = 0; c < channels; ++c)
            filters.emplace_back(iirfilt_rrrf_create_sos(b.data(), a.data(), sections), iirfilt_rrrf_destroy);
        return [filters](const Pins& pins) {
            for (std::size_t c = 0; c < filters.size(); ++c)
                iirfilt_rrrf_execute_block(filters[c].get(), pins.in[c], kBlock, pins.out[c]);
        };
    });
}

void register_liquid()
{
    for (const int channels : {1, 2, 4, 8}) {
        iir("second_order", channels, 1);
        iir("equaliser10", channels, 10);
    }
    for (const int count : {32, 128, 512})
        add(name("fir" + std::to_string(count), "1ch", kBlock, "liquid firfilt"), 1, 1, 1, [=] {
            const auto exact = taps(count);
            std::vector<float> h(exact.begin(), exact.end());
            const std::shared_ptr<firfilt_rrrf_s> filter(firfilt_rrrf_create(h.data(), static_cast<unsigned>(count)),
                                                         firfilt_rrrf_destroy);
            return [filter](const Pins& pins) {
                firfilt_rrrf_execute_block(filter.get(), pins.in[0], kBlock, pins.out[0]);
            };
        });
}
#endif

#if defined(BENCH_VOLK)
void register_volk()
{
    for (const int channels : {1, 8})
        add(name("product", std::to_string(channels) + "ch", kBlock, "VOLK multiply"), channels, 2 * channels, channels,
            [=] {
                return [=](const Pins& pins) {
                    for (std::size_t c = 0; c < static_cast<std::size_t>(channels); ++c)
                        volk_32f_x2_multiply_32f(pins.out[c], pins.in[2 * c], pins.in[2 * c + 1], kBlock);
                };
            });
}
#endif

}  // namespace

void register_peers()
{
#if defined(BENCH_STK)
    register_stk();
#endif
#if defined(BENCH_LIQUID)
    register_liquid();
#endif
#if defined(BENCH_VOLK)
    register_volk();
#endif
}

}  // namespace bench
