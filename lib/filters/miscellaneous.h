// SPDX-License-Identifier: Apache-2.0
// DC blocking and state-variable filters.
//
//   EN_FILTER_MISCE_DCBLOCKING       n in, n out   n >= 1; channels are independent
//   EN_FILTER_MISCE_STATEVARIABLE    1 in, 3 out   pin 0: signal -> low-pass, high-pass, band-pass
//   EN_FILTER_MISCE_STATEVARIABLEQ   2 in, 3 out   pin 0: Q, read once per block; pin 1: signal -> as above
//
// The state-variable blocks need the right number of inputs or of outputs, not both: a missing signal is silence, a
// missing output is left out. Outputs may be the inputs' buffers.
#ifndef VANTORO_FILTERS_MISCELLANEOUS_H
#define VANTORO_FILTERS_MISCELLANEOUS_H

#include "../common/block_types.h"

LBX_BEGIN_C

// y[n] = x[n] - x[n-1] + 0.9999 y[n-1]: a constant input dies away with a time constant of 10000 samples.
typedef struct DCBlocking_Core {
    float* coeffArray;   // b0, b1, a1
    float* stateBuffer;  // one word per channel
} DCBlocking_Core;

BlockAlgo* DCBlocking_init(int Input_pin, int Output_pin, BlockPro* block_pro,
                           int type);                    // null: wrong pins, no memory
int DCBlocking_param_set(BlockAlgo* blk, float* param);  // there are no parameters: these three log so and do nothing
int DCBlocking_param_update(BlockAlgo* blk);
int DCBlocking_param_invoke(BlockAlgo* blk);
void DCBlocking_Render(DCBlocking_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel);
int DCBlocking_process(BlockAlgo* blk, float** data_in, float** data_out);
int DCBlocking_destroy(BlockAlgo* blk);  // null is ignored

// Three numerators over one denominator 1 + a1 z^-1 + a2 z^-2. A host may change the coefficients between two calls:
// the next one runs with them.
typedef struct StateVariable_Core {
    float w0;            // f = 2 sin(pi Fc / rate)
    float Q;             // as last applied
    float* coeffArray;   // a1, a2, then b0, b1, b2 of low-pass, high-pass and band-pass
    float* stateBuffer;  // two words per output
} StateVariable_Core;

enum StateVariableParam {
    kStateVariableFc,  // Hz, not clamped
    kStateVariableQ,   // not clamped; 0 gives infinite coefficients. The block with a Q pin has the first entry only
    kStateVariableModuleSize
};

BlockAlgo* StateVariable_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);  // null as above
int StateVariable_param_set(BlockAlgo* blk, float* param);  // null applies the stored ones. Clears the state
int StateVariable_param_update(BlockAlgo* blk);             // set without a vector
int StateVariable_param_invoke(BlockAlgo* blk);             // logs both parameters
int StateVariable_process(BlockAlgo* blk, float** data_in, float** data_out);
int StateVariable_destroy(BlockAlgo* blk);

BlockAlgo* StateVariableQ_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);
int StateVariableQ_param_set(BlockAlgo* blk, float* param);  // keeps the Q of the pin. Clears the state
int StateVariableQ_param_update(BlockAlgo* blk);
int StateVariableQ_param_invoke(BlockAlgo* blk);
// Two inputs, three outputs. A new Q, the first sample of input 0, takes effect with this block; the state goes on. The
// record may be a block's or one that the host filled; it is read at every call.
void StateVariableQ_Render(StateVariable_Core* core, float** data_in, float** data_out, int tickSize);
int StateVariableQ_process(BlockAlgo* blk, float** data_in, float** data_out);
int StateVariableQ_destroy(BlockAlgo* blk);

LBX_END_C

#endif
