// SPDX-License-Identifier: Apache-2.0
// One section per channel, also of a look-up filter between two fades, eight samples at a time in state space: eight
// outputs are a triangular matrix times eight inputs plus what the two numbers of state ring on with, and the state
// after eight samples is one matrix product away from the state before. So samples wait for one another in groups, not
// one by one. The state (law.h) is carried on in double precision.
#include "sections.h"

#include <algorithm>
#include <cmath>
#include <vantoro/vantoro_preprocess.h>

#include "../lib/filters/arranged.h"
#include "../lib/filters/look_up.h"
#include "../lib/filters/second_order.h"
#include "../lib/framework/owned.h"
#include "../lib/framework/params.h"
#include "../lib/kernels/recursion.h"
#include "../lib/kernels/section.h"
#include "doubles.h"
#include "law.h"

namespace vquiet {
namespace {

using namespace lbx;

constexpr int kGroup = 8;  // samples

struct State {
    double z1, z2;
};

LBX_INLINE double step(const Law& law, State& z, double x)
{
    const double y = std::fma(law.b0, x, z.z1);
    z = {std::fma(law.keep, z.z1, std::fma(law.b1, x, z.z2)),
         std::fma(law.couple, z.z1, std::fma(law.shift, z.z2, law.b2 * x))};
    return y;
}

// The same over eight samples.
struct alignas(32) Grouped {
    float from_input[kGroup][kGroup];  // [j][i]: input j in output i
    float from_state[2][kGroup];
    float to_state[2][kGroup];  // both sums, in the order of state_input()
    d2 on[2];                   // what z1 and z2 become
};

// Lanes 2k and 2k + 1 of [0] weigh samples 0, 1, 4, 5, those of [1] samples 2, 3, 6, 7.
constexpr int kFirst[] = {0, 1, 4, 5};

void design(Grouped& to, const Law& law)
{
    State ring = {0, 0};
    for (int n = 0; n < kGroup; ++n) {
        const auto h = static_cast<float>(step(law, ring, n == 0 ? 1.0 : 0.0));
        for (int j = 0; j < kGroup; ++j)
            if (j + n < kGroup)
                to.from_input[j][j + n] = h;
        const int sample = kGroup - 1 - n, row = sample / 2 % 2;
        const auto* at = std::find(kFirst, kFirst + 4, sample - 2 * row);
        to.to_state[row][2 * (at - kFirst)] = static_cast<float>(ring.z1);
        to.to_state[row][2 * (at - kFirst) + 1] = static_cast<float>(ring.z2);
    }
    for (int w = 0; w < 2; ++w) {
        State z = {w == 0 ? 1.0 : 0.0, w == 1 ? 1.0 : 0.0};
        for (float& out : to.from_state[w])
            out = static_cast<float>(step(law, z, 0.0));
        to.on[w] = d2{z.z1, z.z2};
    }
}

LBX_INLINE d2 state_input(const Grouped& by, f8 x)
{
    const f8 products =
        lbx::mul_add(mix<2, 2, 3, 3>(x, x), load<f8>(by.to_state[1]), mix<0, 0, 1, 1>(x, x) * load<f8>(by.to_state[0]));
    const f4 sums = lower(products) + upper(products);
    return widened(sums + mix<2, 3, 2, 3>(sums, sums));
}

// An output with its sign, 1 or -1, and never -0.
LBX_INLINE f8 signed_sum(f8 y, float sign) { return lbx::mul_add(y, every<f8>(sign), f8{}); }

// Whole groups of as many channels, side by side. Inputs after an output have a weight of 0 in it; all that they could
// change is the sign of a 0, and no output has one.
template <int kChannels>
LBX_KERNEL void run_groups(const Grouped& by, State* state, const float* const* in, float* const* out, int n,
                           float sign)
{
    d2 z[kChannels];
    repeat<kChannels>([&](auto c) { z[c] = d2{state[c].z1, state[c].z2}; });
    for (int i = 0; i < n; i += kGroup) {
        f8 ringing[kChannels], odd[kChannels];  // what the state gives, and inputs with even numbers; the other inputs
        repeat<kChannels>([&](auto c) {
            const f4 now = narrowed(z[c]);
            ringing[c] = lbx::mul_add(every<f8>(now[1]), load<f8>(by.from_state[1]),
                                      every<f8>(now[0]) * load<f8>(by.from_state[0]));
            odd[c] = f8{};
            const d2 fresh = state_input(by, load<f8>(in[c] + i));
            z[c] = mul_add(d2{z[c][0], z[c][0]}, by.on[0], mul_add(d2{z[c][1], z[c][1]}, by.on[1], fresh));
        });
        repeat<kGroup>([&](auto j) {
            const f8 row = load<f8>(by.from_input[j]);
            repeat<kChannels>([&](auto c) {
                f8& sum = j % 2 == 0 ? ringing[c] : odd[c];
                sum = lbx::mul_add(every<f8>(in[c][i + j]), row, sum);
            });
        });
        repeat<kChannels>([&](auto c) { store(out[c] + i, signed_sum(ringing[c] + odd[c], sign)); });
    }
    repeat<kChannels>([&](auto c) { state[c] = {z[c][0], z[c][1]}; });
}

// What eight channels' samples of one group add to z1 (word 0) or z2 (1), as state_input() adds it up.
LBX_INLINE d8 state_input(const Grouped& by, int word, const f8 (&x)[kGroup])
{
    const auto weighed = [&](int pair) {
        const int sample = kFirst[pair], lane = 2 * pair + word;
        return lbx::mul_add(x[sample + 2], every<f8>(by.to_state[1][lane]),
                            x[sample] * every<f8>(by.to_state[0][lane]));
    };
    return widened((weighed(0) + weighed(2)) + (weighed(1) + weighed(3)));
}

// Output i, as run_groups() adds it up, without the inputs that come after it.
template <int i>
LBX_INLINE f8 output(const Grouped& by, f8 z1, f8 z2, const f8 (&x)[kGroup])
{
    f8 ringing = lbx::mul_add(z2, every<f8>(by.from_state[1][i]), z1 * every<f8>(by.from_state[0][i])), odd = {};
    repeat<i + 1>([&](auto j) {
        f8& sum = j % 2 == 0 ? ringing : odd;
        sum = lbx::mul_add(x[j], every<f8>(by.from_input[0][i - j]), sum);
    });
    return ringing + odd;
}

// Eight channels, a lane each: the bits of run_groups(), in fewer operations.
LBX_KERNEL void run_eight(const Grouped& by, State* state, const float* const* in, float* const* out, int n, float sign)
{
    d8 z1 = vquiet::lanes_of([&](int c) { return state[c].z1; });
    d8 z2 = vquiet::lanes_of([&](int c) { return state[c].z2; });
    for (int i = 0; i < n; i += kGroup) {
        f8 x[kGroup], y[4];
        repeat<2>([&](auto h) {
            load_four(in, i + 4 * h, y);
            repeat<4>([&](auto k) { x[4 * h + k] = y[k]; });
        });
        const f8 now1 = narrowed(z1), now2 = narrowed(z2);
        keep_order();
        // The state before the outputs: its inputs need not wait in registers.
        const d8 next = mul_add(z1, by.on[0][0], mul_add(z2, by.on[1][0], state_input(by, 0, x)));
        z2 = mul_add(z1, by.on[0][1], mul_add(z2, by.on[1][1], state_input(by, 1, x)));
        z1 = next;
        keep_order();
        repeat<2>([&](auto h) {
            repeat<4>([&](auto k) { y[k] = signed_sum(output<4 * h + k>(by, now1, now2, x), sign); });
            store_four(out, i + 4 * h, y);
            keep_order();
        });
    }
    each_lane(z1, [&](int c, double z) { state[c].z1 = z; });
    each_lane(z2, [&](int c, double z) { state[c].z2 = z; });
}

// Samples that fill no group, and all of a section whose groups overflow.
void run_steps(const Law& law, State& state, const float* in, float* out, int n, float sign)
{
    for (int i = 0; i < n; ++i)
        out[i] = sign * static_cast<float>(step(law, state, static_cast<double>(in[i])));
}

// What two documented words are.
State state_of(const Law& law, const float* words)
{
    return {words[0], static_cast<double>(words[1]) + law.shift * words[0]};
}

// What a block runs, whatever its type.
struct Record {
    const float* coeff;
    float* words;  // kSosWords for every channel
    int channels;
    bool negate;
    int controls;  // pins before the first channel's
};

Record record_of(const SecondOrder_Core* core, const BlockAlgo* blk)
{
    return {core->coeffArray, core->stateBuffer, blk->nInputs, core->polarity != 0, 0};
}
// Of the curve that is heard.
Record record_of(const LookUp_Core* core, const BlockAlgo* blk)
{
    const float* curve = core->coeffArray + std::ptrdiff_t{kSosCoeffs} * core->idx_pre;
    return {curve, core->stateBuffer_pre, blk->nOutputs, false, 1};
}
bool is_look_up(int type) { return type >= EN_FILTER_LOOKUP_TONE_PEAK && type <= EN_FILTER_LOOKUP_BUTTER_BESSEL; }
Record record_of(const BlockAlgo* blk)
{
    return is_look_up(blk->method_type) ? record_of(static_cast<const LookUp_Core*>(blk->AlgoCore), blk)
                                        : record_of(static_cast<const SecondOrder_Core*>(blk->AlgoCore), blk);
}

// Whether the block is not one section now: a copy, or a fade between two.
bool runs_documented(const BlockAlgo* blk, const float* const* in)
{
    if (!is_look_up(blk->method_type))
        return static_cast<const SecondOrder_Core*>(blk->AlgoCore)->enable == 0;
    auto* core = static_cast<LookUp_Core*>(blk->AlgoCore);
    if (core->num_curves == 0 || blk->block_pro->nBlockSize < 1)
        return true;
    const int curve = std::max(std::min(to_int(in[0][0]), core->num_curves - 1), 0);
    if (curve != core->idx_pre)
        return true;
    core->idx_now = curve;
    return false;
}

struct Sections : VantoroQuiet {
    float coeff[kSosCoeffs] = {};  // what the rest was designed from
    Law law = {};
    Grouped grouped = {};
    bool groups = false;          // all of it is finite
    owned::Array<State> state;    // by channel
    owned::Array<float> written;  // the words that were last put into the record
};

bool all_finite(const Grouped& by)
{
    float none = 0;  // NaN after a number that is not finite
    const auto add = [&](const auto& rows) {
        for (const auto& row : rows)
            for (const float v : row)
                none += 0.0F * v;
    };
    add(by.from_input);
    add(by.from_state);
    add(by.to_state);
    for (const d2& row : by.on)
        none += 0.0F * static_cast<float>(row[0] + row[1]);
    return none == 0.0F;
}

// The states go on: their coordinates follow the shift.
[[gnu::cold]] void redesign(Sections* own, const float* coeff, int channels)
{
    const double before = own->law.shift;
    std::copy_n(coeff, kSosCoeffs, own->coeff);
    own->law = law_of(coeff, mean_of_poles(coeff));
    own->grouped = {};
    design(own->grouped, own->law);
    own->groups = all_finite(own->grouped);
    for (int c = 0; c < channels; ++c)
        own->state.get()[c].z2 += (own->law.shift - before) * own->state.get()[c].z1;
}

// What the host or the documented arithmetic left in the record.
void read_words(Sections* own, const float* words, int channels)
{
    for (int c = 0; c < channels; ++c, words += kSosWords)
        if (!same_words(words, &own->written.get()[kSosWords * c]))
            own->state.get()[c] = state_of(own->law, words);
}

void write_words(Sections* own, float* words, int channels)
{
    for (int c = 0; c < channels; ++c, words += kSosWords) {
        const State& z = own->state.get()[c];
        words[0] = own->written.get()[kSosWords * c] = static_cast<float>(z.z1);
        words[1] = own->written.get()[kSosWords * c + 1] = static_cast<float>(z.z2 - own->law.shift * z.z1);
    }
}

void run(Sections* own, const float* const* in, float* const* out, int channels, int n, float sign)
{
    const int whole = own->groups ? n - n % kGroup : 0;
    int c = 0;
    for (; c + 8 <= channels; c += 8)
        run_eight(own->grouped, own->state.get() + c, in + c, out + c, whole, sign);
    for (; c + 2 <= channels; c += 2)
        run_groups<2>(own->grouped, own->state.get() + c, in + c, out + c, whole, sign);
    if (c < channels)
        run_groups<1>(own->grouped, own->state.get() + c, in + c, out + c, whole, sign);
    for (c = 0; whole < n && c < channels; ++c)
        run_steps(own->law, own->state.get()[c], in[c] + whole, out[c] + whole, n - whole, sign);
}

int process(VantoroQuiet* quiet, float** in, float** out)
{
    auto* own = static_cast<Sections*>(quiet);
    const BlockAlgo* blk = own->block;
    if (runs_documented(blk, in))
        return BlockAlgo_process(own->block, in, out);
    const Record record = record_of(blk);
    if (!same_floats(record.coeff, own->coeff, kSosCoeffs))
        redesign(own, record.coeff, record.channels);
    read_words(own, record.words, record.channels);
    run(own, in + record.controls, out, record.channels, blk->block_pro->nBlockSize, record.negate ? -1.0F : 1.0F);
    write_words(own, record.words, record.channels);
    return RT_OK;
}

// From the record's words on.
bool prepare(VantoroQuiet* quiet)
{
    auto* own = static_cast<Sections*>(quiet);
    const auto channels = static_cast<std::size_t>(own->block->nOutputs);
    return own->state || (owned::zeros(own->state, channels) && owned::zeros(own->written, kSosWords * channels));
}

void clear(VantoroQuiet* quiet)
{
    auto* own = static_cast<Sections*>(quiet);
    const int channels = own->block->nOutputs;
    std::fill_n(own->state.get(), channels, State{});
    std::fill_n(own->written.get(), kSosWords * channels, 0.0F);
}

VantoroQuiet* create(BlockAlgo*) { return owned::make<Sections>(); }
void destroy(VantoroQuiet* quiet) { owned::unmake(static_cast<Sections*>(quiet)); }

constexpr Form kSections = {create, prepare, process, clear, destroy};

}  // namespace

const Form* section_form(int type)
{
    const bool one = (type >= EN_FILTER_2ND_GENERAL && type <= EN_FILTER_2ND_FIRSTORDERS) ||
                     type == EN_FILTER_NONBARE || is_look_up(type);
    return one ? &kSections : nullptr;
}

}  // namespace vquiet
