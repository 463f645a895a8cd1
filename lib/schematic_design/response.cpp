// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <utility>

#include "../filters/crossover.h"
#include "../filters/fir.h"
#include "../filters/first_order.h"
#include "../filters/look_up.h"
#include "../filters/miscellaneous.h"
#include "../filters/second_order.h"
#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../math/lbx_fastmath.h"
#include "schematic_design.h"
#include "speaker_file.h"

namespace {

using SingleGrid = std::unique_ptr<FreqResponseState, void (*)(FreqResponseState*)>;
using MultiGrid = std::unique_ptr<Multi_FreqResponseState, void (*)(Multi_FreqResponseState*)>;

// One curve of either kind of grid.
struct Curve {
    const float* freq;
    float *mag, *deg;
    int lens, sample_rate;
};
Curve curve_of(const FreqResponseState& grid) { return {grid.freq, grid.mag, grid.deg, grid.lens, grid.sample_rate}; }
Curve curve_of(const Multi_FreqResponseState& grid, int i)
{
    return {grid.freq, grid.mag[i], grid.deg[i], grid.lens, grid.sample_rate};
}

struct Complex {
    double re, im;
};
Complex operator*(Complex p, Complex q) { return {p.re * q.re - p.im * q.im, p.re * q.im + p.im * q.re}; }
double power(Complex z) { return z.re * z.re + z.im * z.im; }

// c0 + c1 z + c2 z^2, nested.
Complex horner(Complex z, float c0, float c1, float c2)
{
    const Complex inner = {z.re * static_cast<double>(c2) + static_cast<double>(c1), z.im * static_cast<double>(c2)};
    const Complex outer = inner * z;
    return {outer.re + static_cast<double>(c0), outer.im};
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

// A rational section; the denominator begins with 1.
struct Section {
    float b0, b1, b2, a1, a2;
};
Section first_order(const float* coeff) { return {coeff[0], coeff[1], 0.0F, coeff[2], 0.0F}; }
Section second_order(const float* coeff) { return {coeff[0], coeff[1], coeff[3], coeff[2], coeff[4]}; }

// e^(-j 2 pi turns), turns 0 .. 1.
Complex unit(double turns)
{
    const auto omega = static_cast<float>(-2.0 * std::numbers::pi * turns);
    return {static_cast<double>(lbx_fast_cos(omega)), static_cast<double>(lbx_fast_sin(omega))};
}

double turns_at(const Curve& curve, int k) { return static_cast<double>(curve.freq[k]) / curve.sample_rate; }

// Sections in series add dB and degrees; the sum of degrees is brought back by one turn at most. A response of 0 has no
// phase to add.
void add_point(const Curve& curve, int k, Complex h)
{
    const auto re = static_cast<float>(h.re), im = static_cast<float>(h.im);
    curve.mag[k] += 10.0F * lbx_fast_log2(static_cast<float>(power(h))) / lbx_fast_log2(10.0F);
    if (re == 0.0F && im == 0.0F)
        return;
    const float sum = curve.deg[k] + lbx_fast_atan2(im, re) / 3.1415927F * 180.0F;
    curve.deg[k] = sum > 180.0F ? sum - 360.0F : sum < -180.0F ? sum + 360.0F : sum;
}

// One section on the grid. In double precision apart from the two fast functions: near 0 Hz the sums nearly cancel.
void calfiltercore(const Section& s, const Curve& curve)
{
    for (int k = 0; k < curve.lens; ++k) {
        const Complex z = unit(turns_at(curve, k));
        add_point(curve, k, horner(z, s.b0, s.b1, s.b2) / horner(z, 1.0F, s.a1, s.a2));
    }
}

// Every tap at its own angle: rotating on from tap to tap would raise the fast functions' error to the power of the
// number of taps.
void FirResponse_Cal(const float* taps, int count, const Curve& curve)
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

void add_sections(const float* coeff, int sections, const Curve& curve)
{
    for (std::ptrdiff_t i = 0; i < sections; ++i)
        calfiltercore(second_order(coeff + 5 * i), curve);
}

void CalandAddFilter_FreqResponse(const BlockAlgo& blk, const Curve& curve)
{
    switch (blk.method_type) {
    case EN_FILTER_1ST:
        calfiltercore(first_order(lbx::core_of<FirstOrder_Core>(&blk)->coeffArray), curve);
        break;
    case EN_FILTER_2ND_PARAM_SHELF:
    case EN_FILTER_2ND_COMMON:
    case EN_FILTER_2ND_BESSEL_BUTTER:
    case EN_FILTER_2ND_TONE:
    case EN_FILTER_2ND_IIR:
    case EN_FILTER_2ND_FIRSTORDERS:
        add_sections(lbx::core_of<SecondOrder_Core>(&blk)->coeffArray, 1, curve);
        break;
    case EN_FILTER_FIR: {
        const auto* core = lbx::core_of<FIR_Core>(&blk);
        FirResponse_Cal(core->coeffs, core->fir_len, curve);
        break;
    }
    default:  // EN_FILTER_2ND_GENERAL too: it stays left out, on purpose
        LBX_LOG_AS("filter_response_check", __LINE__, "wrong filter type in Process\n\n");
    }
}

void Lookup_FreqResponse_Cal(const BlockAlgo& blk, const Multi_FreqResponseState& grid)
{
    const float* coeff = lbx::core_of<LookUp_Core>(&blk)->coeffArray;
    for (int i = 0; i < grid.num_curves; ++i)
        add_sections(coeff + static_cast<std::ptrdiff_t>(5) * i, 1, curve_of(grid, i));
}

void Crossover_FreqResponse_Cal(const BlockAlgo& blk, const Multi_FreqResponseState& grid)
{
    if (blk.method_type == EN_FILTER_CROSSOVER_2WAY) {
        const auto* core = lbx::core_of<Crossover2Way_Core>(&blk);
        add_sections(core->coeffArray, core->sos_low, curve_of(grid, 0));
        add_sections(core->coeffArray + 5 * core->sos_low, core->sos_high, curve_of(grid, 1));
    } else {
        const auto* core = lbx::core_of<Crossover3Way_Core>(&blk);
        const float* high = core->coeffArray + 5 * core->sos_low;
        add_sections(core->coeffArray, core->sos_low, curve_of(grid, 0));
        add_sections(high, core->sos_high, curve_of(grid, 1));
        add_sections(high + 5 * core->sos_high, core->sos_med_lp + core->sos_med_hp, curve_of(grid, 2));
    }
}

void Miscell_FreqResponse_Cal(const BlockAlgo& blk, const Multi_FreqResponseState& grid)
{
    const float* a = lbx::core_of<StateVariable_Core>(&blk)->coeffArray;
    for (int i = 0; i < 3; ++i) {
        const float* b = a + 2 + 3 * i;
        calfiltercore({b[0], b[1], b[2], a[0], a[1]}, curve_of(grid, i));
    }
}

constexpr int kNoFile = 1;

// The table on its way to the current directory. Every failure is reported once.
class Table {
public:
    explicit Table(const char* name) : name_(name), file_(std::fopen(name, "w"))
    {
        if (!file_)
            LBX_LOG_AS("Response_Check", __LINE__, "cannot open %s\n\n", name_);
    }
    ~Table() { close(); }
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

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

void write_single(Table& table, const FreqResponseState& grid)
{
    const float* const columns[] = {grid.mag, grid.deg};
    std::fprintf(table.file(), "%s\t%s\t%s\n", "Freq(Hz)", "Mag(dB)", "Deg(degrees)");
    table.rows(grid.freq, grid.lens, columns, 2, "\n");
}

// Low and high, and mid where there are three.
void write_bands(Table& table, const Multi_FreqResponseState& grid)
{
    std::fprintf(table.file(), "%s\t%s\t%s", "Freq(Hz)", "Maglow(dB)", "Maghigh(dB)");
    std::fputs(grid.num_curves == 3 ? "\tMagmid(dB)\n" : "\n", table.file());
    table.rows(grid.freq, grid.lens, grid.mag, grid.num_curves, "\n");
}

// Here every line ends with a tab.
void write_curves(Table& table, const Multi_FreqResponseState& grid)
{
    std::fputs("Freq(Hz)\t", table.file());
    for (int i = 1; i <= grid.num_curves; ++i)
        std::fprintf(table.file(), "mag[%d](dB)\t", i);
    std::fputc('\n', table.file());
    table.rows(grid.freq, grid.lens, grid.mag, grid.num_curves, "\t\n");
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

int check_dc_blocker(const BlockAlgo& blk, Table& table, int rate, int resolution)
{
    const SingleGrid grid = single_grid(rate, resolution);
    if (!grid)
        return refused(resolution);
    calfiltercore(first_order(lbx::core_of<DCBlocking_Core>(&blk)->coeffArray), curve_of(*grid));
    write_single(table, *grid);
    return table.close();
}

int check_state_variable(const BlockAlgo& blk, Table& table, int rate, int resolution)
{
    const MultiGrid grid = multi_grid(rate, resolution, 3);
    if (!grid)
        return refused(resolution);
    Miscell_FreqResponse_Cal(blk, *grid);
    write_bands(table, *grid);
    return table.close();
}

}  // namespace

int filter_response_check(BlockAlgo* st_ptr, int Band_Num, int In_SampleRate, int resolution, const char* Spk_File)
{
    const SingleGrid grid = single_grid(In_SampleRate, resolution);
    if (!grid)
        return refused(resolution);
    Table table("FilterCheck.xls");
    if (!table)
        return kNoFile;
    if (Spk_File)
        lbx::SpeakerResponse_Init(Spk_File, grid.get());
    for (int i = 0; i < Band_Num; ++i)
        CalandAddFilter_FreqResponse(st_ptr[i], curve_of(*grid));
    write_single(table, *grid);
    return table.close();
}

int LookupFilter_Response_Check(BlockAlgo* blk, int In_sampleRate, int Freqresol)
{
    if (blk->method_type < EN_FILTER_LOOKUP_TONE_PEAK || blk->method_type > EN_FILTER_LOOKUP_BUTTER_BESSEL) {
        LBX_LOG("wrong input type in LookUpFilter\n");
        return RT_OK;
    }
    const MultiGrid grid = multi_grid(In_sampleRate, Freqresol, lbx::core_of<LookUp_Core>(blk)->num_curves);
    if (!grid)
        return refused(Freqresol);
    Table table("LookupFilterCheck.xls");
    if (!table)
        return kNoFile;
    Lookup_FreqResponse_Cal(*blk, *grid);
    write_curves(table, *grid);
    return table.close();
}

int CrossoverFilter_Response_Check(BlockAlgo* blk, int In_sampleRate, int Freqresol)
{
    if (blk->method_type != EN_FILTER_CROSSOVER_2WAY && blk->method_type != EN_FILTER_CROSSOVER_3WAY) {
        LBX_LOG("wrong input type in CrossoverFilter\n");
        return RT_OK;
    }
    const MultiGrid grid = multi_grid(In_sampleRate, Freqresol, blk->method_type == EN_FILTER_CROSSOVER_2WAY ? 2 : 3);
    if (!grid)
        return refused(Freqresol);
    Table table("CrossoverFilterCheck.xls");
    if (!table)
        return kNoFile;
    Crossover_FreqResponse_Cal(*blk, *grid);
    write_bands(table, *grid);
    return table.close();
}

int MiscellFilter_Response_Check(BlockAlgo* blk, int In_sampleRate, int Freqresol)
{
    Table table("MiscellFilterCheck.xls");
    if (!table)
        return kNoFile;
    switch (blk->method_type) {
    case EN_FILTER_MISCE_DCBLOCKING:
        return check_dc_blocker(*blk, table, In_sampleRate, Freqresol);
    case EN_FILTER_MISCE_STATEVARIABLE:
    case EN_FILTER_MISCE_STATEVARIABLEQ:
        return check_state_variable(*blk, table, In_sampleRate, Freqresol);
    default:
        LBX_LOG("wrong input type in MiscellFilter\n");
        return table.close();
    }
}
