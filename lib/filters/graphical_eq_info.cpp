// SPDX-License-Identifier: Apache-2.0
#include "../framework/info.h"
#include "../framework/info_list.h"

namespace lbx::info {

constinit const InfoRows kGraphicalEqInfo = {};

}  // namespace lbx::info
