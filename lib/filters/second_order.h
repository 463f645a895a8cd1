// SPDX-License-Identifier: Apache-2.0
// Second-order filters: one section, the same on every channel, in seven parameter layouts; and an all-pass.
//
//   EN_FILTER_2ND_GENERAL .. EN_FILTER_2ND_FIRSTORDERS   n in, n out, n >= 1   SecondOrder_*
//   EN_FILTER_NONBARE                                    n in, n out           NonBare_*
//
// Channels are independent and outputs may be the inputs' buffers. A block runs from creation on, with the defaults
// that Vantoro_block_info gives. Every parameter set designs anew, writes what it clamped back into the stored vector,
// and clears the state.
#ifndef VANTORO_FILTERS_SECOND_ORDER_H
#define VANTORO_FILTERS_SECOND_ORDER_H

#include "../common/block_types.h"

LBX_BEGIN_C

// y[n] = b0 x[n] + b1 x[n-1] + b2 x[n-2] - a1 y[n-1] - a2 y[n-2]
typedef struct SecondOrder_Core {
    int enable;          // 0: output is a copy of the input
    int polarity;        // not 0: the output is negated; the state is not
    float* coeffArray;   // b0, b1, a1, b2, a2
    float* stateBuffer;  // two words per channel
} SecondOrder_Core;

// The responses of EN_FILTER_2ND_GENERAL, and what entry 5 is to each, clamped to that range. Three other types offer
// some of them under numbers of their own.
typedef enum GENERAL_TYPE {
    Gen_Param,      // peaking equaliser, peak = boost        Q 0.01..16
    Gen_LS,         // low shelf                              slope 0.01..2; 1 is the steepest without overshoot
    Gen_HS,         // high shelf                             slope
    Gen_LP,         // low-pass                               Q
    Gen_HP,         // high-pass                              Q
    Gen_BP,         // band-pass of peak gain 1               bandwidth 0.01..11 octaves
    Gen_BS,         // band-stop                              bandwidth
    Gen_APF,        // all-pass                               Q
    Gen_Peaking,    // resonant band-pass of peak gain 1; the boosting one is Gen_Param      Q
    Gen_Notvh,      // notch                                  Q
    Gen_Cheby_LP,   // Chebyshev type I                       ripple 0.1..10 dB
    Gen_Cheby_HP,   //                                        ripple
    Gen_Bessel_LP,  // Q 1 / sqrt(3)                          not read
    Gen_Bessel_HP,  //                                        not read
    Gen_Butter_LP,  // Q 1 / sqrt(2)                          not read
    Gen_Butter_HP   //                                        not read
} GENERAL_TYPE;

typedef enum PARAM_SHELF_TYPE {
    Parametric,
    LowShelf,
    HighShelf
} PARAM_SHELF_TYPE;
typedef enum COMMON_TYPE {
    GeneralLP,
    GeneralHP,
    GeneralBP,
    GeneralBS,
    APF,
    Peaking,
    Notch,
    ChebyshevLP,
    ChebyshevHP
} COMMON_TYPE;
typedef enum BESSEL_BUTTER_TYPE {
    BesselLP,
    BesselHP,
    ButterLP,
    ButterHP
} BESSEL_BUTTER_TYPE;

// Layouts. Types and flags are truncated toward zero; gains and boosts are clamped to -50..50 dB; Fc is in Hz and not
// clamped.
enum Filter2ndGeneralParam {
    kGeneralEnable,
    kGeneralPolarity,
    kGeneralType,
    kGeneralGainDB,
    kGeneralFc,
    kGeneralQ,
    kGeneralBoostDB,  // of the peaking equaliser and the shelves
    kGeneralModuleSize
};
enum Filter2ndParamShelfParam {
    kParamShelfEnable,
    kParamShelfPolarity,
    kParamShelfType,
    kParamShelfGainDB,
    kParamShelfFc,
    kParamShelfQ,
    kParamShelfBoostDB,
    kParamShelfModuleSize
};
enum Filter2ndCommonParam {
    kCommonEnable,
    kCommonPolarity,
    kCommonType,
    kCommonGainDB,
    kCommonFc,
    kCommonQ,
    kCommonModuleSize
};
enum Filter2ndBesselButterParam {
    kBesselButterEnable,
    kBesselButterPolarity,
    kBesselButterType,
    kBesselButterGainDB,
    kBesselButterFc,
    kBesselButterModuleSize
};
// Two first-order shelves. Above the bass corner the output is inverted.
enum Filter2ndToneParam {
    kToneEnable,
    kTonePolarity,
    kToneFcTreble,
    kToneBoostDBTreble,  // not clamped
    kToneFcBass,
    kToneBoostDBBass,  // not clamped
    kToneModuleSize
};
// The coefficients themselves; a1 and a2 as in 1 + a1 z^-1 + a2 z^-2. Nothing is checked, stability included.
enum Filter2ndIIRParam {
    kIIREnable,
    kIIRPolarity,
    kIIRB0,
    kIIRB1,
    kIIRB2,
    kIIRA1,
    kIIRA2,
    kIIRModuleSize
};
// Two first-order sections, each 0 none, 1 low-pass, 2 high-pass or 3 all-pass; the boosts are plain gains of each
// section, not clamped. Any other type of section 1 ends the process, status -1; of section 2 it leaves a pass-through.
enum Filter2ndFirstOrdersParam {
    kFirstOrdersEnable,
    kFirstOrdersPolarity,
    kFirstOrdersFilter1Type,
    kFirstOrdersFilter1Fc,
    kFirstOrdersFilter1BoostDB,
    kFirstOrdersFilter2Type,
    kFirstOrdersFilter2Fc,
    kFirstOrdersFilter2BoostDB,
    kFirstOrdersModuleSize
};
// The all-pass; nothing is clamped. Entries K and gain are stored for the host and not used.
enum Filter2ndNoeBareParam {
    kNonBareEnable,
    kNonBarePolarity,
    kNonBareFc,
    kNonBareQ,  // width as a multiple of the centre: larger is wider
    kNonBareK,
    kNonBareGainDB,
    kNonBareModuleSize
};

// Write the section that a vector asks for, and what they clamp back into the vector, never past its layout. An
// unknown response is logged and leaves a pass-through without gain. The second function takes the block type's code;
// it serves 771 to 776, 769 (entries as in the general layout, type 0 a first-order low and 1 a high shelf), and makes
// every other code silent.
void calculateFilter2ndGeneralCoeffs(SecondOrder_Core* st, float* pParameter, int sampleRate);
void calculateFilter2ndCoeffs(SecondOrder_Core* st, float* pParameter, int sampleRate, int type);

// One channel, `tickSize` samples, with state words 2 * i_channel and the next.
void SecondOrder_Render(SecondOrder_Core* SO_Core, float* buffer_in, float* buffer_out, int tickSize, int i_channel);
void NonBare_Render(SecondOrder_Core* SO_Core, float* buffer_in, float* buffer_out, int tickSize, int i_channel);

// init: null when the pins or the type are wrong or memory is short. set: the vector's layout, or null to apply the
// stored one; update is set without a vector. invoke logs the parameters. All but init return 0.
BlockAlgo* SecondOrder_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);
int SecondOrder_param_set(BlockAlgo* blk, void* param);
int SecondOrder_param_update(BlockAlgo* blk);
int SecondOrder_param_invoke(BlockAlgo* blk);
int SecondOrder_process(BlockAlgo* blk, float** data_in, float** data_out);
int SecondOrder_destroy(BlockAlgo* blk);  // null is ignored

BlockAlgo* NonBare_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);
int NonBare_param_set(BlockAlgo* blk, void* param);
int NonBare_param_update(BlockAlgo* blk);
int NonBare_param_invoke(BlockAlgo* blk);
int NonBare_process(BlockAlgo* blk, float** data_in, float** data_out);
int NonBare_destroy(BlockAlgo* blk);  // null is ignored

LBX_END_C

#endif
