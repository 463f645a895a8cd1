// SPDX-License-Identifier: Apache-2.0
#include "analysis/response.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <set>
#include <span>

#include "vantoro.h"

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

    // The triangle in which both poles lie within the unit circle, its edges included.
    bool stable() const { return std::abs(a2) <= 1 && std::abs(a1) <= 1 + a2; }
};

struct Transfer {
    double gain = 1;
    int delay = 0;  // samples
    std::vector<Section> sections{};
    std::span<const float> taps{};
};

struct Path {
    int from, to;
    Transfer transfer;
};
using Paths = std::vector<Path>;

std::complex<double> at(const Transfer& transfer, double radians)
{
    const auto z = std::polar(1.0, -radians);
    std::complex<double> h = transfer.gain;
    if (transfer.delay > 0)
        h *= std::polar(1.0, -radians * transfer.delay);
    for (const Section& s : transfer.sections)
        h *= (s.b0 + z * (s.b1 + z * s.b2)) / (1.0 + z * (s.a1 + z * s.a2));
    if (!transfer.taps.empty()) {
        std::complex<double> sum = 0;
        for (std::size_t k = transfer.taps.size(); k-- > 0;)
            sum = sum * z + static_cast<double>(transfer.taps[k]);
        h *= sum;
    }
    return h;
}

template <class Core>
const Core& core_of(const BlockAlgo& block)
{
    return *static_cast<const Core*>(block.AlgoCore);
}

// b0, b1, a1 and b0, b1, a1, b2, a2: the order of the records.
Section first_order(const float* c) { return {c[0], c[1], 0, c[2], 0}; }
Section second_order(const float* c) { return {c[0], c[1], c[3], c[2], c[4]}; }

std::vector<Section> sections(const float* coeff, int count)
{
    std::vector<Section> list;
    list.reserve(index(std::max(count, 0)));
    for (int k = 0; k < count; ++k)
        list.push_back(second_order(coeff + std::ptrdiff_t{5} * k));
    return list;
}

// The same on every channel, behind `controls` pins.
Paths each(const BlockAlgo& block, const Transfer& transfer, int controls = 0)
{
    Paths paths;
    for (int ch = 0; ch < std::min(block.nInputs - controls, block.nOutputs); ++ch)
        paths.push_back({controls + ch, ch, transfer});
    return paths;
}

// ---- filters ----

// One section with its flags: switched off it copies, whatever the polarity.
template <class Core>
Paths flagged(const BlockAlgo& block, Section (*section)(const float*))
{
    const auto& core = core_of<Core>(block);
    if (core.enable == 0)
        return each(block, {});
    return each(block, {core.polarity != 0 ? -1.0 : 1.0, 0, {section(core.coeffArray)}, {}});
}
Paths first(const BlockAlgo& block) { return flagged<FirstOrder_Core>(block, first_order); }
Paths second(const BlockAlgo& block) { return flagged<SecondOrder_Core>(block, second_order); }

template <class Core>
Paths bands(const BlockAlgo& block, float* Core::*flags, bool runs_when_set)
{
    const auto& core = core_of<Core>(block);
    Transfer transfer;
    for (int k = 0; k < core.numFilter; ++k)
        if (((core.*flags)[k] != 0.0F) == runs_when_set)
            transfer.sections.push_back(second_order(core.coeffArray + std::ptrdiff_t{5} * k));
    return each(block, transfer);
}
Paths text_eq(const BlockAlgo& block) { return bands(block, &TextEQ_Core::enableFlags, true); }
Paths graphical_eq(const BlockAlgo& block) { return bands(block, &GraphicalEQ_Core::bypassFlags, false); }

Paths fir(const BlockAlgo& block)
{
    const auto& core = core_of<FIR_Core>(block);
    return each(block, {1, 0, {}, {core.coeffs, index(core.fir_len)}});
}

Paths dc_blocking(const BlockAlgo& block)
{
    return each(block, {1, 0, {first_order(core_of<DCBlocking_Core>(block).coeffArray)}, {}});
}

// Low, high and band over one denominator.
Paths state_variable(const BlockAlgo& block)
{
    const float* a = core_of<StateVariable_Core>(block).coeffArray;
    Paths paths;
    for (int out = 0; out < block.nOutputs; ++out) {
        const float* b = a + 2 + std::ptrdiff_t{3} * out;
        paths.push_back({block.nInputs - 1, out, {1, 0, {{b[0], b[1], b[2], a[0], a[1]}}, {}}});
    }
    return paths;
}

Paths look_up(const BlockAlgo& block)
{
    const auto& core = core_of<LookUp_Core>(block);
    if (core.num_curves <= 0)
        return each(block, {}, 1);
    const int curve = std::clamp(core.idx_now, 0, core.num_curves - 1);
    return each(block, {1, 0, sections(core.coeffArray + std::ptrdiff_t{5} * curve, 1), {}}, 1);
}

Paths split_bands(const BlockAlgo& block, const std::vector<Transfer>& outputs)
{
    Paths paths;
    const int count = static_cast<int>(outputs.size());
    for (int ch = 0; ch < block.nInputs; ++ch)
        for (int band = 0; band < count; ++band)
            paths.push_back({ch, count * ch + band, outputs[index(band)]});
    return paths;
}
double sign(int invert) { return invert != 0 ? -1.0 : 1.0; }

Paths two_way(const BlockAlgo& block)
{
    const auto& core = core_of<Crossover2Way_Core>(block);
    const float* high = core.coeffArray + std::ptrdiff_t{5} * core.sos_low;
    return split_bands(block, {{sign(core.invert1), 0, sections(core.coeffArray, core.sos_low), {}},
                               {1, 0, sections(high, core.sos_high), {}}});
}

Paths three_way(const BlockAlgo& block)
{
    const auto& core = core_of<Crossover3Way_Core>(block);
    const float* high = core.coeffArray + std::ptrdiff_t{5} * core.sos_low;
    const float* mid = high + std::ptrdiff_t{5} * core.sos_high;
    return split_bands(block, {{sign(core.invert1), 0, sections(core.coeffArray, core.sos_low), {}},
                               {1, 0, sections(high, core.sos_high), {}},
                               {sign(core.invert2), 0, sections(mid, core.sos_med_lp + core.sos_med_hp), {}}});
}

// ---- gains, delays, sums ----

// The plain gain keeps its factor in the place of the pointer.
Paths gain(const BlockAlgo& block)
{
    float factor;
    std::memcpy(&factor, &block.AlgoCore, sizeof factor);
    return each(block, {.gain = factor});
}
Paths gain_slew(const BlockAlgo& block) { return each(block, {.gain = core_of<GainSlewSt>(block).set_gain}); }
Paths invert(const BlockAlgo& block) { return each(block, {.gain = -1}); }

Paths delay(const BlockAlgo& block)
{
    const auto& core = core_of<DelaySt>(block);
    return each(block, {.delay = core.delay > 0 ? core.delay : core.maxDelay});
}

// All inputs to output 0 by the gains that `gain_of(input)` tells.
template <class Gain>
Paths sum(const BlockAlgo& block, Gain gain_of)
{
    Paths paths;
    for (int in = 0; in < block.nInputs; ++in)
        paths.push_back({in, 0, {.gain = gain_of(in)}});
    return paths;
}
Paths add(const BlockAlgo& block)
{
    return sum(block, [](int) { return 1.0; });
}
Paths subtract(const BlockAlgo& block)
{
    return sum(block, [](int in) { return in == 0 ? 1.0 : -1.0; });
}
Paths merge(const BlockAlgo& block)
{
    return sum(block, [&](int) { return 1.0 / block.nInputs; });
}

// ---- mixers and splitters ----

// A mixer's gains; slewed ones have a record before them.
const float* gains_of(const BlockAlgo& block)
{
    if (block.method_type >= EN_MIXERS_SINGLE_SLEW)
        return core_of<MixSlewSt>(block).set_gain;
    return static_cast<const float*>(block.AlgoCore);
}

Paths mix_single(const BlockAlgo& block)
{
    return sum(block, [=](int) { return gains_of(block)[0]; });
}
Paths mix_multi(const BlockAlgo& block)
{
    return sum(block, [=](int in) { return gains_of(block)[in]; });
}
Paths mix_stereo(const BlockAlgo& block)
{
    Paths paths;
    for (int in = 0; in < block.nInputs / 2 * 2; ++in)
        paths.push_back({in, in % 2, {.gain = gains_of(block)[in / 2]}});
    return paths;
}
Paths mix_cross(const BlockAlgo& block)
{
    Paths paths;
    for (int in = 0; in < block.nInputs; ++in)
        for (int out = 0; out < block.nOutputs; ++out)
            paths.push_back({in, out, {.gain = gains_of(block)[std::ptrdiff_t{in} * block.nOutputs + out]}});
    return paths;
}

template <class Gain>
Paths spread(const BlockAlgo& block, Gain gain_of)
{
    Paths paths;
    for (int out = 0; out < block.nOutputs; ++out)
        paths.push_back({0, out, {.gain = gain_of(out)}});
    return paths;
}
Paths split_single(const BlockAlgo& block)
{
    return spread(block, [=](int) { return gains_of(block)[0]; });
}
Paths split_multi(const BlockAlgo& block)
{
    return spread(block, [=](int out) { return gains_of(block)[out]; });
}
Paths copies(const BlockAlgo& block)
{
    return spread(block, [](int) { return 1.0; });
}

// ---- switching ----

Paths multiplexer(const BlockAlgo& block)
{
    const int first = (block.method_type == EN_MUXES_MUXES_INDEX ? 1 : 0) +
                      core_of<Multiplexers_Core>(block).idx_stable * block.nOutputs;
    return each(block, {}, first);
}

Paths demultiplexer(const BlockAlgo& block)
{
    const auto& core = core_of<Demultiplexers_Core>(block);
    const int controls = block.method_type == EN_MUXES_DEMUXES_INDEX ? 1 : 0;
    const int width = block.nInputs - controls;
    Paths paths;
    for (int ch = 0; ch < width && core.idx_stable < core.num_DMx; ++ch)
        paths.push_back({controls + ch, core.idx_stable * width + ch, {}});
    return paths;
}

Paths crossfade(const BlockAlgo& block)
{
    Paths paths;
    for (int out = 0; out < block.nOutputs; ++out)
        paths.push_back({1 + 2 * out + core_of<CrossFade_Core>(block).idx_now, out, {}});
    return paths;
}

// ---- volumes ----

Paths volume(const BlockAlgo& block)
{
    const int controls = block.method_type == EN_VC_SIG_EXT_CONTROL_SLEW ? 1 : 0;
    return each(block, {.gain = core_of<AdjustableGain_Core>(block).value[0]}, controls);
}
Paths volumes(const BlockAlgo& block)
{
    Paths paths = each(block, {});
    for (Path& path : paths)
        path.transfer.gain = core_of<AdjustableGain_Core>(block).value[path.to];
    return paths;
}
Paths mute(const BlockAlgo& block)
{
    const auto& core = core_of<Mute_Core>(block);
    const bool off = core.slew_flag != 0 ? core.gain_now == 0.0F : core.switch_state == 1;
    return each(block, {.gain = off ? 0.0 : 1.0});
}

// ---- loudness and meters ----

// Half the sum of bass, treble and the dry signal, at the volume.
Paths loudness(const BlockAlgo& block)
{
    const auto& core = core_of<Loudness_Core>(block);
    const double gain = 0.5 * static_cast<double>(core.post_gain);
    Paths paths = each(block, {.gain = gain});
    for (const FirstOrder_Core* part : {&core.LP_Core, &core.HP_Core})
        for (const Path& path : each(block, {.gain = gain, .sections = {first_order(part->coeffArray)}}))
            paths.push_back(path);
    return paths;
}
Paths meter(const BlockAlgo&) { return {{0, 0, {}}}; }

// What is not here has a level, a time or a product in it.
struct Rule {
    int first, last;
    Paths (*paths)(const BlockAlgo&);
};
constexpr Rule kRules[] = {
    {EN_LOUDNESS_LH, EN_LOUDNESS_LH, loudness},
    {EN_BASIC_ARITH_INVERT, EN_BASIC_ARITH_INVERT, invert},
    {EN_BASIC_ARITH_ADD, EN_BASIC_ARITH_ADD, add},
    {EN_BASIC_ARITH_SUB, EN_BASIC_ARITH_SUB, subtract},
    {EN_BASIC_DSP_DELAY, EN_BASIC_DSP_DELAY, delay},
    {EN_BASIC_GAIN, EN_BASIC_GAIN, gain},
    {EN_BASIC_GAIN_SLEW, EN_BASIC_GAIN_SLEW, gain_slew},
    {EN_FILTER_1ST, EN_FILTER_1ST, first},
    {EN_FILTER_2ND_GENERAL, EN_FILTER_2ND_FIRSTORDERS, second},
    {EN_FILTER_TEXTEQ, EN_FILTER_TEXTEQ, text_eq},
    {EN_FILTER_NONBARE, EN_FILTER_NONBARE, second},
    {EN_FILTER_FIR, EN_FILTER_FIR, fir},
    {EN_FILTER_CROSSOVER_2WAY, EN_FILTER_CROSSOVER_2WAY, two_way},
    {EN_FILTER_CROSSOVER_3WAY, EN_FILTER_CROSSOVER_3WAY, three_way},
    {EN_FILTER_MISCE_DCBLOCKING, EN_FILTER_MISCE_DCBLOCKING, dc_blocking},
    {EN_FILTER_MISCE_STATEVARIABLE, EN_FILTER_MISCE_STATEVARIABLEQ, state_variable},
    {EN_FILTER_LOOKUP_TONE_PEAK, EN_FILTER_LOOKUP_BUTTER_BESSEL, look_up},
    {EN_FILTER_GRAPHICAL_EQ, EN_FILTER_GRAPHICAL_EQ, graphical_eq},
    {EN_DETECTORS_SINGLE_BAND, EN_DETECTORS_MULTI_BAND, meter},
    {EN_MIXERS_MERGE, EN_MIXERS_MERGE, merge},
    {EN_MIXERS_SINGLE, EN_MIXERS_SINGLE, mix_single},
    {EN_MIXERS_MULTI, EN_MIXERS_MULTI, mix_multi},
    {EN_MIXERS_STEREO, EN_MIXERS_STEREO, mix_stereo},
    {EN_MIXERS_CROSS, EN_MIXERS_CROSS, mix_cross},
    {EN_SPLIT_SINGLE, EN_SPLIT_SINGLE, split_single},
    {EN_SPLIT_MULTI, EN_SPLIT_MULTI, split_multi},
    {EN_SPLIT_T_CONNECT, EN_SPLIT_T_CONNECT, copies},
    {EN_MIXERS_SINGLE_SLEW, EN_MIXERS_SINGLE_SLEW, mix_single},
    {EN_MIXERS_MULTI_SLEW, EN_MIXERS_MULTI_SLEW, mix_multi},
    {EN_MIXERS_STEREO_SLEW, EN_MIXERS_STEREO_SLEW, mix_stereo},
    {EN_MIXERS_CROSS_SLEW, EN_MIXERS_CROSS_SLEW, mix_cross},
    {EN_SPLIT_SINGLE_SLEW, EN_SPLIT_SINGLE_SLEW, split_single},
    {EN_SPLIT_MULTI_SLEW, EN_SPLIT_MULTI_SLEW, split_multi},
    {EN_MUXES_MUXES_SWITCH, EN_MUXES_MUXES_INDEX, multiplexer},
    {EN_MUXES_DEMUXES_SWITCH, EN_MUXES_DEMUXES_INDEX, demultiplexer},
    {EN_MUXES_CROSSFADE, EN_MUXES_CROSSFADE, crossfade},
    {EN_NLP_CHANNEL_COPY, EN_NLP_CHANNEL_COPY, copies},
    {EN_VC_SIG_CONTROL, EN_VC_SIG_CONTROL, volume},
    {EN_VC_MULTI_CONTROL, EN_VC_MULTI_CONTROL, volumes},
    {EN_VC_SIG_CONTROL_SLEW, EN_VC_SIG_CONTROL_SLEW, volume},
    {EN_VC_MULTI_CONTROL_SLEW, EN_VC_MULTI_CONTROL_SLEW, volumes},
    {EN_VC_SIG_EXT_CONTROL_SLEW, EN_VC_SIG_EXT_CONTROL_SLEW, volume},
    {EN_VC_MUTE, EN_VC_MUTE, mute},
};

// ---- the graph ----

using Outputs = std::vector<std::vector<Spectrum>>;  // of each block, a spectrum a pin

class Propagation {
public:
    Propagation(const Engine& engine, int from, const Axis& axis)
        : engine_(engine), from_(from), axis_(axis), unity_(axis.bins.size(), 1.0),
          outputs_(engine.schematic().blocks.size())
    {}

    const Spectrum& at(const Source& source) const
    {
        if (source.block >= 0)
            return outputs_[index(source.block)][index(source.pin)];
        return source.block == Source::kTerminal && source.pin == from_ ? unity_ : silence_;
    }

    // False: the signal reaches the block, and no paths describe what it does there.
    bool visit(int number)
    {
        const Block& block = engine_.schematic().blocks[index(number)];
        auto& outputs = outputs_[index(number)];
        outputs.resize(index(block.pins.outputs));
        if (std::ranges::all_of(block.sources, [&](const Source& source) { return at(source).empty(); }))
            return true;
        const auto rule = std::ranges::find_if(
            kRules, [code = block.type->code](const Rule& r) { return r.first <= code && code <= r.last; });
        if (rule == std::end(kRules) || reaches_control(block)) {
            std::ranges::fill(outputs, unity_);  // goes on, so that every such block is found
            return false;
        }
        for (const Path& path : rule->paths(engine_.block(number))) {
            const Spectrum& in = at(block.sources[index(path.from)]);
            carry(in, path.transfer, outputs[index(path.to)]);
            if (!in.empty() && !std::ranges::all_of(path.transfer.sections, &Section::stable))
                unstable_.insert(block.id);
        }
        return true;
    }

    const std::set<std::string>& unstable() const { return unstable_; }

private:
    bool reaches_control(const Block& block) const
    {
        for (int pin = 0; pin < block.pins.inputs; ++pin) {
            const PinNote* note = note_of(*block.type, PinNote::Side::input, pin, block.pins);
            if (note && note->control && !at(block.sources[index(pin)]).empty())
                return true;
        }
        return false;
    }

    void carry(const Spectrum& in, const Transfer& transfer, Spectrum& out) const
    {
        if (in.empty() || transfer.gain == 0)
            return;
        out.resize(in.size());
        for (std::size_t i = 0; i < in.size(); ++i)
            out[i] += in[i] * vantoro::at(transfer, axis_.radians(i));
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

Axis make_axis(int rate, int points_per_octave)
{
    constexpr double kLowest = 20;  // Hz
    constexpr double kCentre = 1000;
    constexpr int kSeconds = 4;  // a bin every 0.25 Hz
    Axis axis{rate, kSeconds * rate, {}};
    axis.size += axis.size % 2;
    while (!smooth(axis.size))
        axis.size += 2;
    const int last = axis.size / 2;
    for (int i = static_cast<int>(std::floor(std::log2(kLowest / kCentre) * points_per_octave));; ++i) {
        const double hz = std::max(kLowest, kCentre * std::exp2(static_cast<double>(i) / points_per_octave));
        const int bin = static_cast<int>(std::min<double>(last, std::round(hz * axis.size / rate)));
        if (axis.bins.empty() || bin > axis.bins.back())
            axis.bins.push_back(bin);
        if (bin == last)
            return axis;
    }
}

Computed compute(const Engine& engine, int from, const Axis& axis)
{
    Propagation propagation(engine, from, axis);
    Computed result;
    for (const int number : engine.schematic().order)
        if (!propagation.visit(number))
            result.ids.push_back(engine.schematic().blocks[index(number)].id);
    for (const Source& source : engine.schematic().outputs)
        result.outputs.push_back(propagation.at(source));
    result.unstable.assign(propagation.unstable().begin(), propagation.unstable().end());
    return result;
}

}  // namespace vantoro
