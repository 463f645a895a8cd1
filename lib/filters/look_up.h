// SPDX-License-Identifier: Apache-2.0
// Lookup filter: a family of second-order curves between a lowest and a highest boost or corner. A control picks one
// per block; a change of curve is a cross-fade from the old curve's output to the new one's.
//
//   EN_FILTER_LOOKUP_TONE_PEAK      boost varies   n + 1 in, n out, n >= 1
//   EN_FILTER_LOOKUP_COMMON         corner varies  n + 1 in, n out
//   EN_FILTER_LOOKUP_BUTTER_BESSEL  corner varies  n + 1 in, n out
//
// Pin 0 is the control: its first sample, truncated and limited to the curves there are, is the curve's index. Pin k +
// 1 is filtered to output k, which may be its buffer.
#ifndef VANTORO_FILTERS_LOOK_UP_H
#define VANTORO_FILTERS_LOOK_UP_H

#include "../common/block_types.h"

LBX_BEGIN_C

typedef struct LookUp_Core {
    int idx_pre;             // the curve heard, or faded from
    int idx_now;             // the curve selected
    int change_flag;         // a fade is running
    float pre_div;           // 1 / (block size + 1)
    float gain_now;          // weight of the old curve, 1 to 0
    float slew_rate;         // its decay per block, from SlewAlphaGet
    int num_curves;          // 0: the block copies
    float* coeffArray;       // b0, b1, a1, b2, a2 per curve
    float* stateBuffer_pre;  // two words per output, of curve idx_pre
    float* stateBuffer_now;  // two words per output, of curve idx_now while a fade runs
} LookUp_Core;

enum LOOKUP_FILTER_TYPE {
    LookUp_LS = 0,  // EN_FILTER_LOOKUP_TONE_PEAK: Q is the shelf's slope
    LookUp_HS = 1,
    LookUp_Peak = 2,
    LookUp_General_LP = 0,  // EN_FILTER_LOOKUP_COMMON
    LookUp_General_HP = 1,
    LookUp_Chebyshev_LP = 2,  // Q is the ripple in dB
    LookUp_Chebyshev_HP = 3,
    LookUp_Butter_LP = 0,  // EN_FILTER_LOOKUP_BUTTER_BESSEL
    LookUp_Butter_HP = 1,
    LookUp_Bessel_LP = 2,
    LookUP_Bessel_HP = 3
};

// Nothing is clamped. Curve k of N has the boost BoostDBMin + k (BoostDBMax - BoostDBMin) / (N - 1), the minimum where
// N is 1, or the corner FcMin + k (FcMax - FcMin) / N, which stops one step short of FcMax.
enum LookUpTonePeakParam {
    kTonePeakType,  // LOOKUP_FILTER_TYPE
    kTonePeakCurves,
    kTonePeakBoostDBMax,  // dB
    kTonePeakBoostDBMin,  // dB
    kTonePeakGainDB,      // dB
    kTonePeakQ,
    kTonePeakFc,        // Hz
    kTonePeakSlewRate,  // doubling scale of SlewAlphaGet
    kTonePeakModuleSize
};
enum LookUpGeneralChebyshevParam {
    kGeneralChebyshevType,  // LOOKUP_FILTER_TYPE
    kGeneralChebyshevCurves,
    kGeneralChebyshevGainDB,  // dB
    kGeneralChebyshevQ,
    kGeneralChebyshevFcMax,  // Hz
    kGeneralChebyshevFcMin,  // Hz
    kGeneralChebyshevSlewRate,
    kGeneralChebyshevModuleSize
};
enum LookUpButterBesselParam {
    kButterBesselType,  // LOOKUP_FILTER_TYPE
    kButterBesselCurves,
    kButterBesselGainDB,  // dB
    kButterBesselFcMax,   // Hz
    kButterBesselFcMin,   // Hz
    kButterBesselSlewRate,
    kButterBesselModuleSize
};

// Writes as many curves as the vector's curves entry says into `coeffArray`, which the caller made large enough. An
// unknown response is logged and leaves the curves as they were; so does another block type, silently.
void calculateLookUpCoeffs(LookUp_Core* st, float* pParameter, int sampleRate, int type);

// One channel, `tickSize` samples: the heard curve alone, or the next block of a running fade. LookUp_process moves the
// fade on.
void LookUp_Render_noslew(LookUp_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel);
void LookUp_Render_slew(LookUp_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel);

BlockAlgo* LookUp_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);  // null: pins, type or memory
// The type's layout; null applies the stored vector. Selection, fade and states go on; an index past the last curve
// moves to it. RT_ERR_MALLOC leaves everything as it was.
int LookUp_param_set(BlockAlgo* blk, void* param);
int LookUp_param_update(BlockAlgo* blk);  // set without a vector
int LookUp_param_invoke(BlockAlgo* blk);  // logs the parameters
int LookUp_process(BlockAlgo* blk, float** data_in, float** data_out);
int LookUp_destroy(BlockAlgo* blk);  // null is ignored

LBX_END_C

#endif
