// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <memory>

#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "schematic_design.h"

using namespace lbx;

namespace {

// Frequencies 0, r, 2r, ... by repeated addition.
void fill_grid(float* freq, int lens, float resolution)
{
    float f = 0.0F;
    for (int k = 0; k < lens; ++k) {
        freq[k] = f;
        f += resolution;
    }
}

bool positive(const char* func, float resolution)
{
    if (resolution > 0.0F)
        return true;
    LBX_LOG_AS(func, __LINE__, "resolution %f must larger than 0\n\n", static_cast<double>(resolution));
    return false;
}

}  // namespace

FreqResponseState* FreqResponse_param_Init(int In_sampleRate, float Freqresol)
{
    if (!positive(__func__, Freqresol))
        return nullptr;
    FreqResponseState* st = nullptr;
    if (!zeros(st, 1))
        return nullptr;
    std::unique_ptr<FreqResponseState, decltype(&FreqResponse_Destroy)> owner(st, FreqResponse_Destroy);
    st->freq_resolution = Freqresol;
    st->sample_rate = In_sampleRate;
    st->lens = to_int(static_cast<float>(In_sampleRate / 2) / Freqresol);
    if (!zeros(st->freq, st->lens) || !zeros(st->mag, st->lens) || !zeros(st->deg, st->lens))
        return nullptr;
    fill_grid(st->freq, st->lens, Freqresol);
    return owner.release();
}

void FreqResponse_Destroy(FreqResponseState* st)
{
    if (!st)
        return;
    std::free(st->freq);
    std::free(st->mag);
    std::free(st->deg);
    std::free(st);
}

Multi_FreqResponseState* Multi_FreqResponse_param_Init(int In_sampleRate, int Freqresol, int num_curves)
{
    const auto resolution = static_cast<float>(Freqresol);
    if (!positive(__func__, resolution))
        return nullptr;
    Multi_FreqResponseState* st = nullptr;
    if (!zeros(st, 1))
        return nullptr;
    std::unique_ptr<Multi_FreqResponseState, decltype(&Multi_FreqResponse_Destroy)> owner(st,
                                                                                          Multi_FreqResponse_Destroy);
    st->freq_resolution = resolution;
    st->sample_rate = In_sampleRate;
    st->lens = In_sampleRate / 2 / Freqresol;
    st->num_curves = num_curves;
    if (!zeros(st->freq, st->lens) || !zeros(st->mag, num_curves) || !zeros(st->deg, num_curves))
        return nullptr;
    for (int i = 0; i < num_curves; ++i)
        if (!zeros(st->mag[i], st->lens) || !zeros(st->deg[i], st->lens))
            return nullptr;
    fill_grid(st->freq, st->lens, resolution);
    return owner.release();
}

void Multi_FreqResponse_Destroy(Multi_FreqResponseState* st)
{
    if (!st)
        return;
    for (int i = 0; i < st->num_curves; ++i) {
        if (st->mag)
            std::free(st->mag[i]);
        if (st->deg)
            std::free(st->deg[i]);
    }
    std::free(st->mag);
    std::free(st->deg);
    std::free(st->freq);
    std::free(st);
}
