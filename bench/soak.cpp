// SPDX-License-Identifier: Apache-2.0
// A schematic for a long time, at full speed, while its parameters move: soak SCHEMATIC SECONDS_OF_AUDIO
//
// The input is noise with pauses, so that states decay to nothing again and again. Every few blocks some block gets new
// parameters near its own. Prints a line of figures; fails when a sample is not finite, when memory grows, or when the
// last of many hours costs more than the first.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <random>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "engine/engine.h"
#include "schematic/reader.h"

namespace {

constexpr int kBlocksPerChange = 5;
constexpr int kVariants = 16;  // vectors a block
constexpr double kSpread = 0.1;
constexpr double kNoiseSeconds = 3, kPauseSeconds = 2;
constexpr long kMemoryBound = 512;   // KiB; pages that the allocator first touches late
constexpr double kDriftBound = 1.5;  // of the processor time of whole hours; less measures what else runs
constexpr double kHour = 3600;

std::mt19937 g_random(1);

double uniform(double lo, double hi) { return std::uniform_real_distribution(lo, hi)(g_random); }
std::size_t any_of(std::size_t count) { return g_random() % count; }

// Every real number a little moved; counts, flags and choices as they are.
void move_numbers(nlohmann::json& value)
{
    if (value.is_number_float())
        value = value.get<double>() * uniform(1 - kSpread, 1 + kSpread);
    else if (value.is_structured())
        for (auto& inner : value)
            move_numbers(inner);
}

struct Variant {
    int block;
    std::vector<float> vector;
};

// What the catalog accepts of what the dice gave.
std::vector<Variant> variants_of(const vantoro::Schematic& schematic)
{
    std::vector<Variant> variants;
    for (std::size_t b = 0; b < schematic.blocks.size(); ++b) {
        const vantoro::Block& block = schematic.blocks[b];
        if (block.type->layout_count == 0)
            continue;
        for (int i = 0; i < kVariants; ++i) {
            nlohmann::json values = vantoro::named_values(*block.type, block.pins, block.vector);
            move_numbers(values);
            std::vector<vantoro::Problem> problems;
            std::vector<float> vector = vantoro::build_vector(*block.type, block.pins, values, problems);
            if (problems.empty())
                variants.push_back({static_cast<int>(b), std::move(vector)});
        }
    }
    return variants;
}

long resident_kib()
{
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

double cpu_seconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

class Soak {
public:
    explicit Soak(vantoro::Schematic schematic)
        : variants_(variants_of(schematic)), engine_(std::move(schematic), kRate)
    {}

    double seconds() const { return static_cast<double>(blocks_) * engine_.block_size() / kRate; }
    long changes() const { return changes_; }
    long not_finite() const { return not_finite_; }
    float peak() const { return peak_; }

    // Runs up to `end` seconds and returns the processor time of an audio second.
    double run_to(double end)
    {
        const double from = seconds(), start = cpu_seconds();
        while (seconds() < end)
            step();
        return (cpu_seconds() - start) / (seconds() - from);
    }

private:
    static constexpr int kRate = 48000;

    void step()
    {
        if (blocks_ % kBlocksPerChange == 0 && !variants_.empty()) {
            const Variant& variant = variants_[any_of(variants_.size())];
            engine_.set(variant.block, variant.vector);
            ++changes_;
        }
        const bool pause = std::fmod(seconds(), kNoiseSeconds + kPauseSeconds) >= kNoiseSeconds;
        for (int pin = 0; pin < engine_.inputs(); ++pin)
            std::generate_n(engine_.input()[pin], engine_.block_size(),
                            [pause] { return pause ? 0.0F : static_cast<float>(g_random() >> 8U) * 0x1p-24F - 0.5F; });
        engine_.change();
        if (!engine_.process()) {
            std::fprintf(stderr, "soak: %s\n", engine_.failure().c_str());
            std::exit(1);
        }
        for (int pin = 0; pin < engine_.outputs(); ++pin)
            for (int i = 0; i < engine_.block_size(); ++i)
                look_at(engine_.output()[pin][i]);
        ++blocks_;
    }

    void look_at(float sample)
    {
        if (std::isfinite(sample))
            peak_ = std::max(peak_, std::abs(sample));
        else
            ++not_finite_;
    }

    std::vector<Variant> variants_;
    vantoro::Engine engine_;
    long blocks_ = 0, changes_ = 0, not_finite_ = 0;
    float peak_ = 0;
};

int soak(const char* path, double seconds)
{
    const vantoro::LibraryLog log(true);
    Soak run(vantoro::read_schematic(path));
    const double part = std::min(kHour, seconds / 10);  // the first and the last hour, or tenth
    run.run_to(part / 10);
    const long before = resident_kib();
    const double first = run.run_to(run.seconds() + part);
    run.run_to(seconds - part);
    const double last = run.run_to(seconds), drift = last / first;
    const long grown = resident_kib() - before;
    std::printf("audio %.2f h, changes %ld, not finite %ld, peak %.3f, memory %ld KiB %+ld, "
                "cost %.5f at first, %.5f at last of real time (x %.3f)\n",
                run.seconds() / kHour, run.changes(), run.not_finite(), static_cast<double>(run.peak()), before, grown,
                first, last, drift);
#ifdef __SANITIZE_ADDRESS__
    return run.not_finite() == 0 ? 0 : 1;  // freed memory is held back on purpose
#else
    return run.not_finite() == 0 && grown <= kMemoryBound && (part < kHour || drift <= kDriftBound) ? 0 : 1;
#endif
}

}  // namespace

int main(int count, char** words)
{
    const double seconds = count == 3 ? std::atof(words[2]) : 0;
    if (!(seconds > 0)) {
        std::fprintf(stderr, "usage: soak SCHEMATIC SECONDS_OF_AUDIO\n");
        return 2;
    }
    try {
        return soak(words[1], seconds);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 2;
    }
}
