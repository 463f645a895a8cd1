// SPDX-License-Identifier: Apache-2.0
#include "module_names.h"

#include <type_traits>

#include "../common/category.h"
#include "../vantoro.h"

namespace {

using lbx::ModuleNames;

// The functions must be declared; none of them is linked for it.
template <class Init, class Set, class Update, class Process, class Destroy>
constexpr ModuleNames checked(const ModuleNames& names)
{
    static_assert(std::is_same_v<Init, BlockAlgo*(int, int, BlockPro*, int)>);
    static_assert(std::is_same_v<Set, int(BlockAlgo*, float*)> || std::is_same_v<Set, int(BlockAlgo*, void*)>);
    static_assert(std::is_same_v<Update, int(BlockAlgo*)> && std::is_same_v<Destroy, int(BlockAlgo*)>);
    static_assert(std::is_same_v<Process, int(BlockAlgo*, float**, float**)>);
    return names;
}
#define FUNCTIONS(header, init, set, update, process, destroy)                                      \
    checked<decltype(init), decltype(set), decltype(update), decltype(process), decltype(destroy)>( \
        {header, #init, #set, #update, #process, #destroy})
// A module that follows the common naming, a source, a group selector, and one that only its category runs.
#define MODULE(header, stem) \
    FUNCTIONS(header, stem##_init, stem##_param_set, stem##_param_update, stem##_process, stem##_destroy)
#define SOURCE(header, stem) \
    FUNCTIONS(header, stem##_Init, stem##_ResetParam, stem##_Update, stem##_ProcessAudioSample, stem##_Destroy)
#define SELECTOR(header, stem, destroy) \
    FUNCTIONS(header, stem##_init, stem##_param_set, stem##_param_update, stem##_process, destroy)
#define CATEGORY(header, prefix)                                                                                      \
    FUNCTIONS(header, BlockAlgo_##prefix##_init, BlockAlgo_##prefix##_param_reset, BlockAlgo_##prefix##_param_update, \
              BlockAlgo_##prefix##_process, BlockAlgo_##prefix##_destroy)

struct Row {
    int first, last;  // type codes
    ModuleNames names;
};

constexpr Row kRows[] = {
    {EN_LOUDNESS_LH, EN_LOUDNESS_LH_EXT, MODULE("Loudness/Loudness.h", Loudness)},
    {EN_BASIC_DSP, EN_BASIC_DSP + 0xff, CATEGORY("basic_dsp/basic_dsp.h", Basic)},
    {EN_DP_ENV, EN_DP_ENV_RMS, MODULE("Dynamics_Processors/qvaudio_env.h", Env)},
    {EN_DP_LIMITER, EN_DP_LIMITER, MODULE("Dynamics_Processors/qvaudio_lim.h", Limiter)},
    {EN_DP_COMPRESSOR_RMS, EN_DP_COMPRESSOR_EXT_PEAK, MODULE("Dynamics_Processors/qvaudio_compressor.h", Compressor)},
    {EN_FILTER_1ST, EN_FILTER_1ST, MODULE("filters/first_order.h", FirstOrder)},
    {EN_FILTER_2ND_GENERAL, EN_FILTER_2ND_FIRSTORDERS, MODULE("filters/second_order.h", SecondOrder)},
    {EN_FILTER_TEXTEQ, EN_FILTER_TEXTEQ, MODULE("filters/text_eq.h", TextEQ)},
    {EN_FILTER_NONBARE, EN_FILTER_NONBARE, MODULE("filters/second_order.h", NonBare)},
    {EN_FILTER_FIR, EN_FILTER_FIR, MODULE("filters/fir.h", FIR)},
    {EN_FILTER_CROSSOVER_2WAY, EN_FILTER_CROSSOVER_2WAY, MODULE("filters/crossover.h", Crossover2Way)},
    {EN_FILTER_CROSSOVER_3WAY, EN_FILTER_CROSSOVER_3WAY, MODULE("filters/crossover.h", Crossover3Way)},
    {EN_FILTER_MISCE_DCBLOCKING, EN_FILTER_MISCE_DCBLOCKING, MODULE("filters/miscellaneous.h", DCBlocking)},
    {EN_FILTER_MISCE_STATEVARIABLE, EN_FILTER_MISCE_STATEVARIABLE, MODULE("filters/miscellaneous.h", StateVariable)},
    {EN_FILTER_MISCE_STATEVARIABLEQ, EN_FILTER_MISCE_STATEVARIABLEQ, MODULE("filters/miscellaneous.h", StateVariableQ)},
    {EN_FILTER_LOOKUP_TONE_PEAK, EN_FILTER_LOOKUP_BUTTER_BESSEL, MODULE("filters/look_up.h", LookUp)},
    {EN_FILTER_GRAPHICAL_EQ, EN_FILTER_GRAPHICAL_EQ, MODULE("filters/graphical_eq.h", GraphicalEQ)},
    {EN_DETECTORS_SINGLE_BAND, EN_DETECTORS_SINGLE_BAND,
     MODULE("level_detectors/level_detectors.h", SingleLevelDetector)},
    {EN_DETECTORS_SEVEN_BAND, EN_DETECTORS_SEVEN_BAND, MODULE("level_detectors/level_detectors.h", SevenLevelDetector)},
    {EN_DETECTORS_MULTI_BAND, EN_DETECTORS_MULTI_BAND, MODULE("level_detectors/level_detectors.h", MultiLevelDetector)},
    {EN_DETECTORS_LOOKUP_INDEX, EN_DETECTORS_LOOKUP_INDEX, MODULE("level_detectors/lookup_table.h", LookUpTable_Index)},
    {EN_DETECTORS_LOOKUP_RMS, EN_DETECTORS_LOOKUP_RMS, MODULE("level_detectors/lookup_table.h", LookUpTable_RMS)},
    {EN_DETECTORS_LOOKUP_2D, EN_DETECTORS_LOOKUP_2D, MODULE("level_detectors/lookup_table.h", LookUpTable_2D)},
    {EN_MIXERS_MERGE, EN_SPLIT_MULTI_SLEW, CATEGORY("mixers/mixers.h", Mixers)},
    {EN_MUXES_MUXES_SWITCH, EN_MUXES_MUXES_SWITCH,
     SELECTOR("muxes_demuxes/multiplexers.h", Multiplexers_Switch, Multiplexers_destroy)},
    {EN_MUXES_MUXES_INDEX, EN_MUXES_MUXES_INDEX,
     SELECTOR("muxes_demuxes/multiplexers.h", Multiplexers_Index, Multiplexers_destroy)},
    {EN_MUXES_DEMUXES_SWITCH, EN_MUXES_DEMUXES_SWITCH,
     SELECTOR("muxes_demuxes/demultiplexers.h", DeMultiplexers_Switch, DeMultiplexers_destroy)},
    {EN_MUXES_DEMUXES_INDEX, EN_MUXES_DEMUXES_INDEX,
     SELECTOR("muxes_demuxes/demultiplexers.h", DeMultiplexers_Index, DeMultiplexers_destroy)},
    {EN_MUXES_CROSSFADE, EN_MUXES_CROSSFADE, MODULE("muxes_demuxes/crossfade.h", CrossFade)},
    {EN_MUXES_STATE_MACHINE, EN_MUXES_STATE_MACHINE, MODULE("muxes_demuxes/state_machine.h", State_Machine)},
    {EN_NLP_CLIPPERS_HARD, EN_NLP_CHANNEL_COPY, MODULE("schematic_design/schematic_design.h", Nlp)},
    {EN_SOURCE_CLIME, EN_SOURCE_CLIME, SOURCE("source/clime_frequency.h", ClimeFrequencySource)},
    {EN_SOURCE_DC, EN_SOURCE_DC, SOURCE("source/DC_InputEntry.h", DCInputSource)},
    {EN_SOURCE_OSC_BEEQ, EN_SOURCE_OSC_TRIANGLE, SOURCE("source/Oscillator.h", OscillatorSource)},
    {EN_SOURCE_VCO, EN_SOURCE_VCO, SOURCE("source/VCO.h", VCOSource)},
    {EN_SOURCE_WHITENOISE, EN_SOURCE_WHITENOISE, SOURCE("source/White_Noise.h", WhiteNoiseSource)},
    {EN_SOURCE_SWEEP, EN_SOURCE_SWEEP, SOURCE("source/Sweep.h", SweepSource)},
    {EN_SOURCE_SWITCH, EN_SOURCE_SWITCH, SOURCE("source/switch.h", SwitchSource)},
    {EN_VC_SIG_CONTROL, EN_VC_MULTI_CONTROL,
     FUNCTIONS("Volume_Controls/adjustable_gain.h", Adjust_Gain_init, AdjustableGain_param_set,
               AdjustableGain_param_update, AdjustableGain_process, AdjustableGain_destroy)},
    {EN_VC_SIG_CONTROL_SLEW, EN_VC_SIG_EXT_CONTROL_SLEW,
     FUNCTIONS("Volume_Controls/adjustable_gain.h", Adjust_SlewGain_init, AdjustableSlewGain_param_set,
               AdjustableSlewGain_param_update, AdjustableGain_process, AdjustableGain_destroy)},
    {EN_VC_GAINENVELOPE, EN_VC_GAINENVELOPE, MODULE("Volume_Controls/gain_envelope.h", GainEnvelope)},
    {EN_VC_MUTE, EN_VC_MUTE, MODULE("Volume_Controls/mute.h", Mute)},
    {EN_QVALGO_REVERB, EN_QVALGO_REVERB, MODULE("qv_algo/reverb.h", Reverb)},
};

}  // namespace

const lbx::ModuleNames* lbx::module_names(int type)
{
    for (const Row& row : kRows)
        if (type >= row.first && type <= row.last)
            return &row.names;
    return nullptr;
}
