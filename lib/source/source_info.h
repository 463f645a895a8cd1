// SPDX-License-Identifier: Apache-2.0
// Parameters that several sources have.
#pragma once

#include "../framework/info.h"

namespace lbx::source {

using namespace lbx::info;

constexpr ParamWords on_off(const char* help = "0 is silent") { return flag("switch", 1, help); }

// The frequency of a tone. Phases are brought back from above only, by a turn per sample at most.
constexpr ParamWords tone_hz(std::string_view name, float initial, const char* help)
{
    return real(name, "Hz", initial, {20, 20000}, help)
        .logarithmic()
        .valid_in({0, kInfinity})
        .flagged(VANTORO_BELOW_HALF_RATE);
}

}  // namespace lbx::source
