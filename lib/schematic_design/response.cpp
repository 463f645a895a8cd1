// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <utility>

#include "../filters/crossover_info.h"
#include "../filters/fir_info.h"
#include "../filters/first_order_info.h"
#include "../filters/look_up_info.h"
#include "../filters/miscellaneous_info.h"
#include "../filters/second_order_info.h"
#include "../framework/log.h"
#include "../math/lbx_fastmath.h"
#include "schematic_design.h"
#include "speaker_file.h"

using namespace lbx;

namespace {

using SingleGrid = std::unique_ptr<FreqResponseState, void (*)(FreqResponseState*)>;
using MultiGrid = std::unique_ptr<Multi_FreqResponseState, void (*)(Multi_FreqResponseState*)>;

// One curve of either kind of grid.
struct GridCurve {
    const float* freq;
    float *mag, *deg;
    int lens, sample_rate;
};
GridCurve curve_of(const FreqResponseState& grid)
{
    return {grid.freq, grid.mag, grid.deg, grid.lens, grid.sample_rate};
}
GridCurve curve_of(const Multi_FreqResponseState& grid, int i)
{
    return {grid.freq, grid.mag[i], grid.deg[i], grid.lens, grid.sample_rate};
}

struct Complex {
    double re, im;
};
Complex operator*(Complex p, Complex q) { return {p.re * q.re - p.im * q.im, p.re * q.im + p.im * q.re}; }
double power(Complex z) { return z.re * z.re + z.im * z.im; }

// c0 + c1 z + c2 z^2, nested.
Complex horner(Complex z, double c0, double c1, double c2)
{
    const Complex inner = {z.re * c2 + c1, z.im * c2};
    const Complex outer = inner * z;
    return {outer.re + c0, outer.im};
}

// A denominator of 0 gives 0, as in the other complex helpers.
Complex operator/(Complex p, Complex q)
{
    const double scale = power(q);
    if (scale == 0.0)
        return {0.0, 0.0};
    const Complex product = p * Complex{q.re, -q.im};
    return {product.re / scale, product.im / scale};
}

// e^(-j 2 pi turns), turns 0 .. 1.
Complex unit(double turns)
{
    const auto omega = static_cast<float>(-2.0 * std::numbers::pi * turns);
    return {static_cast<double>(lbx_fast_cos(omega)), static_cast<double>(lbx_fast_sin(omega))};
}

double turns_at(const GridCurve& curve, int k) { return static_cast<double>(curve.freq[k]) / curve.sample_rate; }

// Sections in series add dB and degrees; the sum of degrees is brought back by one turn at most. A response of 0 has no
// phase to add.
void add_point(const GridCurve& curve, int k, Complex h)
{
    const auto re = static_cast<float>(h.re), im = static_cast<float>(h.im);
    curve.mag[k] += 10.0F * lbx_fast_log2(static_cast<float>(power(h))) / lbx_fast_log2(10.0F);
    if (re == 0.0F && im == 0.0F)
        return;
    const float sum = curve.deg[k] + lbx_fast_atan2(im, re) / 3.1415927F * 180.0F;
    curve.deg[k] = sum > 180.0F ? sum - 360.0F : sum < -180.0F ? sum + 360.0F : sum;
}

// One section on the grid: b0, b1, b2, a1, a2. In double precision apart from the two fast functions: near 0 Hz the
// sums nearly cancel.
void calfiltercore(const double* c, const GridCurve& curve)
{
    for (int k = 0; k < curve.lens; ++k) {
        const Complex z = unit(turns_at(curve, k));
        add_point(curve, k, horner(z, c[0], c[1], c[2]) / horner(z, 1.0, c[3], c[4]));
    }
}

// Every tap at its own angle: rotating on from tap to tap would raise the fast functions' error to the power of the
// number of taps.
void FirResponse_Cal(const float* taps, int count, const GridCurve& curve)
{
    for (int k = 0; k < curve.lens; ++k) {
        Complex sum = {0.0, 0.0};
        for (int i = 0; i < count; ++i) {
            const double turns = turns_at(curve, k) * i;
            const Complex z = unit(turns - std::floor(turns));
            sum.re += static_cast<double>(taps[i]) * z.re;
            sum.im += static_cast<double>(taps[i]) * z.im;
        }
        add_point(curve, k, sum);
    }
}

// Puts the sections or taps that `tell` hands to its paths onto the curve. A module's functions for one section are
// asked, not its linear model: flags do not count here.
template <class Tell>
void add_filter(GridCurve curve, Tell&& tell)
{
    const VantoroLinearVisitor visitor = {
        &curve,
        nullptr,
        [](void* user, const double* section) { calfiltercore(section, *static_cast<const GridCurve*>(user)); },
        [](void* user, const float* taps, int count) {
            FirResponse_Cal(taps, count, *static_cast<const GridCurve*>(user));
        },
    };
    tell(info::Paths(visitor));
}

void CalandAddFilter_FreqResponse(const BlockAlgo& blk, const info::Paths& paths)
{
    switch (blk.method_type) {
    case EN_FILTER_1ST:
        first_order::section(&blk, paths);
        break;
    case EN_FILTER_2ND_PARAM_SHELF:
    case EN_FILTER_2ND_COMMON:
    case EN_FILTER_2ND_BESSEL_BUTTER:
    case EN_FILTER_2ND_TONE:
    case EN_FILTER_2ND_IIR:
    case EN_FILTER_2ND_FIRSTORDERS:
        second_order::section(&blk, paths);
        break;
    case EN_FILTER_FIR:
        fir::impulse_response(&blk, paths);
        break;
    default:  // EN_FILTER_2ND_GENERAL too: it stays left out, on purpose
        LBX_LOG_AS("filter_response_check", __LINE__, "wrong filter type in Process\n\n");
    }
}

// Curve i of the grid is curve, band or output i of the block.
void add_filters(const Multi_FreqResponseState& grid, const BlockAlgo& blk,
                 void (*part)(const BlockAlgo* blk, int i, const info::Paths& paths))
{
    for (int i = 0; i < grid.num_curves; ++i)
        add_filter(curve_of(grid, i), [&](const info::Paths& paths) { part(&blk, i, paths); });
}

constexpr int kNoFile = 1;

// A table on its way to the current directory. Every failure is reported once.
class Sheet {
public:
    explicit Sheet(const char* name) : name_(name), file_(std::fopen(name, "w"))
    {
        if (!file_)
            LBX_LOG_AS("Response_Check", __LINE__, "cannot open %s\n\n", name_);
    }
    ~Sheet() { close(); }
    Sheet(const Sheet&) = delete;
    Sheet& operator=(const Sheet&) = delete;

    explicit operator bool() const { return file_ != nullptr; }
    std::FILE* file() { return file_; }

    // A line per grid point: the frequency, each column's value, `end`.
    void rows(const float* freq, int lens, const float* const* columns, int count, const char* end)
    {
        for (int k = 0; k < lens; ++k) {
            std::fprintf(file_, "%f", static_cast<double>(freq[k]));
            for (int i = 0; i < count; ++i)
                std::fprintf(file_, "\t%f", static_cast<double>(columns[i][k]));
            std::fputs(end, file_);
        }
    }

    // The result of a check: 0, or 1 when the disk did not take everything.
    int close()
    {
        std::FILE* file = std::exchange(file_, nullptr);
        if (!file)
            return 0;
        const bool lost = std::ferror(file) != 0;
        if (std::fclose(file) == 0 && !lost)
            return 0;
        LBX_LOG_AS("Response_Check", __LINE__, "cannot write %s\n\n", name_);
        return kNoFile;
    }

private:
    const char* name_;
    std::FILE* file_;
};

void write_single(Sheet& sheet, const FreqResponseState& grid)
{
    const float* const columns[] = {grid.mag, grid.deg};
    std::fprintf(sheet.file(), "%s\t%s\t%s\n", "Freq(Hz)", "Mag(dB)", "Deg(degrees)");
    sheet.rows(grid.freq, grid.lens, columns, 2, "\n");
}

// Low and high, and mid where there are three.
void write_bands(Sheet& sheet, const Multi_FreqResponseState& grid)
{
    std::fprintf(sheet.file(), "%s\t%s\t%s", "Freq(Hz)", "Maglow(dB)", "Maghigh(dB)");
    std::fputs(grid.num_curves == 3 ? "\tMagmid(dB)\n" : "\n", sheet.file());
    sheet.rows(grid.freq, grid.lens, grid.mag, grid.num_curves, "\n");
}

// Here every line ends with a tab.
void write_curves(Sheet& sheet, const Multi_FreqResponseState& grid)
{
    std::fputs("Freq(Hz)\t", sheet.file());
    for (int i = 1; i <= grid.num_curves; ++i)
        std::fprintf(sheet.file(), "mag[%d](dB)\t", i);
    std::fputc('\n', sheet.file());
    sheet.rows(grid.freq, grid.lens, grid.mag, grid.num_curves, "\t\n");
}

// Why there is no grid.
int refused(int resolution) { return resolution > 0 ? RT_ERR_MALLOC : RT_ERR_VALUE; }

SingleGrid single_grid(int rate, int resolution)
{
    return {FreqResponse_param_Init(rate, static_cast<float>(resolution)), FreqResponse_Destroy};
}
MultiGrid multi_grid(int rate, int resolution, int curves)
{
    return {Multi_FreqResponse_param_Init(rate, resolution, curves), Multi_FreqResponse_Destroy};
}

int check_dc_blocker(const BlockAlgo& blk, Sheet& sheet, int rate, int resolution)
{
    const SingleGrid grid = single_grid(rate, resolution);
    if (!grid)
        return refused(resolution);
    add_filter(curve_of(*grid), [&](const info::Paths& paths) { miscellaneous::dc_section(&blk, paths); });
    write_single(sheet, *grid);
    return sheet.close();
}

int check_state_variable(const BlockAlgo& blk, Sheet& sheet, int rate, int resolution)
{
    const MultiGrid grid = multi_grid(rate, resolution, miscellaneous::kOutputs);
    if (!grid)
        return refused(resolution);
    add_filters(*grid, blk, miscellaneous::state_variable_section);
    write_bands(sheet, *grid);
    return sheet.close();
}

}  // namespace

int filter_response_check(BlockAlgo* st_ptr, int Band_Num, int In_SampleRate, int resolution, const char* Spk_File)
{
    const SingleGrid grid = single_grid(In_SampleRate, resolution);
    if (!grid)
        return refused(resolution);
    Sheet sheet("FilterCheck.xls");
    if (!sheet)
        return kNoFile;
    if (Spk_File)
        SpeakerResponse_Init(Spk_File, grid.get());
    for (int i = 0; i < Band_Num; ++i)
        add_filter(curve_of(*grid), [&](const info::Paths& paths) { CalandAddFilter_FreqResponse(st_ptr[i], paths); });
    write_single(sheet, *grid);
    return sheet.close();
}

int LookupFilter_Response_Check(BlockAlgo* blk, int In_sampleRate, int Freqresol)
{
    if (blk->method_type < EN_FILTER_LOOKUP_TONE_PEAK || blk->method_type > EN_FILTER_LOOKUP_BUTTER_BESSEL) {
        LBX_LOG("wrong input type in LookUpFilter\n");
        return RT_OK;
    }
    const MultiGrid grid = multi_grid(In_sampleRate, Freqresol, look_up::curves(blk));
    if (!grid)
        return refused(Freqresol);
    Sheet sheet("LookupFilterCheck.xls");
    if (!sheet)
        return kNoFile;
    add_filters(*grid, *blk, look_up::curve_section);
    write_curves(sheet, *grid);
    return sheet.close();
}

int CrossoverFilter_Response_Check(BlockAlgo* blk, int In_sampleRate, int Freqresol)
{
    if (blk->method_type != EN_FILTER_CROSSOVER_2WAY && blk->method_type != EN_FILTER_CROSSOVER_3WAY) {
        LBX_LOG("wrong input type in CrossoverFilter\n");
        return RT_OK;
    }
    const MultiGrid grid = multi_grid(In_sampleRate, Freqresol, crossover::bands(blk));
    if (!grid)
        return refused(Freqresol);
    Sheet sheet("CrossoverFilterCheck.xls");
    if (!sheet)
        return kNoFile;
    add_filters(*grid, *blk, crossover::band_sections);
    write_bands(sheet, *grid);
    return sheet.close();
}

int MiscellFilter_Response_Check(BlockAlgo* blk, int In_sampleRate, int Freqresol)
{
    Sheet sheet("MiscellFilterCheck.xls");
    if (!sheet)
        return kNoFile;
    switch (blk->method_type) {
    case EN_FILTER_MISCE_DCBLOCKING:
        return check_dc_blocker(*blk, sheet, In_sampleRate, Freqresol);
    case EN_FILTER_MISCE_STATEVARIABLE:
    case EN_FILTER_MISCE_STATEVARIABLEQ:
        return check_state_variable(*blk, sheet, In_sampleRate, Freqresol);
    default:
        LBX_LOG("wrong input type in MiscellFilter\n");
        return sheet.close();
    }
}
