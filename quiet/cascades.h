// SPDX-License-Identifier: Apache-2.0
// Blocks of many sections: equalisers and crossovers.
#pragma once

#include "form.h"

namespace vquiet {

// Null for a type of another family.
const Form* cascade_form(int type);

}  // namespace vquiet
