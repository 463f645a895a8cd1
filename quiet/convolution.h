// SPDX-License-Identifier: Apache-2.0
// FIR filters of many taps.
#pragma once

#include "form.h"

namespace vquiet {

// Null for a type of another family.
const Form* convolution_form(int type);

}  // namespace vquiet
