// SPDX-License-Identifier: Apache-2.0
// Impulse and frequency responses from a recording of a sweep: a loudspeaker in a room, or anything with an input and
// an output.
#pragma once

#include <span>

#include "analysis/sweep.h"

namespace vantoro {

// What is played: the sweep begins an octave below the range and ends a little above it, and is faded there, so that
// its level is even within. The frequencies of `sweep` are those of the whole; so is its length.
struct TestSignal {
    Sweep sweep;
    double lowest, highest;  // Hz: the range
};
TestSignal test_signal(int rate, double lowest, double highest, double seconds, double level_db);
std::vector<float> samples_of(const TestSignal& test);

// ---- time ----

struct Window {
    double before, after;  // s, around the arrival; flat in its inner halves, and half a cosine in each outer one
};

// Below the range a causal high-pass ends it, so that nothing rings before the arrival.
struct Impulse {
    int rate;
    Signal samples;  // a circle: what arrives before time 0 is at the end
    std::size_t peak;
    double arrival;        // in samples; between them by a parabola
    double harmonic_lead;  // s by which the second harmonic arrives early
};
// From the recording of a test signal; time 0 is the beginning of the recording. `stimulus` is what was played. A
// `foreign` one, which a file gave, may be weak beside the range of the test.
Impulse impulse_of(std::span<const float> recording, std::span<const float> stimulus, const TestSignal& test,
                   bool foreign);

// A frequency of the range, in Hz, at which a stimulus has next to nothing; 0: none.
double weakest_hz(std::span<const float> stimulus, const TestSignal& test);

// The most of a window before the arrival, in s, that keeps harmonics out.
double most_before(const Impulse& impulse);

// The samples within the window, and the first one's place in time.
struct Windowed {
    Signal samples;
    double start, arrival;  // in samples
};
Windowed windowed(const Impulse& impulse, Window window);

// How far noise lies under the response, in dB: what the window would let in from halfway between the response and the
// second harmonic, where there is nothing else.
double signal_to_noise_db(const Impulse& impulse, Window window);

// ---- frequency ----

// The response within `lowest` to `highest` Hz re that of `plain`; not a number elsewhere. `plain` is what the stimulus
// itself would give at time 0, so that neither the ends of the range nor the window count. `octaves`: levels are
// averaged over so much, as powers, and phases as of the sum; 0: not at all. `delay` (in samples) is taken out of the
// phase.
Spectrum response_of(const Windowed& response, const Windowed& plain, const Axis& axis, double lowest, double highest,
                     double octaves, double delay);

// Rows of frequency, dB and degrees, as read_speaker takes them, with `heading` before them as a comment.
std::string frd_text(const Axis& axis, const Spectrum& values, const std::string& heading);

}  // namespace vantoro
