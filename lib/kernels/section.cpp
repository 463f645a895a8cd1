// SPDX-License-Identifier: Apache-2.0
// What carries the recursion over a block is in section_drivers.h, and for one section in recursion.h:
// each_recursion(), whose lanes are channels. Meters and fades have loops of their own.
#include "section.h"

#include <algorithm>
#include <cstddef>

#include "recursion.h"
#include "section_drivers.h"

namespace lbx {

template <template <class> class Section>
void run_sections(const float* coeff, float* state, const float* const* in, float* const* out, int channels, int n,
                  bool negate)
{
    constexpr int kWords = Section<float>::kWords;
    float* words[kWords];
    repeat<kWords>([&](auto w) { words[w] = state + w; });
    each_recursion(words, kWords, in, out, channels, n, [=](auto lanes) {
        using V = decltype(lanes);
        return [section = section_of<Section, V>(coeff), signs = every<V>(sign_bit(negate))](V* word, V x, int) {
            return flip(filter(section, word, x), signs);
        };
    });
}
template void run_sections<SecondOrder>(const float*, float*, const float* const*, float* const*, int, int, bool);
template void run_sections<FirstOrder>(const float*, float*, const float* const*, float* const*, int, int, bool);

void run_cascade(const Cascade& cascade, int first, const float* const* in, float* const* out, int channels, int n)
{
    drive_cascade<SecondOrder>(cascade, first, in, out, channels, n);
}

void run_split(const Split& split, float* state, const float* const* in, float* const* out, int channels, int n,
               float* scratch)
{
    drive_split<SecondOrder>(split, state, in, out, channels, n, scratch);
}

// ---- two curves: the first four lanes of a packet are the old one, the others the new one

namespace {

LBX_KERNEL void fade_four(const Curve& from, const Curve& to, float gain, float step, const Lanes& lanes, int n)
{
    SecondOrder<f8> section;
    const auto state_of = [&](int l) { return (l < 4 ? from : to).state + lanes.place[l]; };
    read_section(
        section, [&](int j) { return join(every<f4>(from.coeff[j]), every<f4>(to.coeff[j])); }, state_of);
    each_sample<f4>(lanes.in, lanes.out, n, [&](f4 x, int) {
        gain += step;
        const f8 y = section.step(join(x, x));
        return gain * lower(y) + (1.0F - gain) * upper(y);
    });
    write_state(section, state_of);
}

}  // namespace

void run_fade(const Curve& from, const Curve& to, float gain, float step, const float* const* in, float* const* out,
              int channels, int n)
{
    for (int c = 0; c < channels; c += 4) {
        Lanes lanes;
        for (int l = 0; l < 8; ++l) {
            const int k = std::min(c + l % 4, channels - 1);
            lanes.set(l, in[k], out[k], std::ptrdiff_t{kSosWords} * k, 1);
        }
        fade_four(from, to, gain, step, lanes, n);
    }
}

// ---- meters: lanes are bands

namespace {

template <int kPackets>
LBX_KERNEL void bank_lanes(const Bank& bank, float* state, const float* in, int n, float* sums)
{
    SecondOrder<f8> section[kPackets];
    f8 sum[kPackets] = {};
    repeat<kPackets>([&](auto p) {
        read_section(
            section[p], [&](int j) { return load<f8>(bank.coeff[p][j]); },
            [&](int l) { return state + kSosWords * (8 * p + l); });
    });
    for (int i = 0; i < n; ++i)
        repeat<kPackets>([&](auto p) {
            const f8 y = section[p].step(every<f8>(in[i]));
            sum[p] = mul_add(y, y, sum[p]);
        });
    repeat<kPackets>([&](auto p) {
        float idle[kSosWords];  // lanes that have run, too
        write_state(section[p], [&](int l) { return 8 * p + l < bank.bands ? state + kSosWords * (8 * p + l) : idle; });
        store(sums + 8 * p, sum[p]);
    });
}

}  // namespace

void run_bank(const Bank& bank, float* state, const float* in, int n, float* sums)
{
    if (bank.bands > 8)
        bank_lanes<2>(bank, state, in, n, sums);
    else if (bank.bands > 0)
        bank_lanes<1>(bank, state, in, n, sums);
}

}  // namespace lbx
