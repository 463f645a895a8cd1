// SPDX-License-Identifier: Apache-2.0
// Tables: a control signal picks a value.
//
//   EN_DETECTORS_LOOKUP_INDEX  1 in, 1 out   the sample, truncated, is the index
//   EN_DETECTORS_LOOKUP_RMS    1 in, 1 out   the block's level in dB is the place on a grid from -90 to +6 dB
//   EN_DETECTORS_LOOKUP_2D     2 in, 1 out   pin 0: column, pin 1: row; both truncated
//
// The first two take other pin counts too, equal ones or one input; only pin 0 is read and written. Indexes are clamped
// into the table; an empty table gives 0. Vantoro_block_info has the defaults. The output may share a buffer with an
// input.
#ifndef VANTORO_LEVEL_DETECTORS_LOOKUP_TABLE_H
#define VANTORO_LEVEL_DETECTORS_LOOKUP_TABLE_H

#include "../common/block_types.h"

LBX_BEGIN_C

// 1 to 6: the entries that the index and the level table start with.
extern const float table_example[6];

enum LookUpTableIndexParam {
    kLookUpTableIndexSize,        // entries
    kLookUpTableIndexParamOffset  // the entries
};

enum LookUpTableRMSParam {
    kLookUpTableRMSRmstc,       // ms, a step of the level takes this long from 10 % to 90 %
    kLookUpTableRMSHoldTime,    // ms, before the level may fall; each rise adds a block to it, up to this
    kLookUpTableRMSDecayTime,   // ms, not used by the measurement
    kLookUpTableRMSSize,        // entries
    kLookUpTableRMSParamOffset  // the entries, evenly from -90 dB to +6 dB
};

enum LookUpTable2DParam {
    kLookUpTable2DDB,          // flag: the output is the entry itself, else 10^(entry / 20)
    kLookUpTable2DX,           // columns
    kLookUpTable2DY,           // rows
    kLookUpTable2DParamOffset  // the entries in dB, row by row
};

typedef struct LookUpTable_Index_Core {
    int table_size;
    float* table;  // in the block's vector
} LookUpTable_Index_Core;

typedef struct LookUpTable_RMS_Core {
    float rmstc_coeff;  // weight of a new block
    float decay_coeff;  // not used
    float smooth_rms;   // mean square
    float rms_log;      // last level in dB
    float pre_div;      // 1 / (block size + 1)
    float bit_norm;     // 30, 38 or 46 for 16, 20 or more bits; not used
    int hold_time;      // samples
    int hold_count;     // samples left
    int table_size;
    float* table;    // in the block's vector
    float step;      // dB between entries
    float grid_end;  // dB of the last entry, as `step` added up from -90 gets there
} LookUpTable_RMS_Core;

typedef struct LookUpTable_2D_Core {
    int num_x;
    int num_y;
    int table_size;
    float* table;     // linear; the block's pState
    float* table_dB;  // in the block's vector
} LookUpTable_2D_Core;

// Every set takes a vector as long as its size entries say (a negative size is none) and returns 0, or RT_ERR_MALLOC
// with the old table in force.

BlockAlgo* LookUpTable_Index_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: pins, no memory
int LookUpTable_Index_param_set(BlockAlgo* blk, float* param);                                // null: nothing to do
int LookUpTable_Index_param_update(BlockAlgo* blk);                                           // nothing to do: 0
int LookUpTable_Index_param_invoke(BlockAlgo* blk);                                           // logs the size. 0
int LookUpTable_Index_process(BlockAlgo* blk, float** data_in, float** data_out);             // 0
int LookUpTable_Index_destroy(BlockAlgo* blk);                                                // null is ignored. 0
void LookUpTable_Index_Render(const LookUpTable_Index_Core* core, const float* in, float* out, int n);

BlockAlgo* LookUpTable_RMS_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: pins, no memory
int LookUpTable_RMS_param_set(BlockAlgo* blk, float* param);  // null derives again. The level goes on
int LookUpTable_RMS_param_update(BlockAlgo* blk);             // nothing to do: 0
int LookUpTable_RMS_param_invoke(BlockAlgo* blk);             // logs the times and the size. 0
int LookUpTable_RMS_process(BlockAlgo* blk, float** data_in, float** data_out);  // 0
int LookUpTable_RMS_destroy(BlockAlgo* blk);                                     // null is ignored. 0
void LookUpTable_RMS_Render(LookUpTable_RMS_Core* core, const float* in, float* out, int n);

BlockAlgo* LookUpTable_2D_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: pins, no memory
int LookUpTable_2D_param_set(BlockAlgo* blk, float* param);                                // null: nothing to do
int LookUpTable_2D_param_update(BlockAlgo* blk);                                           // nothing to do: 0
int LookUpTable_2D_param_invoke(BlockAlgo* blk);                                // logs the flag and the sizes. 0
int LookUpTable_2D_process(BlockAlgo* blk, float** data_in, float** data_out);  // 0
int LookUpTable_2D_destroy(BlockAlgo* blk);                                     // null is ignored. 0
// The linear table, and the table in dB.
void LookUpTable_2D_Render(const LookUpTable_2D_Core* core, const float* x, const float* y, float* out, int n);
void LookUpTable_2DDB_Render(const LookUpTable_2D_Core* core, const float* x, const float* y, float* out, int n);

LBX_END_C

#endif
