// SPDX-License-Identifier: Apache-2.0
// FIR filters of many taps.
#pragma once

#include "form.h"

namespace vquiet {

// Null for a type of another family.
#ifdef VANTORO_FFT
const Form* convolution_form(int type);
#else
inline const Form* convolution_form(int) { return nullptr; }
#endif

}  // namespace vquiet
