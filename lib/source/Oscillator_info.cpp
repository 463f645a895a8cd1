// SPDX-License-Identifier: Apache-2.0
#include "Oscillator_info.h"

#include "../framework/info_list.h"
#include "Oscillator.h"

namespace {

using namespace lbx::oscillator;

static_assert(std::size(kLayout) == kOSCModuleSize);

constexpr InfoRow oscillator(const InfoRow& row)
{
    return row.params(kLayout, VANTORO_RESTARTS).traits(VANTORO_SOURCE);
}

constexpr InfoRow kRows[] = {
    oscillator(LBX_TYPE(SOURCE_OSC_BEEQ, kSources, "sine, as SOURCE_OSC_SINE", kNoneToMany)),
    oscillator(LBX_TYPE(SOURCE_OSC_SAWTOOTH, kSources, "rising sawtooth, not band-limited", kNoneToMany)),
    oscillator(LBX_TYPE(SOURCE_OSC_SINE, kSources, "sine, within 1.7e-4", kNoneToMany)),
    oscillator(LBX_TYPE(SOURCE_OSC_SQUARE, kSources, "square wave, not band-limited", kNoneToMany)),
    oscillator(LBX_TYPE(SOURCE_OSC_TRIANGLE, kSources, "triangle, not band-limited", kNoneToMany)),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kOscillatorInfo = kRows;
