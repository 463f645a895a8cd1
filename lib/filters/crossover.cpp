// SPDX-License-Identifier: Apache-2.0
#include "crossover.h"

#include <algorithm>
#include <array>
#include <numbers>

#include "../framework/clear_state.h"
#include "../framework/context.h"
#include "../framework/new_block.h"
#include "../kernels/level.h"
#include "../kernels/section.h"
#include "../math/filter_design.h"
#include "../math/rounded.h"
#include "arranged.h"
#include "crossover_info.h"

using namespace lbx;

namespace {

// ---- one filter

struct Response {
    int order;        // 2: one bilinear section; 3 and 4: two sections of filter_design
    float inverse_q;  // of the former, but for LR12
    int algorithm;    // of the latter
    int times;        // in series
};
constexpr Response kResponses[] = {
    {2, 0, 0, 1},                   // LR12
    {2, kButterworth, 0, 1},        // Butter12
    {2, kBessel, 0, 1},             // Bessel12
    {3, 0, kDesignButterworth, 1},  // Butter18
    {3, 0, kDesignBessel, 1},       // Bessel18
    {2, kButterworth, 0, 2},        // LR24
    {4, 0, kDesignButterworth, 1},  // Butter24
    {4, 0, kDesignBessel, 1},       // Bessel24
    {3, 0, kDesignButterworth, 2},  // LR36
    {4, 0, kDesignButterworth, 2},  // LR48
};
static_assert(std::ranges::equal(kResponses, crossover::kLowTypes.list, [](const Response& r, const VantoroChoice& c) {
    return (r.times == 2) == (c.reading_count > 0);  // reads its gain twice
}));

// Unknown types have a number of sections too.
int sections_of(int type) { return type <= Bessel12 ? 1 : type <= Bessel24 ? 2 : 4; }

void designed_pair(const Response& response, float wn, int kind, float gain, float* coeff, float* ba)
{
    filter_design(response.order, 0.0F, wn, response.algorithm, kind, ba);
    write_section({1.0F, ba[0], ba[1], 1.0F, ba[2], ba[3]}, ba[kFilterDesignGain] * gain, coeff);
    const float* second = ba + kFilterDesignStride;
    write_section({1.0F, second[0], second[1], 1.0F, second[2], second[3]}, 1.0F, coeff + kSosCoeffs);
}

// LR12: two equal real poles. `omega` is pi Fc, `theta` is omega / rate.
Sos equal_poles(float omega, float theta, float rate_hz, int kind)
{
    const float k = theta != 0.0F ? omega / rounded::tan(theta) : rate_hz;  // the limit
    const float omega2 = omega * omega, k2 = k * k, cross = 2.0F * k * omega;
    const float a0 = k2 + cross + omega2, a1 = 2.0F * omega2 - 2.0F * k2, a2 = k2 - cross + omega2;
    if (kind == kDesignLowPass)
        return {omega2, 2.0F * omega2, omega2, a0, a1, a2};
    return {k2, -2.0F * k2, k2, a0, a1, a2};
}

void design(float* coeff, float* ba, float rate_hz, int type, float fc_hz, float gain, int kind)
{
    if (type < 0 || type >= std::ssize(kResponses))
        return;
    const Response& response = kResponses[type];
    int floats = kSosCoeffs;
    if (response.order > 2) {
        designed_pair(response, 2.0F * fc_hz / rate_hz, kind, gain, coeff, ba);
        floats = 2 * kSosCoeffs;
    } else {
        const auto omega = static_cast<float>(std::numbers::pi * static_cast<double>(fc_hz));
        const float theta = omega / rate_hz;
        const auto bilinear = kind == kDesignLowPass ? bilinear_low_pass : bilinear_high_pass;
        Sos h = type == LR12 ? equal_poles(omega, theta, rate_hz, kind) : bilinear(theta, response.inverse_q);
        for (float* b : {&h.b0, &h.b1, &h.b2})
            *b *= gain;  // before the division, so that the division rounds last
        write_section(h, 1.0F, coeff);
    }
    if (response.times == 2)
        std::copy_n(coeff, floats, coeff + floats);
}

// ---- two-way and three-way

// A filter's entries in the vector; filters stand in the order of their sections. kNoGain: 0 dB.
struct Filter {
    int kind, type, fc, gain;
};
constexpr int kNoGain = -1, kMostFilters = 4, kMostCoeffs = kMostFilters * 4 * kSosCoeffs;

struct Ways {
    int bands, filters;  // the third band takes two filters
    std::span<const float> defaults;
    Filter filter[kMostFilters];
    int polarity[3];  // by band; -1: none
    char title[16];
    std::span<const ParamLabel> labels;
};

constexpr ParamLabel kLabels2[] = {{"Low_Type"}, {"Low_Fc"},      {"Low_GaindB"}, {"High_Type"},
                                   {"High_Fc"},  {"High_GaindB"}, {"Polarity"}};
constexpr Ways kTwoWays = {
    2,
    2,
    kInitial<crossover::kTwoWayLayout>,
    {{kDesignLowPass, kCrossover2WayLowType, kCrossover2WayLowFc, kCrossover2WayLowGainDB},
     {kDesignHighPass, kCrossover2WayHighType, kCrossover2WayHighFc, kCrossover2WayHighGainDB}},
    {kCrossover2WayPolarity, -1},
    "Crossover_2way",
    kLabels2,
};

constexpr ParamLabel kLabels3[] = {{"Low_Type", true},    {"Low_Fc"},      {"Low_GaindB"},        {"High_Type", true},
                                   {"High_Fc"},           {"High_GaindB"}, {"Med_Lp_Type", true}, {"Med_Lp_Fc"},
                                   {"Med_Hp_Type", true}, {"Med_Hp_Fc"},   {"Med_GaindB"},        {"Polarity1"},
                                   {"Polarity2"}};
constexpr Ways kThreeWays = {
    3,
    4,
    kInitial<crossover::kThreeWayLayout>,
    {{kDesignLowPass, kCrossover3WayLowType, kCrossover3WayLowFc, kCrossover3WayLowGainDB},
     {kDesignHighPass, kCrossover3WayHighType, kCrossover3WayHighFc, kCrossover3WayHighGainDB},
     {kDesignLowPass, kCrossover3WayMedLpType, kCrossover3WayMedLpFc, kCrossover3WayMedGainDB},
     {kDesignHighPass, kCrossover3WayMedHpType, kCrossover3WayMedHpFc, kNoGain}},
    {kCrossover3WayPolarity1, -1, kCrossover3WayPolarity2},
    "Crossover_3way",
    kLabels3,
};

// The documented record, and the same arranged for the kernel.
template <class Core>
struct Crossover : Core {
    Split split;
    float arranged[kMostCoeffs];  // what the split was arranged from
    float* tile;                  // scratch of the kernel
};

constexpr const Ways& ways(const Crossover2Way_Core*) { return kTwoWays; }
constexpr const Ways& ways(const Crossover3Way_Core*) { return kThreeWays; }

void note(Crossover2Way_Core* core, const int* sections, const int* inverted)
{
    core->sos_low = sections[0];
    core->sos_high = sections[1];
    core->invert1 = inverted[0];
}
void note(Crossover3Way_Core* core, const int* sections, const int* inverted)
{
    core->sos_low = sections[0];
    core->sos_high = sections[1];
    core->sos_med_lp = sections[2];
    core->sos_med_hp = sections[3];
    core->invert1 = inverted[0];
    core->invert2 = inverted[2];
}

// By band; the high one has none.
std::array<int, Split::kMaxBands> inverts(const Crossover2Way_Core* core) { return {core->invert1}; }
std::array<int, Split::kMaxBands> inverts(const Crossover3Way_Core* core) { return {core->invert1, 0, core->invert2}; }

template <class Core>
[[gnu::cold]] void arrange(Crossover<Core>* core, std::array<SplitBand, Split::kMaxBands> band)
{
    const std::array inverted = inverts(core);
    for (std::size_t b = 0; b < band.size(); ++b)
        band[b].negate = inverted[b] != 0;
    set_split(core->split, core->coeffArray, band.data(), ways(core).bands);
    std::copy_n(core->coeffArray, kSosCoeffs * core->split.sections, core->arranged);
}

template <class Core>
bool as_arranged(const Crossover<Core>* core)
{
    const std::array inverted = inverts(core);
    bool same = same_floats(core->coeffArray, core->arranged, kSosCoeffs * core->split.sections);
    for (int b = 0; b < core->split.bands; ++b)
        same &= core->split.band[b].negate == (inverted[static_cast<std::size_t>(b)] != 0);
    return same;
}

// ---- setting

// A new array that begins with the old values; the rest is 0.
bool resized_copy(float*& fresh, const float* old, std::ptrdiff_t old_n, std::ptrdiff_t n)
{
    if (!zeros(fresh, n))
        return false;
    std::copy_n(old, std::min(old_n, n), fresh);
    return true;
}

template <class Core>
bool make_room(BlockAlgo* blk, Crossover<Core>* core, int sections)
{
    const std::ptrdiff_t words = std::ptrdiff_t{kSosWords} * blk->nInputs, old = core->split.sections;
    float *coeff = nullptr, *state = nullptr;
    if (!resized_copy(coeff, core->coeffArray, kSosCoeffs * old, std::ptrdiff_t{kSosCoeffs} * sections) ||
        !resized_copy(state, core->stateArray, words * old, words * sections)) {
        std::free(coeff);
        return false;
    }
    std::free(blk->pStateB);
    std::free(blk->pStateC);
    core->coeffArray = blk->pStateB = coeff;
    core->stateArray = blk->pStateC = state;
    return true;
}

// Designs every filter from the stored vector.
template <class Core>
void apply(BlockAlgo* blk, Crossover<Core>* core, const int* sections)
{
    const Ways& way = ways(core);
    float* param = blk->pParam;
    float* coeff = core->coeffArray;
    const float rate_hz = rate_of(blk->block_pro);
    const VantoroRange gain_clamp = crossover::kLowGainDb.clamp;  // of every band
    std::array<SplitBand, Split::kMaxBands> band = {};
    int inverted[Split::kMaxBands] = {};
    for (int f = 0; f < way.filters; ++f) {
        const Filter& filter = way.filter[f];
        const float gain = filter.gain == kNoGain ? 1.0F : linear_gain(clamp_back(param[filter.gain], gain_clamp));
        float ba[kFilterDesignSize];
        design(coeff, ba, rate_hz, to_int(param[filter.type]), param[filter.fc], gain, filter.kind);
        coeff += std::ptrdiff_t{kSosCoeffs} * sections[f];
        band[static_cast<std::size_t>(std::min(f, way.bands - 1))].sections += sections[f];
    }
    for (int b = 0; b < way.bands; ++b)
        inverted[b] = way.polarity[b] >= 0 ? to_int(param[way.polarity[b]]) : 0;
    note(core, sections, inverted);
    arrange(core, band);
}

template <class Core>
[[gnu::cold]] int set(BlockAlgo* blk, const float* param)
{
    auto* core = core_of<Crossover<Core>>(blk);
    const Ways& way = ways(core);
    int sections[kMostFilters] = {}, total = 0;
    for (int f = 0; f < way.filters; ++f) {
        sections[f] = sections_of(to_int((param ? param : blk->pParam)[way.filter[f].type]));
        total += sections[f];
    }
    if (total != core->split.sections && !make_room(blk, core, total))
        return RT_ERR_MALLOC;
    copy_params(blk->pParam, param, static_cast<int>(way.defaults.size()));
    apply(blk, core, sections);
    return RT_OK;
}

template <class Core>
int destroy(BlockAlgo* blk)
{
    if (const auto* core = blk ? core_of<Crossover<Core>>(blk) : nullptr) {
        std::free(core->inputBuffer);
        std::free(core->tile);
    }
    return free_block(blk);
}

template <class Core>
BlockAlgo* create(int inputs, int outputs, BlockPro* pro, int type)
{
    NewBlock blk = new_block(inputs, outputs, pro, type, destroy<Core>);
    auto* core = new_core<Crossover<Core>>(blk);
    if (!core || !zeros(blk->pParam, std::ssize(ways(core).defaults)) || !zeros(core->inputBuffer, inputs) ||
        !zeros(core->tile, std::ptrdiff_t{kSplitTile} * inputs))
        return nullptr;
    std::ranges::copy(ways(core).defaults, blk->pParam);
    return set<Core>(blk.get(), nullptr) == RT_OK ? blk.release() : nullptr;
}

template <class Core>
int process(const BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<Crossover<Core>>(blk);
    const int n = blk->block_pro->nBlockSize;
    if (!as_arranged(core))
        arrange(core, std::to_array(core->split.band));
    run_split(core->split, core->stateArray, data_in, data_out, blk->nInputs, n, core->tile);
    for (int c = 0; c < blk->nInputs && n > 0; ++c)
        core->inputBuffer[c] = core->tile[kSplitTile * c + (n - 1) % kSplitTile];
    return RT_OK;
}

template <class Core>
int print(const char* func, const BlockAlgo* blk)
{
    const Ways& way = ways(static_cast<const Core*>(nullptr));
    if (blk)
        print_params(func, way.title, way.labels, blk->pParam);
    return RT_OK;
}

// ---- what the block does

template <class Visit>
void visit_core(const BlockAlgo* blk, Visit&& visit)
{
    if (blk->method_type == EN_FILTER_CROSSOVER_2WAY)
        visit(core_of<Crossover<Crossover2Way_Core>>(blk));
    else
        visit(core_of<Crossover<Crossover3Way_Core>>(blk));
}

}  // namespace

int crossover::bands(const BlockAlgo* blk) { return blk->method_type == EN_FILTER_CROSSOVER_2WAY ? 2 : 3; }

void crossover::band_sections(const BlockAlgo* blk, int band, const info::Paths& paths)
{
    visit_core(blk, [&](const auto* core) {
        const float* coeff = core->coeffArray + std::ptrdiff_t{kSosCoeffs} * core->split.first[band];
        for (int k = 0; k < core->split.band[band].sections; ++k)
            paths.second_order(coeff + std::ptrdiff_t{kSosCoeffs} * k);
    });
}

void crossover::linear_model(const BlockAlgo* blk, const info::Paths& paths)
{
    visit_core(blk, [&](const auto* core) {
        for (int out = 0; out < blk->nInputs * bands(blk); ++out) {
            const int band = out % bands(blk);
            paths.path(out / bands(blk), out, inverts(core)[static_cast<std::size_t>(band)] != 0 ? -1 : 1);
            band_sections(blk, band, paths);
        }
    });
}

void clear_state::crossover(BlockAlgo* blk)
{
    visit_core(blk, [&](const auto* core) {
        std::fill_n(core->stateArray, std::ptrdiff_t{kSosWords} * blk->nInputs * core->split.sections, 0.0F);
    });
}

void calculateLP(float* coeff, float* ba, float sampleRate, int type, float Fc, float gain)
{
    design(coeff, ba, sampleRate, type, Fc, gain, kDesignLowPass);
}

void calculateHP(float* coeff, float* ba, float sampleRate, int type, float Fc, float gain)
{
    design(coeff, ba, sampleRate, type, Fc, gain, kDesignHighPass);
}

BlockAlgo* Crossover2Way_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(crossover::kTwoWay, Input_pin, Output_pin)) {
        LBX_LOG("wrong input pin number in Crossover 2Way\n");
        return nullptr;
    }
    return create<Crossover2Way_Core>(Input_pin, Output_pin, block_pro, type);
}

int Crossover2Way_param_set(BlockAlgo* blk, float* param) { return set<Crossover2Way_Core>(blk, param); }
int Crossover2Way_param_update(BlockAlgo* blk) { return set<Crossover2Way_Core>(blk, nullptr); }
int Crossover2Way_param_invoke(BlockAlgo* blk) { return print<Crossover2Way_Core>(__func__, blk); }

int Crossover2Way_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    return process<Crossover2Way_Core>(blk, data_in, data_out);
}

int Crossover2Way_destroy(BlockAlgo* blk) { return destroy<Crossover2Way_Core>(blk); }

BlockAlgo* Crossover3Way_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (Input_pin <= 0 || Output_pin / Input_pin != 3) {  // ignores the remainder, on purpose
        LBX_LOG("wrong input pin number in Crossover 3Way\n");
        return nullptr;
    }
    return create<Crossover3Way_Core>(Input_pin, Output_pin, block_pro, type);
}

int Crossover3Way_param_set(BlockAlgo* blk, float* param) { return set<Crossover3Way_Core>(blk, param); }
int Crossover3Way_param_update(BlockAlgo* blk) { return set<Crossover3Way_Core>(blk, nullptr); }
int Crossover3Way_param_invoke(BlockAlgo* blk) { return print<Crossover3Way_Core>(__func__, blk); }

int Crossover3Way_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    return process<Crossover3Way_Core>(blk, data_in, data_out);
}

int Crossover3Way_destroy(BlockAlgo* blk) { return destroy<Crossover3Way_Core>(blk); }
