// SPDX-License-Identifier: Apache-2.0
// The category interface of the basic blocks (EN_BASIC_ARITH_ABS .. EN_BASIC_POLY), declared in common/category.h as
// BlockAlgo_Basic_*. For pins and parameters see the modules: arithmetic_operations.h, logic.h, dsp_functions.h.
//
// The interface owns the records: init makes a zero-filled one with pins, context and type, and the module adds its
// state; destroy frees both. Where memory suffices for the record only, init returns it without state, and its calls
// return RT_ERR_NULL_PTR. Init returns null for a type that is not served, and when memory is short for the record.
//
//   param_reset   RT_OK, RT_ERR_MALLOC with the old parameters in force, or 1 for a type that is not served
//   param_update  param_reset without a vector: the stored values are applied again
//   param_invoke  one line with the stored values; RT_OK
//   process       RT_OK; RT_ERR_NULL_PTR for a null block, input array or output array. For a type that is not
//                 served: 0 below EN_BASIC_LOGIC_ABSMAX, else RT_ERR_VALUE
//   destroy       the module's result, or 1, with nothing freed, for a type that is not served
//
// A vector is read as far as the type's layout goes.
#ifndef VANTORO_BASIC_DSP_BASIC_DSP_H
#define VANTORO_BASIC_DSP_BASIC_DSP_H

#include "../common/category.h"
#include "arithmetic_operations.h"
#include "dsp_functions.h"
#include "logic.h"

#endif
