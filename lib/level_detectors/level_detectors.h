// SPDX-License-Identifier: Apache-2.0
// Level meters: the input goes through unchanged, its mean square is measured once per block.
//
//   EN_DETECTORS_SINGLE_BAND  1 in, 1 out   the whole signal
//   EN_DETECTORS_SEVEN_BAND   1 in, 1 out   below 100, around 250, 500, 1000, 2500 and 5000, above 10000 Hz
//   EN_DETECTORS_MULTI_BAND   1 in, 1 out   up to ten bands of the vector
//
// The first two take other pin counts too, equal ones or one input; only pin 0 is read and written. Output and input
// may share a buffer. Parameters are used as they come; Vantoro_block_info has their defaults.
//
// Levels are read between process calls. They are 20 log10 of the mean square re full scale 1.0, so twice its level in
// dB; -180 is silence, 0 before the first block. The host's meters expect this scale.
#ifndef VANTORO_LEVEL_DETECTORS_LEVEL_DETECTORS_H
#define VANTORO_LEVEL_DETECTORS_LEVEL_DETECTORS_H

#include "../common/block_types.h"

LBX_BEGIN_C

enum LevelDetectorsParam {
    kLevelDetectorsEnable,     // flag; 0: the levels stand still
    kLevelDetectorsRmstc,      // ms, a step takes this long from 10 % to 90 %, up and down
    kLevelDetectorsHoldTime,   // ms, before a level may fall; each rise adds a block to it, up to this
    kLevelDetectorsDecayTime,  // ms, not used by the measurement
    kLevelDetectorsModuleSize
};

enum MultiLevelDetectorsParam {  // the first four as above
    kMultiLevelDetectorsEnable,
    kMultiLevelDetectorsRmstc,
    kMultiLevelDetectorsHoldTime,
    kMultiLevelDetectorsDecayTime,
    kMultiLevelDetectorsNumBand,     // 0 to 10
    kMultiLevelDetectorsParamOffset  // first band
};

enum MultiLevelDetectorsFilterParam {  // of each band
    kMultiLevelDetectorsFilterType,    // DETECTOR_FILTER_TYPE; another value ends the process
    kMultiLevelDetectorsFilterFc,      // Hz
    kMultiLevelDetectorsFilterQ,       // Detector_BP: width in octaves, else Q
    kMultiLevelDetectorsFilterParamSize
};

typedef enum DETECTOR_FILTER_TYPE {
    Detector_BP,
    Detector_LP,
    Detector_HP
} DETECTOR_FILTER_TYPE;

typedef struct SingleLevelDetector_Core {
    int enable_flag;
    float rmstc_coeff;  // weight of a new block
    float decay_coeff;  // not used
    float smooth_rms;   // mean square
    float* rms_log;     // level in dB; the block's pState
    float pre_div;      // 1 / (block size + 1)
    float bit_norm;     // 30, 38 or 46 for 16, 20 or more bits; not used
    int hold_time;      // samples
    int hold_count;     // samples left
} SingleLevelDetector_Core;

typedef struct SevenLevelDetector_Core {
    int enable_flag;
    float rmstc_coeff;
    float decay_coeff;  // not used
    float* smooth_rms;  // 7; the block's pState holds smooth_rms, hold_count and rms_log, one after the other
    float* rms_log;     // 7
    float pre_div;
    float bit_norm;  // not used
    int hold_time;
    int* hold_count;     // 7
    float* coeffArray;   // 5 per band, FILTER_COEFF order; the block's pStateB
    float* stateBuffer;  // 2 per band; the block's pStateC
} SevenLevelDetector_Core;

typedef struct MultiLevelDetector_Core {
    int enable_flag;
    float rmstc;       // ms
    float hold_time;   // whole samples
    float decay_time;  // ms; not used
    int numBand;
    int frameSize;  // samples per block
    float pre_div;
    float rmstc_coeff;
    float decay_coeff;  // not used
    int* hold_count;    // per band, room for ten as everywhere below
    float* smooth_rms;
    float* rms_log;      // the block's pState
    float* coeffArray;   // the block's pStateB
    float* stateBuffer;  // the block's pStateC
} MultiLevelDetector_Core;

// The levels in dB of a detector of any of the three types and, when `count` is not null, how many there are. Null and
// 0 for a null block and for other types. Valid until the block is destroyed; each process call writes it anew.
const float* LevelDetector_levels(const BlockAlgo* blk, int* count);

BlockAlgo* SingleLevelDetector_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: pins, no memory
int SingleLevelDetector_param_set(BlockAlgo* blk, float* param);  // four entries; null derives again. Levels go on. 0
int SingleLevelDetector_param_update(BlockAlgo* blk);             // derives again. 0
int SingleLevelDetector_param_invoke(BlockAlgo* blk);             // logs the entries. 0
int SingleLevelDetector_process(BlockAlgo* blk, float** data_in, float** data_out);  // 0
int SingleLevelDetector_destroy(BlockAlgo* blk);                                     // null is ignored. 0

BlockAlgo* SevenLevelDetector_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: pins, no memory
int SevenLevelDetector_param_set(BlockAlgo* blk, float* param);  // four entries; null derives again. Levels go on. 0
int SevenLevelDetector_param_update(BlockAlgo* blk);             // nothing to do: 0
int SevenLevelDetector_param_invoke(BlockAlgo* blk);             // logs the entries. 0
int SevenLevelDetector_process(BlockAlgo* blk, float** data_in, float** data_out);  // 0
int SevenLevelDetector_destroy(BlockAlgo* blk);                                     // null is ignored. 0

BlockAlgo* MultiLevelDetector_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: pins, no memory
// 5 entries and 3 per band; null derives again. More than ten bands are logged and cut; a negative number is none.
// Levels and filters go on. 0.
int MultiLevelDetector_param_set(BlockAlgo* blk, float* param);
int MultiLevelDetector_param_update(BlockAlgo* blk);  // nothing to do: 0
int MultiLevelDetector_param_invoke(BlockAlgo* blk);  // logs the entries, bands counted from 1. 0
int MultiLevelDetector_process(BlockAlgo* blk, float** data_in, float** data_out);  // 0
int MultiLevelDetector_destroy(BlockAlgo* blk);                                     // null is ignored. 0

// The five coefficients of the band that three entries of the vector state. An unknown type ends the process.
void calculateDetectorCoeffs(const float* band, int sampleRate, float* coeff);

LBX_END_C

#endif
