// SPDX-License-Identifier: Apache-2.0
// Two builds of the library side by side in one process: every block type, the least of many short runs that take
// turns, so that the ratios hold on a machine with other work. Prints the types in which NEW takes longer than OLD, and
// fails if there are some.
//
//   builds OLD/libvantoro.so NEW/libvantoro.so [LIMIT (1.03)] [TYPE ...]
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "pins.h"
#include "types.h"

namespace {

using bench::Pins;

// A build's own functions, whatever this program is linked to.
struct Build {
    decltype(&BlockAlgo_init) init;
    decltype(&BlockAlgo_destroy) destroy;
    decltype(&BlockAlgo_param_reset) set;
    decltype(&BlockAlgo_process) process;

    explicit Build(const char* path)
    {
        void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
        if (!library) {
            std::fprintf(stderr, "builds: %s\n", dlerror());
            std::exit(2);
        }
        const auto find = [=](auto& function, const char* name) {
            function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, name));
            if (!function) {
                std::fprintf(stderr, "builds: %s has no %s\n", path, name);
                std::exit(2);
            }
        };
        find(init, "BlockAlgo_init");
        find(destroy, "BlockAlgo_destroy");
        find(set, "BlockAlgo_param_reset");
        find(process, "BlockAlgo_process");
    }
};

class Block {
public:
    Block(const Build& build, const vantoro::BlockType& type, vantoro::PinCounts pins, int n)
        : build_(build), pro_{48000, 32, n, 0, 0}, algo_(build.init(&pro_, pins.inputs, pins.outputs, type.type)),
          vector_(bench::vector_for(type, pins))
    {
        if (!vector_.empty())
            build_.set(algo_, vector_.data());
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { build_.destroy(algo_); }

    // Nanoseconds of a call.
    double time(const Pins& pins, int calls)
    {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < calls; ++i)
            build_.process(algo_, const_cast<float**>(pins.in.data()), const_cast<float**>(pins.out.data()));
        const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
        return spent.count() / calls;
    }

private:
    const Build& build_;
    BlockPro pro_;
    BlockAlgo* algo_;
    std::vector<float> vector_;
};

// Of both, nanoseconds of a call.
using Times = std::array<double, 2>;
Times measure(const Build (&builds)[2], const vantoro::BlockType& type, vantoro::PinCounts pins, int n, int round)
{
    constexpr int kRuns = 400;
    constexpr double kRunNs = 15000;
    Block blocks[] = {{builds[round % 2], type, pins, n}, {builds[(round + 1) % 2], type, pins, n}};
    const Pins p(pins.inputs, pins.outputs, n);
    bench::hold_controls(type, pins, p, n);
    const int calls = std::max(1, static_cast<int>(kRunNs / std::max(blocks[0].time(p, 20), blocks[1].time(p, 20))));
    Times best = {1e12, 1e12};
    for (int run = 0; run < kRuns; ++run)
        for (std::size_t i = 0; i < 2; ++i)
            best[i] = std::min(best[i], blocks[i].time(p, calls));
    return round % 2 == 0 ? best : Times{best[1], best[0]};
}

// Where a block lies in memory moves the time of short ones by a tenth: each gets many places.
Times least(const Build (&builds)[2], const vantoro::BlockType& type, vantoro::PinCounts pins, int n, double limit)
{
    constexpr int kLeast = 4, kMost = 24;
    Times best = {1e12, 1e12};
    std::vector<std::vector<char>> between;
    for (int round = 0; round < kLeast || (round < kMost && best[1] > limit * best[0]); ++round) {
        const Times next = measure(builds, type, pins, n, round);
        for (std::size_t i = 0; i < 2; ++i)
            best[i] = std::min(best[i], next[i]);
        between.emplace_back(static_cast<std::size_t>(208 * round + 16));
    }
    return best;
}

}  // namespace

int main(int argc, char** argv)
{
    char* end = nullptr;
    const double limit = argc > 3 ? std::strtod(argv[3], &end) : 1.03;
    if (argc < 3 || (end && *end != 0) || !(limit >= 1)) {
        std::fputs("builds: OLD.so NEW.so [LIMIT, from 1 (1.03)] [TYPE ...]\n", stderr);
        return 2;
    }
    const Build builds[] = {Build(argv[1]), Build(argv[2])};
    const std::span<char*> only(argv + std::min(argc, 4), argv + argc);
    double logs = 0;
    int rows = 0, slower = 0, faster = 0;
    bench::each_shape([&](const vantoro::BlockType& type, vantoro::PinCounts pins, int channels, int n) {
        if (!only.empty() && std::ranges::none_of(only, [&](std::string_view name) { return name == type.name; }))
            return;
        const Times ns = least(builds, type, pins, n, limit);
        const double ratio = ns[1] / ns[0];
        logs += std::log(ratio);
        ++rows;
        faster += ratio < 1 / limit ? 1 : 0;
        if (ratio <= limit)
            return;
        ++slower;
        std::printf("%-32s %dch %3d  %8.1f %8.1f ns  %.2f\n", std::string(type.name).c_str(), channels, n, ns[0], ns[1],
                    ratio);
    });
    std::printf("%d rows, mean %.3f; %d slower, %d faster\n", rows, std::exp(logs / std::max(1, rows)), slower, faster);
    return slower > 0 || rows == 0 ? 1 : 0;
}
