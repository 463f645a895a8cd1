// SPDX-License-Identifier: Apache-2.0
// What live playing costs, without a device.
//   live_cost SCHEMATIC         nanoseconds of a block: plain, with meters, with a tap
//   live_cost SCHEMATIC HOURS   so many hours of audio as fast as they go, a change a second: memory and load over time
//   live_cost SCHEMATIC --changes N   N changes at the pace of a device: how long each takes until it is heard
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "live/graph_player.h"
#include "schematic/reader.h"

namespace {

constexpr int kRate = 48000;

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

void nap() { std::this_thread::sleep_for(std::chrono::milliseconds(40)); }

vantoro::Schematic load(const char* path)
{
    vantoro::Schematic schematic = vantoro::read_schematic(path, {.rate = kRate});
    schematic.changes.clear();
    return schematic;
}

// A player and the audio that it hears over and over.
class Deck {
public:
    explicit Deck(const vantoro::Schematic& schematic)
        : player(schematic, kRate, {}), block_(static_cast<std::size_t>(schematic.block_size))
    {
        const auto pins = static_cast<std::size_t>(player.inputs() + player.outputs());
        samples_.resize(pins * block_);
        unsigned seed = 1;
        for (float& v : samples_)
            v = static_cast<float>((seed = seed * 1664525U + 1013904223U) >> 8U) / 16777216.0F - 0.5F;
        for (std::size_t pin = 0; pin < pins; ++pin)
            (pin < static_cast<std::size_t>(player.inputs()) ? in_ : out_).push_back(samples_.data() + pin * block_);
    }
    // Nanoseconds of a block.
    double run(long blocks)
    {
        const Clock::time_point start = Clock::now();
        for (long i = 0; i < blocks; ++i)
            player.process(in_.data(), out_.data(), static_cast<int>(block_));
        return seconds_since(start) * 1e9 / static_cast<double>(blocks);
    }
    // The best of many: other work shares the machine.
    double best()
    {
        double least = 1e12;
        for (int i = 0; i < 1500; ++i)
            least = std::min(least, run(100));
        return least;
    }

    vantoro::GraphPlayer player;

private:
    std::size_t block_;
    std::vector<float> samples_;
    std::vector<float*> in_, out_;
};

void cost(const vantoro::Schematic& schematic)
{
    Deck deck(schematic);
    deck.run(5000);
    double plain = 1e12, metered = 1e12, tapped = 1e12;
    for (int round = 0; round < 6; ++round) {
        plain = std::min(plain, deck.best());
        auto reader = deck.player.reader();
        nap();
        deck.run(100);
        nap();
        metered = std::min(metered, deck.best());
        reader.reset();
        nap();
        const auto tap = deck.player.tap("output", 0);
        tapped = std::min(tapped, deck.best());
    }
    std::printf("%.0f ns a block of %d; with meters %+.1f %%, with a tap %+.1f %%\n", plain, schematic.block_size,
                100 * (metered / plain - 1), 100 * (tapped / plain - 1));
}

long resident_kib()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmRSS:"))
            return std::strtol(line.c_str() + 6, nullptr, 10);
    return -1;
}

// The first number of the schematic that is no choice and not 0 goes up and down a little.
vantoro::Schematic changed(const vantoro::Schematic& schematic, long n)
{
    vantoro::Schematic next = schematic;
    for (vantoro::Block& block : next.blocks)
        for (int i = 0; i < block.type->layout_count && block.type->layout[i].kind == VANTORO_VALUE; ++i)
            if (float& value = block.vector[static_cast<std::size_t>(i)];
                value != 0 && block.type->layout[i].param->kind == VANTORO_REAL) {
                value *= 1.0F + 1e-4F * static_cast<float>(n % 2 * (n % 100));
                return next;
            }
    std::fputs("live_cost: the schematic has no number to change\n", stderr);
    std::exit(2);
}

void soak(const vantoro::Schematic& schematic, double hours)
{
    Deck deck(schematic);
    const long second = kRate / schematic.block_size, all = std::lround(hours * 3600);
    const long row = std::max(1L, all / 12);
    std::puts("hour   ns a block   KiB resident");
    for (long s = 1; s <= all; ++s) {
        deck.player.play(changed(schematic, s), static_cast<std::uint64_t>(s));
        while (deck.player.handed() != static_cast<std::uint64_t>(s))
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        deck.run(40);
        while (deck.player.status().heard != static_cast<std::uint64_t>(s))
            deck.run(1);
        const double ns = deck.run(second - 40);
        if (s % row == 0 || s == 60)
            std::printf("%5.2f  %8.0f     %8ld\n", static_cast<double>(s) / 3600, ns, resident_kib()),
                std::fflush(stdout);
    }
}

// Until a change is heard whole, its fade included.
void pace(const vantoro::Schematic& schematic, long changes)
{
    constexpr long kBlocks = 8;  // a period
    Deck deck(schematic);
    std::atomic<bool> playing{true};
    double busy = 0;
    const Clock::time_point start = Clock::now();
    std::thread audio([&] {
        const std::chrono::nanoseconds period(1000000000LL * kBlocks * schematic.block_size / kRate);
        for (Clock::time_point next = start; playing; next += period) {
            busy += deck.run(kBlocks) * kBlocks;
            std::this_thread::sleep_until(next + period);
        }
    });
    std::vector<double> times;
    for (long n = 1; n <= changes; ++n) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200 + n % 100));
        const Clock::time_point asked = Clock::now();
        deck.player.play(changed(schematic, n), static_cast<std::uint64_t>(n));
        while (deck.player.status().heard != static_cast<std::uint64_t>(n))
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        times.push_back(seconds_since(asked) * 1e3);
    }
    const double share = busy / (seconds_since(start) * 1e9);
    playing = false;
    audio.join();
    std::ranges::sort(times);
    std::printf("load %.0f %%; %ld changes heard after %.0f ms, at most %.0f ms; %lld late\n", 100 * share, changes,
                times[times.size() / 2], times.back(), static_cast<long long>(deck.player.late()));
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    if (argc > 3 && std::string_view(argv[2]) == "--changes")
        pace(load(argv[1]), std::atol(argv[3]));
    else if (argc > 2)
        soak(load(argv[1]), std::atof(argv[2]));
    else
        cost(load(argv[1]));
    return 0;
}
