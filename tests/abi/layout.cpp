// SPDX-License-Identifier: Apache-2.0
// The layouts on 64-bit targets of the records that hang on a void pointer, where the stored interface does not see
// them: a host that was compiled against other headers reads and writes these bytes. A line that must change here is a
// break of the binary interface: the library's major version goes up with it. Fields that their header calls private
// are not named.
#include <cstddef>

#include "vantoro.h"

#define AT(field) offsetof(Record, field)
#define RECORD(type, bytes, ...)                               \
    static_assert(                                             \
        [] {                                                   \
            using Record = type;                               \
            return sizeof(Record) == (bytes) && (__VA_ARGS__); \
        }(),                                                   \
        #type)

RECORD(GainEnvelope_Core, 72,
       AT(loopFlag) == 0 && AT(numControl) == 4 && AT(Gains_dB) == 8 && AT(Points) == 16 && AT(gains_table) == 24 &&
           AT(gain_s) == 32 && AT(gain_e) == 36 && AT(maxPoint) == 40 && AT(gear) == 44 && AT(gain_dB_s) == 48 &&
           AT(gain_dB_e) == 52 && AT(point_s) == 56 && AT(point_e) == 60 && AT(rate) == 64 && AT(counter) == 68);
RECORD(RmsWithTcSt, 16, AT(oldVal) == 0 && AT(rms_rate) == 8);
RECORD(HoldSt, 24, AT(holdVal) == 0 && AT(lastVal) == 8 && AT(tmpY) == 16);
RECORD(DelaySt, 16, AT(delay) == 0 && AT(maxDelay) == 4 && AT(rbuf) == 8);
RECORD(GainSlewSt, 16, AT(attack_gain) == 0 && AT(pre_div) == 4 && AT(old_gain) == 8 && AT(set_gain) == 12);
RECORD(Crossover2Way_Core, 40,
       AT(invert1) == 0 && AT(coeffArray) == 8 && AT(sos_low) == 16 && AT(sos_high) == 20 && AT(stateArray) == 24 &&
           AT(inputBuffer) == 32);
RECORD(Crossover3Way_Core, 48,
       AT(invert1) == 0 && AT(invert2) == 4 && AT(coeffArray) == 8 && AT(sos_low) == 16 && AT(sos_high) == 20 &&
           AT(sos_med_lp) == 24 && AT(sos_med_hp) == 28 && AT(stateArray) == 32 && AT(inputBuffer) == 40);
RECORD(SingleLevelDetector_Core, 40,
       AT(enable_flag) == 0 && AT(rmstc_coeff) == 4 && AT(decay_coeff) == 8 && AT(smooth_rms) == 12 &&
           AT(rms_log) == 16 && AT(pre_div) == 24 && AT(bit_norm) == 28 && AT(hold_time) == 32 && AT(hold_count) == 36);
RECORD(SevenLevelDetector_Core, 72,
       AT(enable_flag) == 0 && AT(rmstc_coeff) == 4 && AT(decay_coeff) == 8 && AT(smooth_rms) == 16 &&
           AT(rms_log) == 24 && AT(pre_div) == 32 && AT(bit_norm) == 36 && AT(hold_time) == 40 &&
           AT(hold_count) == 48 && AT(coeffArray) == 56 && AT(stateBuffer) == 64);
RECORD(MultiLevelDetector_Core, 80,
       AT(enable_flag) == 0 && AT(rmstc) == 4 && AT(hold_time) == 8 && AT(decay_time) == 12 && AT(numBand) == 16 &&
           AT(frameSize) == 20 && AT(pre_div) == 24 && AT(rmstc_coeff) == 28 && AT(decay_coeff) == 32 &&
           AT(hold_count) == 40 && AT(smooth_rms) == 48 && AT(rms_log) == 56 && AT(coeffArray) == 64 &&
           AT(stateBuffer) == 72);
RECORD(Reverb_Core, 72,
       AT(num_channel) == 0 && AT(enbale_flag) == 4 && AT(dry_level) == 8 && AT(wet_level) == 12 && AT(wet1) == 16 &&
           AT(wet2) == 20 && AT(gain) == 24 && AT(room_size) == 28 && AT(damp) == 32 && AT(width) == 36 &&
           AT(combs) == 40 && AT(allpasss) == 48 && AT(frame_size) == 56);
RECORD(DCInput_Core_S, 24,
       AT(fixedpoint_format) == 0 && AT(integer_bit) == 1 && AT(decimal_bit) == 2 && AT(input_decimal) == 4 &&
           AT(input_hex) == 8 && AT(Out_NumChannel) == 16);
RECORD(OSC_Core_S, 20,
       AT(Freqency) == 0 && AT(phi) == 4 && AT(delta_phi) == 8 && AT(Switch) == 12 && AT(Out_NumChannel) == 16);
RECORD(Sweep_Core_S, 96,
       AT(start_freq) == 0 && AT(end_freq) == 4 && AT(repeat_counter) == 8 && AT(sweep_time) == 12 &&
           AT(phase_inc) == 16 && AT(repeat_time) == 20 && AT(peak) == 24 && AT(sweep_point) == 28 &&
           AT(repeat_point) == 32 && AT(count) == 36 && AT(phi) == 40 && AT(delta_time) == 48 && AT(k) == 56 &&
           AT(p) == 64 && AT(k_deltaTime_power) == 72 && AT(frequency_limited) == 80 && AT(Switch) == 88 &&
           AT(Out_NumChannel) == 92);
RECORD(VCO_Core_S, 24, AT(phi) == 0 && AT(delta_time) == 8 && AT(frequency_limited) == 12 && AT(Out_NumChannel) == 16);
RECORD(WhiteNoise_Core_S, 16, AT(MeanNeed) == 0 && AT(SigmaNeed) == 4 && AT(Switch) == 8 && AT(Out_NumChannel) == 12);
RECORD(Clime_Core_S, 216,
       AT(Switch) == 0 && AT(time_array) == 4 && AT(frequency_array) == 64 && AT(gain_array) == 124 &&
           AT(array_length) == 184 && AT(maximum_time) == 188 && AT(maximum_sample) == 192 && AT(sample_index) == 196 &&
           AT(time_index) == 200 && AT(phi) == 204 && AT(delta_time) == 208 && AT(Out_NumChannel) == 212);
RECORD(Switch_Core_S, 8, AT(switch_value) == 0 && AT(Out_NumChannel) == 4);
