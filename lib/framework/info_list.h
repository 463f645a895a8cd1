// SPDX-License-Identifier: Apache-2.0
// The modules whose types are described, in the order of their codes: the only list.
#pragma once

#include "info.h"

namespace lbx::info {

#define LBX_DESCRIBED(each)                                                                                        \
    each(Loudness) each(Arithmetic) each(Logic) each(DspFunctions) each(Polynomial) each(Env) each(Limiter)        \
        each(Compressor) each(FirstOrder) each(SecondOrder) each(TextEq) each(NonBare) each(Fir) each(Crossover)   \
            each(Miscellaneous) each(LookUp) each(GraphicalEq) each(LevelDetectors) each(LookupTable) each(Mixers) \
                each(Multiplexers) each(Demultiplexers) each(Crossfade) each(StateMachine) each(SchematicDesign)   \
                    each(Clime) each(Dc) each(Oscillator) each(Vco) each(WhiteNoise) each(Sweep) each(Switch)      \
                        each(AdjustableGain) each(GainEnvelope) each(Mute) each(Terminals) each(Reverb)

#define LBX_DECLARE_INFO(module) extern const InfoRows k##module##Info;
LBX_DESCRIBED(LBX_DECLARE_INFO)
#undef LBX_DECLARE_INFO

}  // namespace lbx::info
