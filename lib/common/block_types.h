// SPDX-License-Identifier: Apache-2.0
// The records every call works on, the result codes, and the index of all block types: each code's comment names its
// pins (inputs -> outputs) and the module that implements it.
#ifndef VANTORO_COMMON_BLOCK_TYPES_H
#define VANTORO_COMMON_BLOCK_TYPES_H

#include "api.h"

LBX_BEGIN_C

// The processing context: one for all blocks of a graph. Blocks borrow it, so it must outlive them.
typedef struct BlockPro {
    int nSamplingRate;  // Hz
    int bitRate;        // word width of the audio path in bits; carried for the host, read by few blocks
    int nBlockSize;     // samples per pin and process call
    int nReserve0;      // zero
    int nReserve1;      // zero
} BlockPro;

// A block. The host creates it with BlockAlgo_init and frees it with BlockAlgo_destroy; it may read every field, and
// owns none. Unused pointers are null. Pins are fixed at creation.
typedef struct BlockAlgo {
    int nInputs;
    int nOutputs;
    BlockPro* block_pro;  // borrowed
    int method_type;      // a code of _QV_TYPE; method_type & 0xff00 is the category
    float* pParam;        // the parameter values in force
    void* AlgoCore;       // the module's record
    float* pState;        // state arrays, as the module defines them
    float* pStateB;
    float* pStateC;
} BlockAlgo;

// Result codes. Several process functions answer 1 for "processed": non-zero is not failure, negative is.
typedef enum _RT_RET {
    RT_OK = 0,
    RT_ERR_BAD = -1,
    RT_ERR_UNKNOWN = -2,
    RT_ERR_NULL_PTR = -3,  // a null block, record or buffer
    RT_ERR_MALLOC = -4,    // allocation failed; the block goes on with what it had
    RT_ERR_OPEN_FILE = -5,
    RT_ERR_VALUE = -6,  // a type code that the module does not serve
    RT_ERR_READ_BIT = -7,
    RT_ERR_TIMEOUT = -8,
    RT_ERR_UNIMPLIMENTED = -9,
    RT_ERR_UNSUPPORT = -10,
    RT_ERR_SUSPEND = -11,
    RT_ERR_NO_BUFFER = -12,
    RT_ERR_HW_UNSUPPORT = -13,
    RT_ERR_RETRY = -14,
    RT_ERR_BASE = -64,
    RT_ERR_INIT = -65,
    RT_ERR_FATAL_THREAD = -66,
    RT_ERR_NOMEM = -67,
    RT_ERR_OUTOF_RANGE = -68,
    RT_ERR_END_OF_STREAM = -69,
    RT_ERR_LIST_BASE = -128,
    RT_ERR_LIST_EMPTY = -129,
    RT_ERR_LIST_FULL = -130,
    RT_ERR_LIST_OUTOF_RANGE = -131
} RT_RET;

typedef enum _QV_TYPE {
    // Loudness compensation: Loudness/Loudness
    EN_LOUDNESS = 0x0000,
    EN_LOUDNESS_LH = 1,      // n -> n      volume from the parameters
    EN_LOUDNESS_LH_EXT = 2,  // n + 1 -> n  volume from pin 0

    // Basic: basic_dsp/arithmetic_operations
    EN_BASIC_DSP = 0x0100,
    EN_BASIC_ARITH_ABS = 257,            // n -> n
    EN_BASIC_ARITH_INV_SQRT = 258,       // n -> n
    EN_BASIC_ARITH_EXP2 = 259,           // n -> n
    EN_BASIC_ARITH_LOG2 = 260,           // n -> n
    EN_BASIC_ARITH_LOG10 = 261,          // n -> n
    EN_BASIC_ARITH_SQRT = 262,           // n -> n
    EN_BASIC_ARITH_DIV = 263,            // 2n -> n     pairs
    EN_BASIC_ARITH_MUL = 264,            // 2n -> n     pairs
    EN_BASIC_ARITH_INVERT = 265,         // n -> n      sign
    EN_BASIC_ARITH_ADD = 266,            // n -> 1
    EN_BASIC_ARITH_SUB = 267,            // n -> 1
    EN_BASIC_ARITH_RMS = 268,            // n -> n
    EN_BASIC_ARITH_SUMMAT = 269,         // n + 1 -> n  pin 0 resets
    EN_BASIC_ARITH_SQUARE_SUMMAT = 270,  // n + 1 -> n  pin 0 resets
    // basic_dsp/logic
    EN_BASIC_LOGIC_ABSMAX = 271,           // n -> 1
    EN_BASIC_LOGIC_MAX = 272,              // n -> 1
    EN_BASIC_LOGIC_MIN = 273,              // n -> 1
    EN_BASIC_LOGIC_AB = 274,               // 2 -> 1
    EN_BASIC_LOGIC_ABCD = 275,             // 4 -> 1
    EN_BASIC_LOGIC_BUFFER_GATE = 276,      // n -> n
    EN_BASIC_LOGIC_ZERO_COMP = 277,        // n -> n
    EN_BASIC_LOGIC_ONESHOT_FALL = 278,     // 1 -> 1
    EN_BASIC_LOGIC_ONESHOT_FALLRST = 279,  // 2 -> 1      pin 0 resets
    EN_BASIC_LOGIC_ONESHOT_RISE = 280,     // 1 -> 1
    EN_BASIC_LOGIC_ONESHOT_RISERST = 281,  // 2 -> 1      pin 0 resets
    EN_BASIC_LOGIC_CALC = 282,             // 2 -> 1
    // basic_dsp/dsp_functions (the polynomial: arithmetic_operations)
    EN_BASIC_DSP_HOLD_VALUE = 283,   // n + 1 -> n  pin 0 holds
    EN_BASIC_DSP_HOLD_ABSMAX = 284,  // n + 1 -> n
    EN_BASIC_DSP_HOLD_MAX = 285,     // n + 1 -> n
    EN_BASIC_DSP_HOLD_MIN = 286,     // n + 1 -> n
    EN_BASIC_DSP_DELAY = 287,        // n -> n
    EN_BASIC_DSP_VOL_DELAY = 288,    // n + 1 -> n  n tap controls, then the signal
    EN_BASIC_GAIN = 289,             // n -> n
    EN_BASIC_GAIN_SLEW = 290,        // n -> n
    EN_BASIC_POLY = 291,             // n -> n

    // Dynamics: Dynamics_Processors/
    EN_DP = 0x0200,
    EN_DP_ENV = 513,                  // 1 -> 1      qvaudio_env
    EN_DP_ENV_EXT_DECAY = 514,        // 2.. -> 1    pin 0: decay time, pin 1: signal
    EN_DP_ENV_RMS = 515,              // 1 -> 1
    EN_DP_LIMITER = 516,              // n -> n      qvaudio_lim
    EN_DP_COMPRESSOR_RMS = 517,       // n -> n      qvaudio_compressor
    EN_DP_COMPRESSOR_PEAK = 518,      // n -> n
    EN_DP_COMPRESSOR_EXT_RMS = 519,   // n + 1 -> n  pin 0: sidechain
    EN_DP_COMPRESSOR_EXT_PEAK = 520,  // n + 1 -> n  pin 0: sidechain

    // Filters: filters/
    EN_FILTER = 0x0300,
    EN_FILTER_1ST = 769,                   // n -> n      first_order
    EN_FILTER_2ND_GENERAL = 770,           // n -> n      second_order
    EN_FILTER_2ND_PARAM_SHELF = 771,       // n -> n
    EN_FILTER_2ND_COMMON = 772,            // n -> n
    EN_FILTER_2ND_BESSEL_BUTTER = 773,     // n -> n
    EN_FILTER_2ND_TONE = 774,              // n -> n
    EN_FILTER_2ND_IIR = 775,               // n -> n
    EN_FILTER_2ND_FIRSTORDERS = 776,       // n -> n
    EN_FILTER_TEXTEQ = 777,                // n -> n      text_eq
    EN_FILTER_NONBARE = 778,               // n -> n      second_order
    EN_FILTER_FIR = 779,                   // n -> n      fir
    EN_FILTER_CROSSOVER_2WAY = 780,        // n -> 2n     crossover: low, high of each input
    EN_FILTER_CROSSOVER_3WAY = 781,        // n -> 3n     low, high, mid of each input
    EN_FILTER_MISCE_DCBLOCKING = 782,      // n -> n      miscellaneous
    EN_FILTER_MISCE_STATEVARIABLE = 783,   // 1 -> 3      low, high, band
    EN_FILTER_MISCE_STATEVARIABLEQ = 784,  // 2 -> 3      pin 0: Q
    EN_FILTER_LOOKUP_TONE_PEAK = 785,      // n + 1 -> n  look_up; pin 0: curve
    EN_FILTER_LOOKUP_COMMON = 786,         // n + 1 -> n
    EN_FILTER_LOOKUP_BUTTER_BESSEL = 787,  // n + 1 -> n
    EN_FILTER_GRAPHICAL_EQ = 788,          // n -> n      graphical_eq

    // Level detectors and their tables: level_detectors/
    EN_DETECTORS = 0x0400,
    EN_DETECTORS_SINGLE_BAND = 1025,   // 1 -> 1      level_detectors
    EN_DETECTORS_SEVEN_BAND = 1026,    // 1 -> 1
    EN_DETECTORS_MULTI_BAND = 1027,    // 1 -> 1
    EN_DETECTORS_LOOKUP_INDEX = 1028,  // 1 -> 1      lookup_table
    EN_DETECTORS_LOOKUP_RMS = 1029,    // 1 -> 1
    EN_DETECTORS_LOOKUP_2D = 1030,     // 2 -> 1      x index, y index

    // Mixers and splitters: mixers/mixers
    EN_MIXERS = 0x0500,
    EN_MIXERS_MERGE = 1281,        // n -> 1
    EN_MIXERS_SINGLE = 1282,       // n -> 1
    EN_MIXERS_MULTI = 1283,        // n -> 1
    EN_MIXERS_STEREO = 1284,       // 2n -> 2
    EN_MIXERS_CROSS = 1285,        // n -> m
    EN_SPLIT_SINGLE = 1286,        // 1 -> n
    EN_SPLIT_MULTI = 1287,         // 1 -> n
    EN_SPLIT_T_CONNECT = 1288,     // 1 -> n
    EN_MIXERS_SINGLE_SLEW = 1289,  // n -> 1
    EN_MIXERS_MULTI_SLEW = 1290,   // n -> 1
    EN_MIXERS_STEREO_SLEW = 1291,  // 2n -> 2
    EN_MIXERS_CROSS_SLEW = 1292,   // n -> m
    EN_SPLIT_SINGLE_SLEW = 1293,   // 1 -> n
    EN_SPLIT_MULTI_SLEW = 1294,    // 1 -> n

    // Switching: muxes_demuxes/
    EN_MUXES = 0x0600,
    EN_MUXES_MUXES_SWITCH = 1537,    // k n -> n      multiplexers
    EN_MUXES_MUXES_INDEX = 1538,     // k n + 1 -> n  pin 0: group
    EN_MUXES_DEMUXES_SWITCH = 1539,  // n -> k n      demultiplexers
    EN_MUXES_DEMUXES_INDEX = 1540,   // n + 1 -> k n  pin 0: group
    EN_MUXES_CROSSFADE = 1541,       // 2n + 1 -> n   crossfade; pin 0: choice
    EN_MUXES_STATE_MACHINE = 1542,   // n + 1 -> n    state_machine; pin 0: control, pins in one run

    // Non-linear: schematic_design/schematic_design
    EN_NLP = 0x0700,
    EN_NLP_CLIPPERS_HARD = 1793,  // n + 2 -> n  pin 0: upper limit, pin 1: lower limit
    EN_NLP_CLIPPERS_SOFT = 1794,  // n -> n
    EN_NLP_CHANNEL_COPY = 1795,   // 1 -> n

    EN_SHARC = 0x0800,  // no blocks

    // Sources: source/
    EN_SOURCE = 0x0900,
    EN_SOURCE_CLIME = 2305,         // 0 -> n  clime_frequency
    EN_SOURCE_DC = 2306,            // 0 -> n  DC_InputEntry
    EN_SOURCE_OSC_BEEQ = 2307,      // 0 -> n  Oscillator
    EN_SOURCE_OSC_SAWTOOTH = 2308,  // 0 -> n
    EN_SOURCE_OSC_SINE = 2309,      // 0 -> n
    EN_SOURCE_OSC_SQUARE = 2310,    // 0 -> n
    EN_SOURCE_OSC_TRIANGLE = 2311,  // 0 -> n
    EN_SOURCE_VCO = 2312,           // n -> n  VCO; pins: frequency
    EN_SOURCE_WHITENOISE = 2313,    // 0 -> n  White_Noise
    EN_SOURCE_SWEEP = 2314,         // 0 -> n  Sweep
    EN_SOURCE_SWITCH = 2315,        // 0 -> n  switch

    // Volume: Volume_Controls/
    EN_VC = 0x0A00,
    EN_VC_SIG_CONTROL = 2561,           // n -> n      adjustable_gain
    EN_VC_MULTI_CONTROL = 2562,         // n -> n
    EN_VC_SIG_CONTROL_SLEW = 2563,      // n -> n
    EN_VC_MULTI_CONTROL_SLEW = 2564,    // n -> n
    EN_VC_SIG_EXT_CONTROL_SLEW = 2565,  // n + 1 -> n  pin 0: gain
    EN_VC_GAINENVELOPE = 2566,          // n + 1 -> n  gain_envelope; pin 0 is not read
    EN_VC_MUTE = 2567,                  // n -> n      mute

    // The graph's terminals: bare records, moved by the host
    EN_IN = 0x0B00,
    EN_IN_AUDIO_INPUT = 2817,
    EN_IN_MULTI_INPUT = 2818,
    EN_IN_CORE_INPUT = 2819,
    EN_OUT = 0x0C00,
    EN_OUT_SINK = 3073,
    EN_OUT_MULTI_OUTPUT = 3074,
    EN_OUT_CORE_OUTPUT = 3075,

    // The host's hardware terminals: names only, refused by BlockAlgo_init
    EN_HARDWARE = 0x0D00,
    EN_HW_DECODE = 3329,
    EN_HW_SAI0_RX = 3330,
    EN_HW_SAI1_RX = 3331,
    EN_HW_SAI2_RX = 3332,
    EN_HW_SAI3_RX = 3333,
    EN_HW_SAI0_TX = 3334,
    EN_HW_SAI1_TX = 3335,
    EN_HW_SAI2_TX = 3336,
    EN_HW_SAI3_TX = 3337,
    EN_HW_PDM0 = 3338,
    EN_HW_PDM1 = 3339,

    // Reverb: qv_algo/reverb
    EN_QVALGO = 0x0E00,
    EN_QVALGO_REVERB = 3585,  // n -> n
    EN_QVALGO_T = 3586        // not served
} _QV_TYPE;

LBX_END_C

#endif
