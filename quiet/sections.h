// SPDX-License-Identifier: Apache-2.0
// Blocks of one second-order section.
#pragma once

#include "form.h"

namespace vquiet {

// Null for a type of another family.
const Form* section_form(int type);

}  // namespace vquiet
