/* SPDX-License-Identifier: Apache-2.0
 * The smallest whole host in C: a stereo equaliser band in front of a limiter, fed with blocks of a loud 1 kHz tone.
 *
 *   cc minimal.c $(pkg-config --cflags --libs vantoro) -lm
 */
#include <math.h>
#include <stdio.h>
#include <vantoro/vantoro.h>

enum {
    kRate = 48000,
    kBlock = 64,
    kChannels = 2
};

int main(void)
{
    /* One context for all blocks; it must outlive them. */
    void* context = BlockAlgo_BlockPro_init(kRate, 24, kBlock);
    BlockAlgo* bell = BlockAlgo_init(context, kChannels, kChannels, EN_FILTER_2ND_GENERAL);
    BlockAlgo* limiter = BlockAlgo_init(context, kChannels, kChannels, EN_DP_LIMITER);
    if (!context || !bell || !limiter)
        return 1;

    /* A parameter vector is an array of floats in the order of the block's enumeration; the block copies it. */
    float bell_params[kGeneralModuleSize] = {0};
    bell_params[kGeneralEnable] = 1;
    bell_params[kGeneralType] = Gen_Param; /* peaking */
    bell_params[kGeneralFc] = 1000;        /* Hz */
    bell_params[kGeneralQ] = 0.7F;
    bell_params[kGeneralBoostDB] = 6;
    BlockAlgo_param_reset(bell, bell_params);
    BlockAlgo_param_update(bell);

    float limiter_params[kLimiterModuleSize] = {200, 200, -12}; /* time constants, threshold in dB */
    BlockAlgo_param_reset(limiter, limiter_params);
    BlockAlgo_param_update(limiter);

    /* Pins are planar: one buffer of kBlock floats per channel. Every sample passes left to right through `mid`. */
    static float in[kChannels][kBlock], mid[kChannels][kBlock], out[kChannels][kBlock];
    float* in_pins[kChannels] = {in[0], in[1]};
    float* mid_pins[kChannels] = {mid[0], mid[1]};
    float* out_pins[kChannels] = {out[0], out[1]};

    double energy = 0;
    for (int block = 0; block < kRate / kBlock; ++block) {
        for (int i = 0; i < kBlock; ++i)
            in[0][i] = in[1][i] = (float)(0.5 * sin(6.283185307179586 * 1000 * (block * kBlock + i) / kRate));
        BlockAlgo_process(bell, in_pins, mid_pins);
        BlockAlgo_process(limiter, mid_pins, out_pins);
        energy = 0;
        for (int i = 0; i < kBlock; ++i)
            energy += (double)out[0][i] * out[0][i];
    }
    printf("level after the limiter: %.1f dB\n", 10 * log10(energy / kBlock));

    BlockAlgo_destroy(limiter);
    BlockAlgo_destroy(bell);
    BlockAlgo_BlockPro_destroy(context);
    return 0;
}
