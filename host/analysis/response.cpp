// SPDX-License-Identifier: Apache-2.0
#include "analysis/response.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <numbers>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include "catalog/stability.h"
#include "common/block_info.h"

namespace vantoro {

namespace {

std::size_t index(int n) { return static_cast<std::size_t>(n); }

// Whether transforms of this length are fast.
bool smooth(int n)
{
    for (const int prime : {2, 3, 5, 7})
        while (n % prime == 0)
            n /= prime;
    return n == 1;
}

// ---- what a linear block does between one input and one output ----

struct Section {
    double b0, b1, b2, a1, a2;

    bool stable() const { return stable_poles(a1, a2); }
};

struct Path {
    int from, to;
    double gain;
    int delay;  // samples
    std::vector<Section> sections{};
    std::span<const float> taps{};
};
using Paths = std::vector<Path>;

// The paths as the library tells them. What fails meanwhile is kept: no exception may leave a callback of the library.
struct Told {
    Paths paths;
    std::exception_ptr failure;

    template <class Add>
    static void add(void* user, Add add) noexcept
    {
        auto& told = *static_cast<Told*>(user);
        try {
            if (!told.failure)
                add(told.paths);
        } catch (...) {
            told.failure = std::current_exception();
        }
    }
};

// Empty: the block is not linear.
std::optional<Paths> paths_of(const BlockAlgo& block)
{
    Told told;
    VantoroLinearVisitor visitor{};
    visitor.user = &told;
    visitor.path = [](void* user, int input, int output, double gain, int delay) {
        Told::add(user, [&](Paths& paths) { paths.push_back({input, output, gain, delay}); });
    };
    visitor.section = [](void* user, const double* c) {
        Told::add(user, [&](Paths& paths) { paths.back().sections.push_back({c[0], c[1], c[2], c[3], c[4]}); });
    };
    visitor.taps = [](void* user, const float* taps, int count) {
        Told::add(user, [&](Paths& paths) { paths.back().taps = {taps, index(count)}; });
    };
    const bool linear = Vantoro_block_linear(&block, &visitor) != 0;
    if (told.failure)
        std::rethrow_exception(told.failure);
    return linear ? std::optional(std::move(told.paths)) : std::nullopt;
}

std::complex<double> at(const Section& s, std::complex<double> z)
{
    return (s.b0 + z * (s.b1 + z * s.b2)) / (1.0 + z * (s.a1 + z * s.a2));
}

std::complex<double> at(const Path& path, double radians)
{
    const auto z = std::polar(1.0, -radians);
    std::complex<double> h = path.gain;
    if (path.delay > 0)
        h *= std::polar(1.0, -radians * path.delay);
    for (const Section& s : path.sections)
        h *= at(s, z);
    if (!path.taps.empty()) {
        std::complex<double> sum = 0;
        for (std::size_t k = path.taps.size(); k-- > 0;)
            sum = sum * z + static_cast<double>(path.taps[k]);
        h *= sum;
    }
    return h;
}

// ---- the graph ----

using Outputs = std::vector<std::vector<Spectrum>>;  // of each block, a spectrum a pin

class Propagation {
public:
    Propagation(const Engine& engine, int from, const Axis& axis)
        : engine_(engine), from_(from), axis_(axis), unity_(axis.bins.size(), 1.0),
          outputs_(engine.schematic().blocks.size())
    {}

    const Spectrum& at(const Feed& feed) const
    {
        if (feed.block >= 0)
            return outputs_[index(feed.block)][index(feed.pin)];
        return feed.block == Feed::kTerminal && feed.pin == from_ ? unity_ : silence_;
    }

    // False: the signal reaches the block, and no paths describe what it does there.
    bool visit(int number)
    {
        const Block& block = engine_.schematic().blocks[index(number)];
        auto& outputs = outputs_[index(number)];
        outputs.resize(index(block.pins.outputs));
        if (std::ranges::all_of(block.sources, [&](const Feed& feed) { return at(feed).empty(); }))
            return true;
        const auto paths = reaches_control(block) ? std::nullopt : paths_of(engine_.block(number));
        if (!paths) {
            std::ranges::fill(outputs, unity_);  // goes on, so that every such block is found
            return false;
        }
        for (const Path& path : *paths) {
            const Spectrum& in = at(block.sources[index(path.from)]);
            carry(in, path, outputs[index(path.to)]);
            if (!in.empty() && !std::ranges::all_of(path.sections, &Section::stable))
                unstable_.insert(block.id);
        }
        return true;
    }

    const std::set<std::string>& unstable() const { return unstable_; }

private:
    bool reaches_control(const Block& block) const
    {
        for (int pin = 0; pin < block.pins.inputs; ++pin)
            if (is_control(*block.type, pin, block.pins) && !at(block.sources[index(pin)]).empty())
                return true;
        return false;
    }

    void carry(const Spectrum& in, const Path& path, Spectrum& out) const
    {
        if (in.empty() || path.gain == 0)
            return;
        out.resize(in.size());
        for (std::size_t i = 0; i < in.size(); ++i)
            out[i] += in[i] * vantoro::at(path, axis_.radians(i));
    }

    const Engine& engine_;
    int from_;
    const Axis& axis_;
    Spectrum unity_, silence_;
    Outputs outputs_;
    std::set<std::string> unstable_;
};

}  // namespace

double Axis::radians(std::size_t i) const { return 2 * std::numbers::pi * bins[i] / size; }

Axis make_axis(int rate, int points_per_octave, std::span<const double> corners)
{
    constexpr double kLowest = 20;  // Hz
    constexpr double kCentre = 1000;
    constexpr int kSeconds = 4;  // a bin every 0.25 Hz
    Axis axis{rate, kSeconds * rate, {}};
    axis.size += axis.size % 2;
    while (!smooth(axis.size))
        axis.size += 2;
    const int last = axis.size / 2;
    const auto add = [&](double hz) {
        axis.bins.push_back(static_cast<int>(std::min<double>(last, std::round(hz * axis.size / rate))));
    };
    for (int i = static_cast<int>(std::floor(std::log2(kLowest / kCentre) * points_per_octave));
         axis.bins.empty() || axis.bins.back() < last; ++i)
        add(std::max(kLowest, kCentre * std::exp2(static_cast<double>(i) / points_per_octave)));
    for (const double hz : corners)
        if (hz >= kLowest && hz < rate / 2.0)
            add(hz);
    std::ranges::sort(axis.bins);
    axis.bins.erase(std::unique(axis.bins.begin(), axis.bins.end()), axis.bins.end());
    return axis;
}

Computed compute(const Engine& engine, int from, const Axis& axis)
{
    Propagation propagation(engine, from, axis);
    Computed result;
    for (const int number : engine.schematic().order)
        if (!propagation.visit(number))
            result.ids.push_back(engine.schematic().blocks[index(number)].id);
    for (const Feed& feed : engine.schematic().outputs)
        result.outputs.push_back(propagation.at(feed));
    result.unstable.assign(propagation.unstable().begin(), propagation.unstable().end());
    return result;
}

std::vector<Spectrum> sections_of(const Engine& engine, int block, const Axis& axis)
{
    std::vector<Spectrum> out;
    for (const Path& path : paths_of(engine.block(block)).value_or(Paths{}))
        if (path.from == 0 && path.to == 0)
            for (const Section& section : path.sections) {
                Spectrum& values = out.emplace_back(axis.bins.size());
                for (std::size_t i = 0; i < values.size(); ++i)
                    values[i] = at(section, std::polar(1.0, -axis.radians(i)));
            }
    return out;
}

}  // namespace vantoro
