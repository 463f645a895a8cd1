// SPDX-License-Identifier: Apache-2.0
#include "analysis/measure.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include "analysis/sweep.h"

namespace vantoro {

namespace {

constexpr double kSettleSeconds = 2;
constexpr double kLongestWindow = 64;  // s
constexpr double kPatience = 300;      // s of audio
constexpr double kTail = 1e-10;        // of the energy: what may still ring in the last eighth of a window
constexpr double kNoise = 1e-6;        // of the energy: what may be there at the end, if it does not fall any more
constexpr double kSame = 1e-4;         // of an output's peak: 0.001 dB

std::size_t index(int n) { return static_cast<std::size_t>(n); }

// The graph twice: on the stimulus, and on silence.
class Pair {
public:
    Pair(const Schematic& schematic, int rate, int from, std::function<void(std::int64_t)> progress)
        : heard_(schematic, rate), silent_(schematic, rate), from_(index(from)), progress_(std::move(progress))
    {}

    double seconds() const { return static_cast<double>(blocks_) * heard_.block_size() / heard_.rate(); }
    int outputs() const { return heard_.outputs(); }

    // What `stimulus`, and silence after it, makes of each output: `length` samples.
    std::vector<Signal> respond(std::span<const float> stimulus, std::size_t length)
    {
        std::vector<Signal> response(index(outputs()));
        float* in = heard_.input()[from_];
        const std::size_t size = index(heard_.block_size());
        for (std::size_t done = 0; done < length; done += size) {
            const std::size_t fed = std::min(size, stimulus.size() - std::min(done, stimulus.size()));
            std::fill_n(std::copy_n(stimulus.data() + (fed > 0 ? done : 0), fed, in), size - fed, 0.0F);
            run(heard_);
            run(silent_);
            ++blocks_;
            if (progress_)
                progress_(blocks_ * heard_.block_size());
            for (std::size_t out = 0; out < response.size(); ++out)
                add(response[out], heard_.output()[out], silent_.output()[out], std::min(size, length - done));
        }
        std::fill_n(in, size, 0.0F);
        return response;
    }

private:
    static void run(Engine& engine)
    {
        if (!engine.process())
            throw std::runtime_error(engine.failure());
        if (engine.faulty())
            throw std::runtime_error("an output is not a finite number: a filter on the way is unstable");
    }

    static void add(Signal& signal, const float* heard, const float* silent, std::size_t n)
    {
        for (std::size_t i = 0; i < n; ++i)
            signal.push_back(static_cast<double>(heard[i]) - static_cast<double>(silent[i]));
    }

    Engine heard_, silent_;
    std::size_t from_;
    std::function<void(std::int64_t)> progress_;
    std::int64_t blocks_ = 0;
};

double energy(std::span<const double> signal)
{
    double sum = 0;
    for (const double x : signal)
        sum += x * x;
    return sum;
}

bool silent(std::span<const double> signal)
{
    return std::ranges::all_of(signal, [](double x) { return x == 0; });
}

// Whether a response is over within its window. Filters at low corners leave noise of their own, down to -60 dB, which
// no window is long enough for: it is as loud in the last eighth as in the middle.
bool ended(const Signal& response)
{
    const std::size_t eighth = response.size() / 8;
    const double all = energy(response);
    const double last = energy(std::span(response).last(eighth));
    return last <= kTail * all ||
           (last <= kNoise * all && 2 * last >= energy(std::span(response).subspan(4 * eighth, eighth)));
}

// ---- transforms ----

// The axis' frequencies of an impulse response as long as a multiple of its transform.
Spectrum on_axis(const Signal& response, const Axis& axis)
{
    if (silent(response))
        return {};
    const Spectrum all = transform(response);
    const std::size_t every = all.size() / index(axis.size);
    Spectrum values;
    for (const int bin : axis.bins)
        values.push_back(all[index(bin) * every]);
    return values;
}

// ---- stimuli ----

// The second half holds the harmonics.
Signal first_half(Signal signal)
{
    signal.resize(signal.size() / 2);
    return signal;
}

std::vector<Signal> impulse_responses(Pair& pair, std::size_t length, const Axis& axis, Stimulus stimulus,
                                      double level_db)
{
    if (stimulus == Stimulus::impulse)
        return pair.respond(std::vector{1.0F}, length);
    constexpr double kStart = 5;  // Hz: an octave and more below the lowest frequency of interest
    const std::vector<float> signal = samples_of({axis.rate, kStart, axis.rate / 2.0, length, level_db});
    std::vector<Signal> responses = pair.respond(signal, 2 * length);
    for (Signal& response : responses)
        if (silent(response))
            response.resize(length);
        else
            response = first_half(deconvolved(response, signal, [](double) { return 1.0; }));
    return responses;
}

// ---- whether a measurement can be believed ----

bool same(const Spectrum& a, const Spectrum& b)
{
    double peak = 0;
    double difference = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        peak = std::max(peak, std::abs(a[i]));
        difference = std::max(difference, std::abs(a[i] - b[i]));
    }
    return a.size() == b.size() && difference <= kSame * peak;
}

bool same(const std::vector<Spectrum>& a, const std::vector<Spectrum>& b)
{
    return std::ranges::equal(a, b, [](const Spectrum& x, const Spectrum& y) { return same(x, y); });
}

}  // namespace

std::vector<Spectrum> measure(const Schematic& schematic, int from, const Axis& axis, Stimulus stimulus,
                              double level_db, std::function<void(std::int64_t)> progress)
{
    Pair pair(schematic, axis.rate, from, std::move(progress));
    pair.respond({}, static_cast<std::size_t>(kSettleSeconds * axis.rate));
    std::vector<Spectrum> before;
    std::size_t length = index(axis.size);
    while (pair.seconds() < kPatience) {
        const std::vector<Signal> responses = impulse_responses(pair, length, axis, stimulus, level_db);
        if (const auto ringing = std::ranges::find_if_not(responses, ended); ringing != responses.end()) {
            length *= 2;
            if (static_cast<double>(length) > kLongestWindow * axis.rate)
                throw std::runtime_error("output " + std::to_string(ringing - responses.begin()) +
                                         ": the response does not die away within " +
                                         std::to_string(static_cast<int>(kLongestWindow)) +
                                         " s; a higher --level lifts more of it above noise");
            continue;
        }
        std::vector<Spectrum> now(responses.size());
        std::ranges::transform(responses, now.begin(), [&](const Signal& response) { return on_axis(response, axis); });
        if (same(before, now))
            return now;
        before = std::move(now);
    }
    throw std::runtime_error("the response still changes after " + std::to_string(static_cast<int>(kPatience)) +
                             " s: a gain on the way keeps moving");
}

}  // namespace vantoro
