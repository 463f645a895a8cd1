// SPDX-License-Identifier: Apache-2.0
// What every block type is, as data: its pins, its parameters with units, defaults and ranges, and what a host must
// know to run it. A page draws its sliders from it, a plug-in its parameters, a host its checks; the library takes its
// own defaults and limits from the same tables.
//
//   const VantoroBlockInfo* info = Vantoro_block_info(EN_FILTER_1ST);
//   for (int i = 0; i < info->layout_count; ++i)
//       if (info->layout[i].kind == VANTORO_VALUE)
//           printf("%s [%s]\n", info->layout[i].param->name, info->layout[i].param->unit);
//
// Everything here is constant and belongs to the library. Texts are UTF-8, never null; empty where there is nothing to
// say. A static link that calls none of these functions carries none of the tables.
#ifndef VANTORO_COMMON_BLOCK_INFO_H
#define VANTORO_COMMON_BLOCK_INFO_H

#include <stddef.h>

#include "block_types.h"

LBX_BEGIN_C

// ---- pins ----

// What a number of pins counts by. n, m and k are whole numbers from 1 on, the same on both sides of a block.
typedef enum VantoroUnknown {
    VANTORO_NONE,  // a fixed number
    VANTORO_N,
    VANTORO_M,
    VANTORO_KN  // k times n: groups of n
} VantoroUnknown;

// The pins of one side: fixed + times * n (or m, or k n).
typedef struct VantoroPinCount {
    int fixed, times;
    VantoroUnknown of;
} VantoroPinCount;

// Which numbers of pins go together. Vantoro_pins_fit applies it.
typedef struct VantoroPinRule {
    char text[28];  // "n + 1 -> n"
    VantoroPinCount inputs, outputs;
    int min_k;           // 1, or 2 where one group makes no sense
    int max_n;           // 0: no limit
    int initial_inputs;  // where nothing else decides
    int initial_outputs;
} VantoroPinRule;

// A pin with a name: pins first, first + every, ... up to last. A negative number counts from the end, -1 is the last
// pin. Pins that no entry names are plain signals.
typedef struct VantoroPin {
    int output;   // 0: inputs, 1: outputs
    int control;  // 1: read as a value, not as audio
    int first, last, every;
    char name[16];     // "sidechain"
    const char* help;  // for controls: unit, range, how often it is read
} VantoroPin;

// ---- parameters ----

typedef enum VantoroKind {
    VANTORO_REAL,
    VANTORO_INTEGER,  // truncated toward zero
    VANTORO_FLAG,     // true when the truncated value is not 0
    VANTORO_CHOICE    // one of `choices`
} VantoroKind;

// How a control moves over its range.
typedef enum VantoroScale {
    VANTORO_LINEAR,
    VANTORO_LOGARITHMIC,  // equal ratios are equal ways; the range begins above 0
    VANTORO_DECIBEL       // linear in dB
} VantoroScale;

// Bounds included; infinite where there is none.
typedef struct VantoroRange {
    float min, max;
} VantoroRange;

// A number that follows from the pins.
typedef enum VantoroPer {
    VANTORO_PER_NOTHING,
    VANTORO_PER_INPUT,
    VANTORO_PER_OUTPUT,
    VANTORO_PER_INPUT_PAIR,
    VANTORO_PER_CROSSPOINT,  // inputs times outputs
    VANTORO_PER_GROUP        // the larger side divided by the smaller
} VantoroPer;

typedef enum VantoroParamFlag {
    VANTORO_BELOW_HALF_RATE = 1,   // a frequency: valid below half the sampling rate only
    VANTORO_UNUSED = 2,            // stored, never read
    VANTORO_SIZES = 4,             // another value makes the block allocate
    VANTORO_BELOW_BLOCK_RATE = 8,  // dB/s, followed block by block: valid below 4.77 times the blocks per second only
    VANTORO_AT_MOST_BEFORE = 16,   // limited to the value of the entry before it
    VANTORO_WHOLE_SAMPLES = 32,    // a time: truncated to whole samples
    VANTORO_ASCENDING = 64,        // of a column: no row is below the one before it
    VANTORO_COARSE_DB = 128,       // dB, converted to a factor within 0.35 dB: 0 dB is -0.256 dB
    VANTORO_GLIDE = 256            // of a type that glides: whether it does
} VantoroParamFlag;

struct VantoroParam;

// What a choice makes of another entry. Entries without a reading are read as they describe themselves.
typedef struct VantoroReading {
    int entry;                      // its place in the layout, or among the columns of the same table
    int read;                       // 0: it is not read under this choice, and `as` is null
    const struct VantoroParam* as;  // its name, unit, clamp, range and help under this choice
} VantoroReading;

typedef struct VantoroChoice {
    char name[24];
    int value;
    int reading_count;
    const VantoroReading* readings;
} VantoroChoice;

// One number of a parameter vector.
typedef struct VantoroParam {
    char name[20];     // lower camel case, unique in its layout or table
    char unit[12];     // "Hz", "dB", "ms", "samples" ...; empty: a plain number
    const char* help;  // what it does
    VantoroKind kind;
    VantoroScale scale;
    unsigned flags;      // of VantoroParamFlag
    VantoroPer below;    // the value must be less than this number
    float initial;       // the default
    float step;          // smallest useful move: in the unit; with VANTORO_LOGARITHMIC a ratio
    VantoroRange clamp;  // what the library limits the value to by itself
    VantoroRange valid;  // beyond it the result is unstable or has no meaning, although the library takes it
    VantoroRange range;  // suggested for a control; always finite
    int choice_count;
    const VantoroChoice* choices;
} VantoroParam;

// A part of the vector that repeats.
typedef struct VantoroTable {
    char name[16];
    const char* help;
    int by_columns;  // 0: row after row; 1: every value of a column before the next column
    int column_count;
    const VantoroParam* columns;
    VantoroPer per;                 // one row per ...; or
    int rows_entry, columns_entry;  // rows times columns, the values of these entries of the layout (one column only;
                                    // -1: not so); or
    int min_rows, max_rows;         // as many as the vector says
    VantoroPer row_length;          // one column only: shown as a matrix with rows of this length
    int initial_rows;               // where the vector says how many
    const float* initial;           // the default rows, row after row
} VantoroTable;

typedef enum VantoroSlotKind {
    VANTORO_VALUE,    // one entry: param
    VANTORO_COUNT,    // one entry: the number of rows of table
    VANTORO_ROWS,     // the entries of table
    VANTORO_FIRST_OF  // one entry: where in the vector column `column` of table begins
} VantoroSlotKind;

// The vector from its first entry to its last.
typedef struct VantoroSlot {
    VantoroSlotKind kind;
    int column;
    const VantoroParam* param;  // VANTORO_VALUE, else null
    const VantoroTable* table;  // the others, else null
} VantoroSlot;

// ---- running a block ----

typedef enum VantoroTrait {
    VANTORO_SOURCE = 1,             // makes sound without audio inputs
    VANTORO_DENORMALS = 2,          // state dies away through denormal numbers: run it with flush-to-zero
    VANTORO_CONTIGUOUS_PINS = 4,    // the data pins of each side must stand one block apart in one array
    VANTORO_UNWRITTEN_OUTPUTS = 8,  // may leave output samples as they were
    VANTORO_CLEAR_OUTPUTS = 16,     // ... and means silence by it: clear the outputs before each call
    VANTORO_RANDOM = 32,            // draws from rand(), one sequence for the whole process
    VANTORO_PARAMS_IN_PLACE = 64,   // takes its parameters by writing to pParam; a parameter set ignores its argument
    VANTORO_CLIPS = 128,            // limits its output to full scale
    VANTORO_LINEAR_MODEL = 256,     // Vantoro_block_linear answers
    VANTORO_TERMINAL = 512,         // stands for the host's own inputs or outputs: nothing to process
    VANTORO_METER = 1024            // measures: LevelDetector_levels has the values, and no listener is needed
} VantoroTrait;

// What handing a running block a new vector does to the signal.
typedef enum VantoroOnSet {
    VANTORO_KEEPS,     // the signal state goes on; the new values hold at once
    VANTORO_RESTARTS,  // the signal state is cleared
    VANTORO_GLIDES     // the block itself moves to the new values without a step
} VantoroOnSet;

typedef struct VantoroBlockInfo {
    int type;
    char name[32];        // the enumerator without EN_
    char category[28];    // "Filters"
    const char* summary;  // one line
    const VantoroPinRule* pins;
    int pin_count;
    const VantoroPin* pin_list;
    int layout_count;  // 0: the type has no parameters
    const VantoroSlot* layout;
    unsigned traits;  // of VantoroTrait
    VantoroOnSet on_set;
    int block_multiple;  // nBlockSize must be a multiple of this ...
    int max_block;       // ... and at most this
    int delay;           // samples from input to output at the least; -1: a parameter or a pin says
} VantoroBlockInfo;

// The description of a type, or null for a code that is no type. Terminals (EN_IN, EN_OUT) are described too.
const VantoroBlockInfo* Vantoro_block_info(int type);

// Every description in the order of the codes: index 0, 1, ... until null.
const VantoroBlockInfo* Vantoro_block_info_at(int index);

// 1 when a block of this rule may have these pins, else 0.
int Vantoro_pins_fit(const VantoroPinRule* rule, int inputs, int outputs);

// The number that `per` means for these pins; 0 for VANTORO_PER_NOTHING.
int Vantoro_count_per(VantoroPer per, int inputs, int outputs);

// Writes the default vector of a block with these pins, at most `max` entries, and returns its length.
int Vantoro_initial_vector(const VantoroBlockInfo* info, int inputs, int outputs, float* vector, int max);

// Whether a block of this type and these pins can be given `vector` of `length` entries: the length is what the counts
// in it ask for, every number is finite, every choice exists, and whole numbers are where they have a meaning. What
// passes never ends the process. RT_OK, or RT_ERR_VALUE and the reason in at most n bytes of `why` (may be null).
int Vantoro_param_check(int type, int inputs, int outputs, const float* vector, int length, char* why, size_t n);

// Gives a block a vector that Vantoro_param_check passes, whichever way its type takes one: by BlockAlgo_param_reset
// and BlockAlgo_param_update, or, with VANTORO_PARAMS_IN_PLACE, by writing to pParam. Allocates only where the length
// or an entry marked VANTORO_SIZES changes. RT_OK, or the negative result of the library.
int Vantoro_param_apply(BlockAlgo* blk, const float* vector, int length);

// Vantoro_param_check, then Vantoro_param_apply of what passed.
int Vantoro_param_set(BlockAlgo* blk, const float* vector, int length, char* why, size_t n);

// ---- what a block does to a signal ----

// Receives a linear block's paths, one after the other. Sections and taps belong to the path announced last; paths that
// end in the same output add up. Null functions are not called.
typedef struct VantoroLinearVisitor {
    void* user;
    // From an input pin to an output pin: a factor and a delay in samples.
    void (*path)(void* user, int input, int output, double gain, int delay);
    // (b0 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2): coefficients b0, b1, b2, a1, a2, valid during the call.
    void (*section)(void* user, const double* coefficients);
    // An impulse response, first sample first; owned by the block.
    void (*taps)(void* user, const float* taps, int count);
} VantoroLinearVisitor;

// Tells what the block does between its pins right now: gains that glide count as arrived, and what a control pin
// selects is what it selected last. 1, or 0 for a block that is not linear (or has no such model), and then nothing is
// called. Reads the block only; call it between process calls.
int Vantoro_block_linear(const BlockAlgo* blk, const VantoroLinearVisitor* visitor);

LBX_END_C

#endif
