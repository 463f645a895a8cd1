// SPDX-License-Identifier: Apache-2.0
#include "section.h"

#include <algorithm>

#include "new_block.h"

namespace lbx {

// Four sections of a cascade.
struct CascadeLanes {
    float coeff[5][4];
    int band[4];
};

namespace {

// One section, one channel.
template <auto Tick>
void run_plain(const float* coeff, float* state, const float* in, float* out, int n, bool negate)
{
    for (int i = 0; i < n; ++i) {
        const float y = Tick(coeff, state, in[i]);
        out[i] = negate ? -y : y;
    }
}

}  // namespace

void run_sections(const float* coeff, float* state, const float* const* in, float* const* out, int channels, int n,
                  bool negate)
{
    for (int c = 0; c < channels; ++c)
        run_plain<second_order>(coeff, state + 2 * c, in[c], out[c], n, negate);
}

void run_first_orders(const float* coeff, float* state, const float* const* in, float* const* out, int channels, int n,
                      bool negate)
{
    for (int c = 0; c < channels; ++c)
        run_plain<first_order>(coeff, state + c, in[c], out[c], n, negate);
}

void run_fade(const Curve& from, const Curve& to, float gain, float step, const float* const* in, float* const* out,
              int channels, int n)
{
    for (int c = 0; c < channels; ++c) {
        float g = gain;
        for (int i = 0; i < n; ++i) {
            g += step;
            const float x = in[c][i];
            const float y_old = second_order(from.coeff, from.state + 2 * c, x);
            const float y_new = second_order(to.coeff, to.state + 2 * c, x);
            out[c][i] = g * y_old + (1.0F - g) * y_new;
        }
    }
}

bool reserve(Cascade& cascade, int sections)
{
    const int lanes = sections / 4 + 1;
    if (lanes <= cascade.capacity)
        return true;
    if (!resize(cascade.lanes, cascade.capacity, lanes))
        return false;
    cascade.capacity = lanes;
    return true;
}

void release(Cascade& cascade)
{
    std::free(cascade.lanes);
    cascade = {};
}

void clear(Cascade& cascade, int sections) { cascade.sections = sections; }

void place(Cascade& cascade, int at, const float* coeff, int band)
{
    CascadeLanes& lanes = cascade.lanes[at / 4];
    for (int j = 0; j < 5; ++j)
        lanes.coeff[j][at % 4] = coeff[j];
    lanes.band[at % 4] = band;
}

void run_cascade(const Cascade& cascade, float* state, std::ptrdiff_t words_per_channel, const float* const* in,
                 float* const* out, int channels, int n)
{
    for (int c = 0; c < channels; ++c) {
        std::copy(in[c], in[c] + n, out[c]);
        for (int at = 0; at < cascade.sections; ++at) {
            const CascadeLanes& lanes = cascade.lanes[at / 4];
            float coeff[5];
            for (int j = 0; j < 5; ++j)
                coeff[j] = lanes.coeff[j][at % 4];
            float* s = state + words_per_channel * c + std::ptrdiff_t{2} * lanes.band[at % 4];
            run_plain<second_order>(coeff, s, out[c], out[c], n, false);
        }
    }
}

void set_bank(Bank& bank, const float* coeff, int bands)
{
    bank.bands = bands;
    for (int k = 0; k < bands; ++k)
        for (int j = 0; j < 5; ++j)
            bank.coeff[k / 8][j][k % 8] = coeff[5 * k + j];
}

void run_bank(const Bank& bank, float* state, const float* in, int n, float* sums)
{
    for (int k = 0; k < bank.bands; ++k) {
        float coeff[5];
        for (int j = 0; j < 5; ++j)
            coeff[j] = bank.coeff[k / 8][j][k % 8];
        sums[k] = 0.0F;
        for (int i = 0; i < n; ++i) {
            const float y = second_order(coeff, state + 2 * k, in[i]);
            sums[k] = std::fma(y, y, sums[k]);
        }
    }
}

void set_split(Split& split, const float* coeff, const SplitBand* band, int bands)
{
    split.bands = bands;
    split.depth = 0;
    int sections = 0;
    for (int b = 0; b < bands; ++b) {
        split.sections[b] = band[b].sections;
        split.negate[b] = band[b].negate;
        split.depth = std::max(split.depth, band[b].sections);
        for (int k = 0; k < band[b].sections; ++k)
            for (int j = 0; j < 5; ++j)
                split.coeff[k][j][b] = coeff[5 * (sections + k) + j];
        sections += band[b].sections;
    }
    split.words_per_channel = 2 * sections;
}

void run_split(const Split& split, float* state, const float* const* in, float* const* out, int channels, int n,
               float* scratch)
{
    for (int start = 0; start < n; start += kSplitTile) {
        const int m = std::min(kSplitTile, n - start);
        for (int c = 0; c < channels; ++c)
            std::copy(in[c] + start, in[c] + start + m, scratch + kSplitTile * c);
        for (int c = 0; c < channels; ++c) {
            float* s = state + split.words_per_channel * c;
            for (int b = 0; b < split.bands; ++b) {
                for (int i = 0; i < m; ++i) {
                    float y = scratch[kSplitTile * c + i];
                    for (int k = 0; k < split.sections[b]; ++k) {
                        float coeff[5];
                        for (int j = 0; j < 5; ++j)
                            coeff[j] = split.coeff[k][j][b];
                        y = second_order(coeff, s + 2 * k, y);
                    }
                    out[split.bands * c + b][start + i] = split.negate[b] ? -y : y;
                }
                s += 2 * split.sections[b];
            }
        }
    }
}

}  // namespace lbx
