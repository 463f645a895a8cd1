// SPDX-License-Identifier: Apache-2.0
// Three drivers carry the recursion over a block; which one runs is decided in the run_ functions at the end.
//   plain   one channel, one section after another
//   series  lanes are channels, or bands of channels; each runs through up to four sections
//   skew    lanes are the sections of one channel (two channels in an f8), each one sample behind the one before
// State is in registers while a block runs, and exact after every block.
#include "section.h"

#include <algorithm>
#include <type_traits>

#include "new_block.h"

namespace lbx {

// Four sections of a cascade. The last four are full; the first begin with idle lanes if the count is no multiple.
struct CascadeLanes {
    float coeff[5][4];
    int band[4];
};

namespace {

// What fits the registers. Arm has twice as many, but its operands are in registers only.
template <class V>
constexpr int kSeriesDepth = kWideRegisters ? 4 : (kLanes<V> == 4 ? 3 : 1);
template <class V>
constexpr int kSkewGroups = kWideRegisters || kLanes<V> == 4 ? 3 : 2;
// Below these, filling the lanes costs more than they save: samples of all channels but one, and of one.
constexpr int kFewSamples = 20, kShortCascade = 12;

// What flip() takes to negate, or not.
float sign_bit(bool negate) { return negate ? -0.0F : 0.0F; }

// ---- plain

// One channel, or two whose chains hide each other's latency.
template <template <class> class Section, int kChannels>
LBX_KERNEL void plain(const float* coeff, float* state, const float* const* in, float* const* out, int n, bool negate)
{
    constexpr int kWords = Section<float>::kWords;
    Section<float> section[kChannels];
    repeat<kChannels>([&](auto c) {
        std::copy_n(coeff, Section<float>::kCoeffs, section[c].coeff);
        std::copy_n(state + kWords * c, kWords, section[c].state);
    });
    for (int i = 0; i < n; ++i)
        repeat<kChannels>([&](auto c) {
            const float y = section[c].step(in[c][i]);
            out[c][i] = negate ? -y : y;
        });
    repeat<kChannels>([&](auto c) { std::copy_n(section[c].state, kWords, state + kWords * c); });
}

// ---- series

// One lane. An idle lane repeats its neighbour in everything, so that it reads and writes what is there anyway.
struct Lane {
    const float* in;
    float* out;
    float* state;
    int sections;
};

// Lanes of the packet that so many fill.
int width(int lanes) { return lanes <= 4 ? 4 : 8; }

// One step of the chain: the coefficients of four lanes (the next four have the same), and where its state is.
struct Stage {
    f4 coeff[5];
    std::ptrdiff_t word;
};

// Fills a section: coeff(j) is its coefficient j, where(l) the first word of lane l's state.
template <class V, template <class> class Section, class Coeff, class Where>
LBX_INLINE void read_section(Section<V>& section, Coeff coeff, Where where)
{
    repeat<Section<V>::kCoeffs>([&](auto j) { section.coeff[j] = coeff(j); });
    repeat<Section<V>::kWords>(
        [&](auto j) { section.state[j] = lanes_of<V>([&](int l) LBX_INLINED { return where(l)[j]; }); });
}
template <class V, template <class> class Section, class Where>
LBX_INLINE void write_state(const Section<V>& section, Where where)
{
    repeat<Section<V>::kWords>(
        [&](auto j) { each_lane(section.state[j], [&](int l, float s) LBX_INLINED { where(l)[j] = s; }); });
}

// Runs `filter` over the samples of all lanes, four at a time as long as there are four.
template <class V, class Filter>
LBX_INLINE void each_sample(const Lane* lane, int n, Filter filter)
{
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        V x[4];
        repeat<4>([&](auto k) { x[k] = of_halves<V>([&](int h) { return load<f4>(lane[4 * h + k].in + i); }); });
        transpose(x);
        repeat<4>([&](auto k) { x[k] = filter(x[k]); });
        transpose(x);
        repeat<4>([&](auto k) { each_half(x[k], [&](int h, f4 y) { store(lane[4 * h + k].out + i, y); }); });
    }
    for (; i < n; ++i)
        each_lane(filter(lanes_of<V>([&](int l) { return lane[l].in[i]; })),
                  [&](int l, float y) { lane[l].out[i] = y; });
}

// Whole: all lanes run through all sections.
template <class V, template <class> class Section, int kDepth, bool kWhole = true>
LBX_KERNEL void series(const Stage* stage, const Lane* lane, f4 signs, int n)
{
    Section<V> section[kDepth];
    V live[kDepth];  // lanes whose chain is that long
    const i4 lengths = {lane[0].sections, lane[1].sections, lane[2].sections, lane[3].sections};
    float nowhere[2] = {};
    const auto state_of = [&](int d) {
        return [&, d](int l) { return kWhole || d < lane[l].sections ? lane[l].state + stage[d].word : nowhere; };
    };
    repeat<kDepth>([&](auto d) {
        read_section(
            section[d], [&](int j) { return every<V>(stage[d].coeff[j]); }, state_of(d));
        live[d] = every<V>(mask_of(lengths > d()));
    });
    each_sample<V>(lane, n, [&](V x) {
        repeat<kDepth>([&](auto d) {
            const V y = section[d].step(x);
            x = kWhole ? y : select(live[d], y, x);
        });
        return flip(x, every<V>(signs));
    });
    repeat<kDepth>([&](auto d) { write_state(section[d], state_of(d)); });
}

constexpr int kMaxDepth = kSeriesDepth<f4>;
constexpr int kSplitDepth = kWideRegisters ? kMaxDepth : 2;  // where lanes may differ

template <class V, bool kWhole>
void series(const Stage* stage, int depth, const Lane* lane, f4 signs, int n)
{
    using Kernel = void (*)(const Stage*, const Lane*, f4, int);
    constexpr int kMost = kWhole ? kSeriesDepth<V> : std::min(kSeriesDepth<V>, kSplitDepth);
    static constexpr Kernel kKernels[] = {
        series<V, SecondOrder, 1, kWhole>, series<V, SecondOrder, std::min(2, kMost), kWhole>,
        series<V, SecondOrder, std::min(3, kMost), kWhole>, series<V, SecondOrder, std::min(4, kMost), kWhole>};
    kKernels[depth - 1](stage, lane, signs, n);
}

// Up to eight lanes, each through up to `depth` <= kMaxDepth sections.
void series(const Stage* stage, int depth, const Lane* lane, int lanes, f4 signs, int n)
{
    const bool whole = std::all_of(lane, lane + width(lanes), [=](const Lane& l) { return l.sections >= depth; });
    if (lanes > 4 && depth <= kSeriesDepth<f8>) {
        (whole ? series<f8, true> : series<f8, false>)(stage, depth, lane, signs, n);
        return;
    }
    for (int l = 0; l < lanes; l += 4)
        (whole ? series<f4, true> : series<f4, false>)(stage, depth, lane + l, signs, n);
}

// ---- skew

// Sixteen set words and sixteen clear ones; read from word 15 - k on, four lanes of which those up to k are set.
struct Steps {
    int word[32];
    constexpr Steps() : word()
    {
        for (int k = 0; k < 16; ++k)
            word[k] = -1;
    }
};
constexpr Steps kSteps;
f4 lanes_up_to(int k) { return load<f4>(kSteps.word + 15 - k); }

// Groups of four sections of one channel, or of two; n > 4 kGroups.
template <class V, int kGroups>
LBX_KERNEL void skew(const CascadeLanes* group, int idle, const Lane* channel, int n)
{
    const int delay = 4 * kGroups - idle - 1;  // of the last lane behind the first
    const V entry = every<V>(mask_of(i4{0, 1, 2, 3} == idle));
    SecondOrder<V> section[kGroups];
    V y[kGroups] = {};
    const auto state_of = [&](int g) {
        return [=](int l) { return channel[l / 4].state + std::ptrdiff_t{2} * group[g].band[l % 4]; };
    };
    repeat<kGroups>([&](auto g) {
        read_section(
            section[g], [&](int j) { return every<V>(load<f4>(group[g].coeff[j])); }, state_of(g));
    });
    // Every lane takes over what the one before put out, and the first takes in sample i.
    const auto advance = [&](int i) {
        repeat<kGroups - 1>([&](auto k) {
            constexpr int g = kGroups - 1 - k;
            y[g] = shift_in(y[g - 1], y[g]);
        });
        const V fresh = of_halves<V>([&](int h) { return every<f4>(channel[h].in[i]); });
        y[0] = select(entry, fresh, shift_in(y[0], y[0]));
    };
    const auto write = [&](int i) { each_half(y[kGroups - 1], [&](int h, f4 v) { channel[h].out[i] = v[3]; }); };
    // While the lanes fill, and while they drain, some have no sample of this block: their state stays.
    const auto partial_step = [&](int i, int reached, auto filling) {
        advance(i);
        repeat<kGroups>([&](auto g) {
            SecondOrder<V> next = section[g];
            y[g] = next.step(y[g]);
            const V mask = every<V>(lanes_up_to(reached + idle - 4 * g));
            repeat<2>([&](auto j) {
                const V now = section[g].state[j];
                section[g].state[j] = filling ? select(mask, next.state[j], now) : select(mask, now, next.state[j]);
            });
        });
    };
    for (int i = 0; i < delay; ++i)
        partial_step(i, i, std::true_type{});
    for (int i = delay; i < n; ++i) {
        advance(i);
        repeat<kGroups>([&](auto g) { y[g] = section[g].step(y[g]); });
        write(i - delay);
    }
    for (int k = 0; k < delay; ++k) {
        partial_step(n - 1, k, std::false_type{});
        write(n - delay + k);
    }
    repeat<kGroups>([&](auto g) { write_state(section[g], state_of(g)); });
}

// ---- what a packet of lanes is

// `channels` at most eight; lane l is channel l.
void channel_lanes(Lane* lane, const float* const* in, float* const* out, float* state, std::ptrdiff_t words,
                   int sections, int channels)
{
    for (int l = 0; l < width(channels); ++l) {
        const int c = std::min(l, channels - 1);
        lane[l] = {in[c], out[c], state + words * c, sections};
    }
}

template <template <class> class Section>
void run_channels(const float* coeff, float* state, const float* const* in, float* const* out, int channels, int n,
                  bool negate)
{
    constexpr int kWords = Section<float>::kWords;
    Stage stage = {};
    for (int j = 0; j < Section<float>::kCoeffs; ++j)
        stage.coeff[j] = every<f4>(coeff[j]);
    const f4 signs = every<f4>(sign_bit(negate));
    for (int c = 0; c < channels;) {
        int some = std::min(channels - c, 8);
        if (some <= 2 || (some - 1) * n < kFewSamples) {
            some = std::min(some, 2);
            (some == 1 ? plain<Section, 1> : plain<Section, 2>)(coeff, state + kWords * c, in + c, out + c, n, negate);
            c += some;
            continue;
        }
        Lane lane[8];
        channel_lanes(lane, in + c, out + c, state + kWords * c, kWords, 1, some);
        if (some <= 4)
            series<f4, Section, 1>(&stage, lane, signs, n);
        else
            series<f8, Section, 1>(&stage, lane, signs, n);
        c += some;
    }
}

}  // namespace

void run_sections(const float* coeff, float* state, const float* const* in, float* const* out, int channels, int n,
                  bool negate)
{
    run_channels<SecondOrder>(coeff, state, in, out, channels, n, negate);
}

void run_first_orders(const float* coeff, float* state, const float* const* in, float* const* out, int channels, int n,
                      bool negate)
{
    run_channels<FirstOrder>(coeff, state, in, out, channels, n, negate);
}

// ---- two curves: the first four lanes of a packet are the old one, the others the new one

namespace {

LBX_KERNEL void fade_four(const Curve& from, const Curve& to, float gain, float step, const Lane* lane, int n)
{
    SecondOrder<f8> section;
    const auto state_of = [&](int l) { return lane[l].state; };
    read_section(
        section, [&](int j) { return join(every<f4>(from.coeff[j]), every<f4>(to.coeff[j])); }, state_of);
    each_sample<f4>(lane, n, [&](f4 x) {
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
        Lane lane[8];
        for (int l = 0; l < 8; ++l) {
            const int k = std::min(c + l % 4, channels - 1);
            lane[l] = {in[k], out[k], (l < 4 ? from.state : to.state) + 2 * k, 1};
        }
        fade_four(from, to, gain, step, lane, n);
    }
}

// ---- cascades

namespace {

int groups_of(const Cascade& cascade) { return (cascade.sections + 3) / 4; }
int idle_lanes(const Cascade& cascade) { return 4 * groups_of(cascade) - cascade.sections; }

void cascade_plain(const Cascade& cascade, float* state, const float* in, float* out, int n)
{
    for (int i = 0; i < n; ++i) {
        float x = in[i];
        int l = idle_lanes(cascade);
        for (const CascadeLanes* group = cascade.lanes; group < cascade.lanes + groups_of(cascade); ++group, l = 0)
            for (; l < 4; ++l) {
                const float* c = &group->coeff[0][l];
                float* s = state + std::ptrdiff_t{2} * group->band[l];
                SecondOrder<float> section = {{c[0], c[4], c[8], c[12], c[16]}, {s[0], s[1]}};
                x = section.step(x);
                s[0] = section.state[0];
                s[1] = section.state[1];
            }
        out[i] = x;
    }
}

void cascade_series(const Cascade& cascade, Lane* lane, int lanes, int n)
{
    for (int k = 0; k < cascade.sections; k += kMaxDepth) {
        const int depth = std::min(cascade.sections - k, kMaxDepth);
        Stage stage[kMaxDepth];
        for (int d = 0; d < depth; ++d) {
            const int at = idle_lanes(cascade) + k + d;
            const CascadeLanes& group = cascade.lanes[at / 4];
            for (int j = 0; j < 5; ++j)
                stage[d].coeff[j] = every<f4>(group.coeff[j][at % 4]);
            stage[d].word = std::ptrdiff_t{2} * group.band[at % 4];
        }
        series(stage, depth, lane, lanes, f4{}, n);
        for (int l = 0; l < width(lanes); ++l)
            lane[l].in = lane[l].out;
    }
}

template <class V>
void cascade_skew(const Cascade& cascade, Lane* channel, int n)
{
    using Kernel = void (*)(const CascadeLanes*, int, const Lane*, int);
    static constexpr Kernel kKernels[] = {skew<V, 1>, skew<V, 2>, skew<V, kSkewGroups<V>>};
    int idle = idle_lanes(cascade);
    for (int g = 0; g < groups_of(cascade); g += kSkewGroups<V>) {
        kKernels[std::min(groups_of(cascade) - g, kSkewGroups<V>) - 1](cascade.lanes + g, idle, channel, n);
        idle = 0;
        channel[0].in = channel[0].out;
        channel[1].in = channel[1].out;
    }
}

}  // namespace

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
    const int position = idle_lanes(cascade) + at;
    CascadeLanes& group = cascade.lanes[position / 4];
    const int last = position % 4;
    for (int l = at == 0 ? 0 : last; l <= last;
         ++l) {  // the idle lanes come with the first section, and share its state
        for (int j = 0; j < 5; ++j)
            group.coeff[j][l] = l == last ? coeff[j] : 0.0F;
        group.band[l] = band;
    }
}

void run_cascade(const Cascade& cascade, float* state, std::ptrdiff_t words_per_channel, const float* const* in,
                 float* const* out, int channels, int n)
{
    const int sections = cascade.sections;
    for (int c = 0; c < channels;) {
        int some = std::min(channels - c, 8);
        Lane lane[8];
        channel_lanes(lane, in + c, out + c, state + words_per_channel * c, words_per_channel, kMaxDepth, some);
        if (sections == 0) {
            if (in[c] != out[c])
                std::copy_n(in[c], n, out[c]);
            some = 1;
        } else if (some >= 5 || (some >= 3 && (sections <= kMaxDepth || n < kShortCascade))) {
            cascade_series(cascade, lane, some, n);
        } else if (n < kShortCascade) {
            cascade_plain(cascade, lane[0].state, in[c], out[c], n);
            some = 1;
        } else if (some >= 2 && (kWideRegisters || groups_of(cascade) != 3)) {  // three fit no f8 on Arm
            cascade_skew<f8>(cascade, lane, n);
            some = 2;
        } else {
            cascade_skew<f4>(cascade, lane, n);
            some = 1;
        }
        c += some;
    }
}

// ---- meters

namespace {

// The two words of eight bands, between memory, band by band, and lanes, word by word.
void load_words(const float* state, f8 (&word)[2])
{
    const f4 a = load<f4>(state), b = load<f4>(state + 4), c = load<f4>(state + 8), d = load<f4>(state + 12);
    word[0] = join(__builtin_shufflevector(a, b, 0, 2, 4, 6), __builtin_shufflevector(c, d, 0, 2, 4, 6));
    word[1] = join(__builtin_shufflevector(a, b, 1, 3, 5, 7), __builtin_shufflevector(c, d, 1, 3, 5, 7));
}

void store_words(float* state, const f8 (&word)[2])
{
    const f4 a = lower(word[0]), b = lower(word[1]), c = upper(word[0]), d = upper(word[1]);
    store(state, join(__builtin_shufflevector(a, b, 0, 4, 1, 5), __builtin_shufflevector(a, b, 2, 6, 3, 7)));
    store(state + 8, join(__builtin_shufflevector(c, d, 0, 4, 1, 5), __builtin_shufflevector(c, d, 2, 6, 3, 7)));
}

template <int kPackets>
LBX_KERNEL void bank_lanes(const Bank& bank, float* state, const float* in, int n, float* sums)
{
    SecondOrder<f8> section[kPackets];
    f8 sum[kPackets] = {};
    repeat<kPackets>([&](auto p) {
        repeat<5>([&](auto j) { section[p].coeff[j] = load<f8>(bank.coeff[p][j]); });
        load_words(state + 16 * p, section[p].state);
    });
    for (int i = 0; i < n; ++i)
        repeat<kPackets>([&](auto p) {
            const f8 y = section[p].step(every<f8>(in[i]));
            sum[p] = mul_add(y, y, sum[p]);
        });
    float words[16 * kPackets];
    repeat<kPackets>([&](auto p) {
        store_words(words + 16 * p, section[p].state);
        store(sums + 8 * p, sum[p]);
    });
    std::copy_n(words, 2 * bank.bands, state);  // idle lanes have run, too
}

}  // namespace

void set_bank(Bank& bank, const float* coeff, int bands)
{
    bank.bands = bands;
    for (int k = 0; k < 16; ++k)
        for (int j = 0; j < 5 && bands > 0; ++j)
            bank.coeff[k / 8][j][k % 8] = coeff[5 * std::min(k, bands - 1) + j];
}

void run_bank(const Bank& bank, float* state, const float* in, int n, float* sums)
{
    if (bank.bands > 8)
        bank_lanes<2>(bank, state, in, n, sums);
    else if (bank.bands > 0)
        bank_lanes<1>(bank, state, in, n, sums);
}

// ---- splits

namespace {

// A channel takes as many lanes as it has bands, or four for three.
int lanes_per_channel(const Split& split) { return split.bands == 3 ? 4 : split.bands; }
int band_of(const Split& split, int l) { return std::min(l % lanes_per_channel(split), split.bands - 1); }

// As many channels as fit eight lanes; their inputs lie in `lines`, their outputs begin at `start`.
void split_packet(const Split& split, float* state, const float* lines, float* const* out, int start, int channels,
                  int n)
{
    const int width = lanes_per_channel(split);
    Lane lane[8];
    for (int l = 0; l < 8; ++l) {
        const int c = std::min(l / width, channels - 1);
        const int b = band_of(split, l);
        lane[l] = {lines + kSplitTile * c, out[split.bands * c + b] + start,
                   state + 2 * (split.sections * c + split.first[b]), split.band[b].sections};
    }
    f4 signs = {};
    for (int k = 0; k < split.depth; k += kSplitDepth) {
        const int depth = std::min(split.depth - k, kSplitDepth);
        Stage stage[kSplitDepth];
        for (int d = 0; d < depth; ++d) {
            for (int j = 0; j < 5; ++j)
                stage[d].coeff[j] = load<f4>(split.coeff[k + d][j]);
            stage[d].word = 2 * (k + d);
        }
        if (k + depth == split.depth)
            signs = load<f4>(split.signs);
        series(stage, depth, lane, width * channels, signs, n);
        for (Lane& each : lane) {
            each.in = each.out;
            each.sections -= depth;
        }
    }
}

}  // namespace

void set_split(Split& split, const float* coeff, const SplitBand* band, int bands)
{
    split = {};
    split.bands = bands;
    for (int b = 0; b < bands; ++b) {
        split.band[b] = band[b];
        split.first[b] = split.sections;
        split.sections += band[b].sections;
        split.depth = std::max(split.depth, band[b].sections);
    }
    for (int l = 0; l < 4; ++l) {
        const int b = band_of(split, l);
        split.signs[l] = sign_bit(band[b].negate);
        for (int k = 0; k < band[b].sections; ++k)
            for (int j = 0; j < 5; ++j)
                split.coeff[k][j][l] = coeff[5 * (split.first[b] + k) + j];
    }
}

void run_split(const Split& split, float* state, const float* const* in, float* const* out, int channels, int n,
               float* scratch)
{
    const int some = 8 / lanes_per_channel(split);
    for (int start = 0; start < n; start += kSplitTile) {
        const int m = std::min(kSplitTile, n - start);
        for (int c = 0; c < channels; ++c)
            std::copy_n(in[c] + start, m, scratch + kSplitTile * c);
        for (int c = 0; c < channels; c += some)
            split_packet(split, state + 2 * split.sections * c, scratch + kSplitTile * c, out + split.bands * c, start,
                         std::min(channels - c, some), m);
    }
}

}  // namespace lbx
