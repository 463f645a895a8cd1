// SPDX-License-Identifier: Apache-2.0
// Equalisers and crossovers: sections in series, sample by sample in the library's own drivers, which keep lanes full
// of sections and of channels. The step is the one of law.h with a shift of 1, 0 or -1, which takes no product: as many
// operations as the documented one, and fewer that wait for one another.
#include "cascades.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vantoro/vantoro_preprocess.h>

#include "../lib/filters/arranged.h"
#include "../lib/filters/crossover.h"
#include "../lib/filters/graphical_eq.h"
#include "../lib/filters/text_eq.h"
#include "../lib/framework/owned.h"
#include "../lib/kernels/section.h"
#include "../lib/kernels/section_drivers.h"
#include "bits.h"
#include "law.h"

namespace vquiet {
namespace {

using namespace lbx;

// As Law has it, in single precision. The last coefficient is the mask of a shift that is not 0; its sign is that of
// `keep`, and looked at only where there are shifts of -1.
template <class V, bool kSigned>
struct Shifted {
    static constexpr int kCoeffs = 6, kWords = kSosWords;
    V coeff[kCoeffs];
    V state[kWords];

    LBX_INLINE V step(V x)
    {
        const auto& [b0, b1, b2, keep, couple, shifts] = coeff;
        auto& [z1, z2] = state;
        const V y = mul_add(b0, x, z1);
        const V next = mul_add(keep, z1, mul_add(b1, x, z2));
        V shifted = bits_of_both(z2, shifts);
        if constexpr (kSigned)
            shifted = flip(shifted, bits_of_both(keep, every<V>(-0.0F)));
        z2 = mul_add(couple, z1, mul_add(b2, x, shifted));
        z1 = next;
        return y;
    }
};
template <class V>
struct Positive : Shifted<V, false> {};
template <class V>
struct Signed : Shifted<V, true> {};
constexpr int kCoeffs = Positive<float>::kCoeffs;

// Poles that are not near 1 or -1 need no shift. Any other makes differences of what would cancel, and rounds next to
// nothing of the feedback. Where poles are real, what rounding takes from b1 goes into b2: at the end of the band where
// the poles are, a small difference of the two decides.
Law rounded_law(const float* coeff)
{
    const double mean = mean_of_poles(coeff), end = std::copysign(1.0, mean);
    const Law near = law_of(coeff, end);
    Law law = std::fabs(mean) > 0.5 && std::fabs(near.couple) < 0.5 ? near : law_of(coeff, 0);
    if (mean * mean > static_cast<double>(coeff[4]))
        law.b2 += (law.b1 - static_cast<double>(static_cast<float>(law.b1))) * (end - law.shift);
    return law;
}

// What a block's record says, whatever its type.
struct Record {
    int sections;        // per channel
    const float* coeff;  // kSosCoeffs each
    float* words;        // kSosWords for every section of channel 0, then of channel 1 ...
    const float* flags;  // of the sections; null: all run
    bool run_if_set;     // what a flag says
    int bands;           // of a crossover; else 0
    SplitBand band[Split::kMaxBands];
    float* last_inputs;

    bool runs(int k) const { return !flags || (flags[k] != 0.0F) == run_if_set; }
};

LBX_INLINE Record crossover(const Crossover2Way_Core* core)
{
    return {core->sos_low + core->sos_high,
            core->coeffArray,
            core->stateArray,
            nullptr,
            false,
            2,
            {{core->sos_low, core->invert1 != 0}, {core->sos_high, false}},
            core->inputBuffer};
}
LBX_INLINE Record crossover(const Crossover3Way_Core* core)
{
    const int mid = core->sos_med_lp + core->sos_med_hp;
    return {core->sos_low + core->sos_high + mid,
            core->coeffArray,
            core->stateArray,
            nullptr,
            false,
            3,
            {{core->sos_low, core->invert1 != 0}, {core->sos_high, false}, {mid, core->invert2 != 0}},
            core->inputBuffer};
}

LBX_INLINE Record record_of(const BlockAlgo* blk)
{
    const void* core = blk->AlgoCore;
    const auto equaliser = [blk](const auto* eq, bool run_if_set) {
        return Record{eq->numFilter, eq->coeffArray, eq->stateBuffer, blk->pStateC, run_if_set, 0, {}, nullptr};
    };
    switch (blk->method_type) {
    case EN_FILTER_GRAPHICAL_EQ:
        return equaliser(static_cast<const GraphicalEQ_Core*>(core), false);
    case EN_FILTER_TEXTEQ:
        return equaliser(static_cast<const TextEQ_Core*>(core), true);
    case EN_FILTER_CROSSOVER_2WAY:
        return crossover(static_cast<const Crossover2Way_Core*>(core));
    default:
        return crossover(static_cast<const Crossover3Way_Core*>(core));
    }
}

struct Cascades : VantoroQuiet {
    int sections = -1;             // there is room for
    owned::Array<float> arranged;  // coefficients, then flags, of what follows
    owned::Array<float> coeff;     // as Shifted has them
    owned::Array<float> state;     // as the record's words lie
    owned::Array<float> turn;      // likewise: 0 and its shift for every section that runs, else 0
    bool has_signs = false;        // a shift is -1
    owned::Array<CascadeGroup> groups;
    owned::Array<float> tile;
    Cascade cascade = {};
    Split split = {};
};

std::ptrdiff_t words_per_channel(const Cascades* own) { return std::ptrdiff_t{kSosWords} * own->sections; }
std::ptrdiff_t all_words(const Cascades* own) { return words_per_channel(own) * own->block->nInputs; }

// The record's words from `at` on, as the states have them.
template <class V>
LBX_INLINE V words_of(const Cascades* own, std::ptrdiff_t at)
{
    const V z = load<V>(own->state.get() + at);
    return mul_sub(load<V>(own->turn.get() + at), mix<0, 0, 2, 2>(z, z), z);
}
LBX_INLINE float second_word(const Cascades* own, std::ptrdiff_t at)
{
    return mul_sub(own->turn.get()[at + 1], own->state.get()[at], own->state.get()[at + 1]);
}

[[gnu::cold, gnu::noinline]] void take_words(Cascades* own, const float* words)
{
    for (std::ptrdiff_t at = 0; at < all_words(own); at += kSosWords) {
        const float now[] = {own->state.get()[at], second_word(own, at)};
        if (same_words(words + at, now))
            continue;
        own->state.get()[at] = words[at];
        own->state.get()[at + 1] = mul_add(own->turn.get()[at + 1], words[at], words[at + 1]);
    }
}

// What the host or the documented arithmetic left in the record.
LBX_INLINE void read_words(Cascades* own, const float* words)
{
    f8 other = {};
    const bool some = each_eight(all_words(own), [&](std::ptrdiff_t at) LBX_INLINED {
        other = differing(other, load<f8>(words + at), words_of<f8>(own, at));
    });
    if (!some || !none(other))
        take_words(own, words);
}

LBX_INLINE void write_words(const Cascades* own, float* words)
{
    const std::ptrdiff_t n = all_words(own);
    if (each_eight(n, [&](std::ptrdiff_t at) LBX_INLINED { store(words + at, words_of<f8>(own, at)); }))
        return;
    for (std::ptrdiff_t at = 0; at < n; at += kSosWords) {
        words[at] = own->state.get()[at];
        words[at + 1] = second_word(own, at);
    }
}

// The states go on: their coordinates follow the shift. Those of a section that does not run are the documented
// words themselves, and so stay as they are.
void redesign_section(Cascades* own, const float* from, int k, bool runs)
{
    const Law law = rounded_law(from);
    const float all[kCoeffs] = {static_cast<float>(law.b0),     static_cast<float>(law.b1),
                                static_cast<float>(law.b2),     static_cast<float>(law.keep),
                                static_cast<float>(law.couple), std::bit_cast<float>(law.shift == 0 ? 0 : -1)};
    std::copy_n(all, kCoeffs, &own->coeff.get()[kCoeffs * k]);
    own->has_signs |= law.shift < 0;
    const float shift = runs ? static_cast<float>(law.shift) : 0.0F;
    for (std::ptrdiff_t at = kSosWords * k; at < all_words(own); at += words_per_channel(own)) {
        float *z = own->state.get() + at, &turn = own->turn.get()[at + 1];
        z[1] = mul_add(shift - turn, z[0], z[1]);
        turn = shift;
    }
}

[[gnu::cold, gnu::noinline]] void arrange(Cascades* own, const Record& record)
{
    own->has_signs = false;
    for (int k = 0; k < record.sections; ++k)
        redesign_section(own, record.coeff + std::ptrdiff_t{kSosCoeffs} * k, k, record.runs(k));
    own->cascade = {own->groups.get(), record.sections / 4 + 1, 0};
    lbx::arrange<kCoeffs>(own->cascade, own->coeff.get(), own->state.get(), words_per_channel(own), record.sections,
                          [&](std::ptrdiff_t k) { return record.runs(static_cast<int>(k)); });
    if (record.bands > 0)
        set_split<kCoeffs>(own->split, own->coeff.get(), record.band, record.bands);
    const std::ptrdiff_t coeffs = std::ptrdiff_t{kSosCoeffs} * record.sections;
    std::copy_n(record.coeff, coeffs, own->arranged.get());
    if (record.flags)
        std::copy_n(record.flags, record.sections, own->arranged.get() + coeffs);
}

LBX_INLINE bool as_arranged(const Cascades* own, const Record& record)
{
    const std::ptrdiff_t coeffs = std::ptrdiff_t{kSosCoeffs} * record.sections;
    bool same = same_row(record.coeff, own->arranged.get(), coeffs) &&
                (!record.flags || same_row(record.flags, own->arranged.get() + coeffs, record.sections));
    for (int b = 0; b < record.bands; ++b)
        same = same && record.band[b].negate == own->split.band[b].negate &&
               record.band[b].sections == own->split.band[b].sections;
    return same;
}

template <template <class> class Section>
LBX_INLINE void run(Cascades* own, const Record& record, float** in, float** out)
{
    const int channels = own->block->nInputs, n = own->block->block_pro->nBlockSize;
    if (record.bands == 0) {
        drive_cascade<Section>(own->cascade, 0, in, out, channels, n);
        return;
    }
    drive_split<Section>(own->split, own->state.get(), in, out, channels, n, own->tile.get());
    for (int c = 0; c < channels && n > 0; ++c)
        record.last_inputs[c] = own->tile.get()[kSplitTile * c + (n - 1) % kSplitTile];
}

int process(VantoroQuiet* quiet, float** in, float** out)
{
    auto* own = static_cast<Cascades*>(quiet);
    const Record record = record_of(own->block);
    if (record.sections != own->sections)
        return BlockAlgo_process(own->block, in, out);
    read_words(own, record.words);
    if (!as_arranged(own, record))
        arrange(own, record);
    if (own->has_signs)
        run<Signed>(own, record, in, out);
    else
        run<Positive>(own, record, in, out);
    write_words(own, record.words);
    return RT_OK;
}

// From the record's words on.
bool prepare(VantoroQuiet* quiet)
{
    auto* own = static_cast<Cascades*>(quiet);
    const Record record = record_of(own->block);
    if (record.sections != own->sections) {
        const auto sections = static_cast<std::size_t>(record.sections);
        const auto channels = static_cast<std::size_t>(own->block->nInputs);
        Cascades fresh;
        if (!owned::zeros(fresh.arranged, (kSosCoeffs + 1) * sections) ||
            !owned::zeros(fresh.coeff, kCoeffs * sections) ||
            !owned::zeros(fresh.turn, kSosWords * sections * channels) ||
            !owned::zeros(fresh.state, kSosWords * sections * channels) ||
            !owned::zeros(fresh.groups, sections / 4 + 1) || !owned::zeros(fresh.tile, kSplitTile * channels))
            return false;
        static_cast<VantoroQuiet&>(fresh) = *own;
        *own = std::move(fresh);
        own->sections = record.sections;
    }
    arrange(own, record);
    return true;
}

void clear(VantoroQuiet* quiet)
{
    auto* own = static_cast<Cascades*>(quiet);
    std::fill_n(own->state.get(), all_words(own), 0.0F);
}

VantoroQuiet* create(BlockAlgo*) { return owned::make<Cascades>(); }
void destroy(VantoroQuiet* quiet) { owned::unmake(static_cast<Cascades*>(quiet)); }

constexpr Form kCascades = {create, prepare, process, clear, destroy};

}  // namespace

const Form* cascade_form(int type)
{
    switch (type) {
    case EN_FILTER_TEXTEQ:
    case EN_FILTER_GRAPHICAL_EQ:
    case EN_FILTER_CROSSOVER_2WAY:
    case EN_FILTER_CROSSOVER_3WAY:
        return &kCascades;
    default:
        return nullptr;
    }
}

}  // namespace vquiet
