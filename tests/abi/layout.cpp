// SPDX-License-Identifier: Apache-2.0
// The records' layouts on 64-bit targets: a host that was compiled against other headers reads and writes these bytes.
// A line that must change here is a break of the binary interface: the library's major version goes up with it. Fields
// that their header calls private are not named.
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

RECORD(Compressor_Core, 104,
       AT(rmstc_coeff) == 0 && AT(decay_coeff) == 4 && AT(smooth_rms) == 8 && AT(max_rms) == 16 &&
           AT(tarck_env) == 24 && AT(pre_div) == 32 && AT(smooth_gain) == 40 && AT(post_gain) == 48 &&
           AT(bit_norm) == 52 && AT(break_point) == 56 && AT(hold_time) == 60 && AT(hold_count) == 64 &&
           AT(delta_x) == 72 && AT(inter_num) == 80 && AT(agc_table) == 88 && AT(table_len) == 96);
RECORD(Envelope_Core, 24,
       AT(rmstc_coeff) == 0 && AT(decay_coeff) == 4 && AT(tarck_env) == 8 && AT(smooth_rms) == 12 &&
           AT(hold_time) == 16 && AT(hold_count) == 20);
RECORD(Limiter_Core, 40,
       AT(rmstc_coeff) == 0 && AT(decay_coeff) == 4 && AT(threshold) == 8 && AT(smooth_rms) == 16 &&
           AT(smooth_gain) == 24 && AT(pre_div) == 32 && AT(process_state) == 36);
RECORD(Loudness_Core, 72,
       AT(LP_Core) == 0 && AT(HP_Core) == 24 && AT(attack_gain) == 48 && AT(LP_gain) == 52 && AT(HP_gain) == 56 &&
           AT(post_gain) == 60 && AT(pre_gain) == 64 && AT(pre_div) == 68);
RECORD(AdjustableGain_Core, 24, AT(value) == 0 && AT(old_value) == 8 && AT(pre_div) == 16 && AT(attack_gain) == 20);
RECORD(GainEnvelope_Core, 72,
       AT(loopFlag) == 0 && AT(numControl) == 4 && AT(Gains_dB) == 8 && AT(Points) == 16 && AT(gains_table) == 24 &&
           AT(gain_s) == 32 && AT(gain_e) == 36 && AT(maxPoint) == 40 && AT(gear) == 44 && AT(gain_dB_s) == 48 &&
           AT(gain_dB_e) == 52 && AT(point_s) == 56 && AT(point_e) == 60 && AT(rate) == 64 && AT(counter) == 68);
RECORD(Mute_Core, 24,
       AT(switch_state) == 0 && AT(slew_flag) == 4 && AT(old_gain) == 8 && AT(pre_div) == 12 && AT(slew_rate) == 16 &&
           AT(gain_now) == 20);
RECORD(RmsWithTcSt, 16, AT(oldVal) == 0 && AT(rms_rate) == 8);
RECORD(HoldSt, 24, AT(holdVal) == 0 && AT(lastVal) == 8 && AT(tmpY) == 16);
RECORD(DelaySt, 16, AT(delay) == 0 && AT(maxDelay) == 4 && AT(rbuf) == 8);
RECORD(GainSlewSt, 16, AT(attack_gain) == 0 && AT(pre_div) == 4 && AT(old_gain) == 8 && AT(set_gain) == 12);
RECORD(qv_allpass, 24, AT(bufSize) == 0 && AT(bufIdx) == 4 && AT(feedback) == 8 && AT(decay) == 12 && AT(buffer) == 16);
RECORD(Biquad, 16, AT(coeffArray) == 0 && AT(stateArray) == 8);
RECORD(BlockPro, 20,
       AT(nSamplingRate) == 0 && AT(bitRate) == 4 && AT(nBlockSize) == 8 && AT(nReserve0) == 12 && AT(nReserve1) == 16);
RECORD(BlockAlgo, 64,
       AT(nInputs) == 0 && AT(nOutputs) == 4 && AT(block_pro) == 8 && AT(method_type) == 16 && AT(pParam) == 24 &&
           AT(AlgoCore) == 32 && AT(pState) == 40 && AT(pStateB) == 48 && AT(pStateC) == 56);
RECORD(CircularBuffer, 24,
       AT(writeIndex) == 0 && AT(bufferLength) == 4 && AT(wrapMask) == 8 && AT(interpolate) == 12 && AT(buffer) == 16);
RECORD(qv_comb, 64,
       AT(bufSize) == 0 && AT(bufIdx) == 4 && AT(feedback) == 8 && AT(filterstore) == 12 && AT(filterstore1) == 28 &&
           AT(filterstore4) == 32 && AT(damp) == 48 && AT(buffer) == 56);
RECORD(RingBufSt, 16, AT(buf) == 0 && AT(idx) == 8 && AT(num) == 12);
RECORD(DoubleBiquad, 16, AT(coeffArray) == 0 && AT(stateArray) == 8);
RECORD(Crossover2Way_Core, 40,
       AT(invert1) == 0 && AT(coeffArray) == 8 && AT(sos_low) == 16 && AT(sos_high) == 20 && AT(stateArray) == 24 &&
           AT(inputBuffer) == 32);
RECORD(Crossover3Way_Core, 48,
       AT(invert1) == 0 && AT(invert2) == 4 && AT(coeffArray) == 8 && AT(sos_low) == 16 && AT(sos_high) == 20 &&
           AT(sos_med_lp) == 24 && AT(sos_med_hp) == 28 && AT(stateArray) == 32 && AT(inputBuffer) == 40);
RECORD(FIR_Core, 24, AT(fir_len) == 0 && AT(coeffs) == 8 && AT(databuffer) == 16);
RECORD(FirstOrder_Core, 24, AT(enable) == 0 && AT(polarity) == 4 && AT(coeffArray) == 8 && AT(stateBuffer) == 16);
RECORD(GraphicalEQ_Core, 32,
       AT(numFilter) == 0 && AT(bypassFlags) == 8 && AT(coeffArray) == 16 && AT(stateBuffer) == 24);
RECORD(LookUp_Core, 56,
       AT(idx_pre) == 0 && AT(idx_now) == 4 && AT(change_flag) == 8 && AT(pre_div) == 12 && AT(gain_now) == 16 &&
           AT(slew_rate) == 20 && AT(num_curves) == 24 && AT(coeffArray) == 32 && AT(stateBuffer_pre) == 40 &&
           AT(stateBuffer_now) == 48);
RECORD(DCBlocking_Core, 16, AT(coeffArray) == 0 && AT(stateBuffer) == 8);
RECORD(StateVariable_Core, 24, AT(w0) == 0 && AT(Q) == 4 && AT(coeffArray) == 8 && AT(stateBuffer) == 16);
RECORD(SecondOrder_Core, 24, AT(enable) == 0 && AT(polarity) == 4 && AT(coeffArray) == 8 && AT(stateBuffer) == 16);
RECORD(TextEQ_Core, 32, AT(numFilter) == 0 && AT(enableFlags) == 8 && AT(coeffArray) == 16 && AT(stateBuffer) == 24);
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
RECORD(LookUpTable_Index_Core, 16, AT(table_size) == 0 && AT(table) == 8);
RECORD(LookUpTable_RMS_Core, 56,
       AT(rmstc_coeff) == 0 && AT(decay_coeff) == 4 && AT(smooth_rms) == 8 && AT(rms_log) == 12 && AT(pre_div) == 16 &&
           AT(bit_norm) == 20 && AT(hold_time) == 24 && AT(hold_count) == 28 && AT(table_size) == 32 &&
           AT(table) == 40 && AT(step) == 48 && AT(grid_end) == 52);
RECORD(LookUpTable_2D_Core, 32,
       AT(num_x) == 0 && AT(num_y) == 4 && AT(table_size) == 8 && AT(table) == 16 && AT(table_dB) == 24);
RECORD(MixSlewSt, 80,
       AT(attack_gain) == 0 && AT(pre_div) == 4 && AT(conv_flag) == 8 && AT(old_gain) == 16 && AT(set_gain) == 24 &&
           AT(new_gain) == 32 && AT(dlt_gain) == 40 && AT(tmp_gain) == 48);
RECORD(CrossFade_Core, 24,
       AT(idx_pre) == 0 && AT(idx_now) == 4 && AT(change_flag) == 8 && AT(pre_div) == 12 && AT(slew_rate) == 16 &&
           AT(gain_now) == 20);
RECORD(Demultiplexers_Core, 64,
       AT(num_DMx) == 0 && AT(idx_stable) == 4 && AT(slew_state) == 8 && AT(slew_flag) == 12 && AT(pre_div) == 16 &&
           AT(slew_rate) == 20 && AT(gains) == 24 && AT(delta_coeff) == 32);
RECORD(Multiplexers_Core, 64,
       AT(num_Mx) == 0 && AT(idx_stable) == 4 && AT(slew_state) == 8 && AT(slew_flag) == 12 && AT(pre_div) == 16 &&
           AT(slew_rate) == 20 && AT(gains) == 24 && AT(delta_coeff) == 32);
RECORD(StateMachine_Core, 16, AT(nOutput) == 0 && AT(ranges) == 8);
RECORD(Reverb_Core, 72,
       AT(num_channel) == 0 && AT(enbale_flag) == 4 && AT(dry_level) == 8 && AT(wet_level) == 12 && AT(wet1) == 16 &&
           AT(wet2) == 20 && AT(gain) == 24 && AT(room_size) == 28 && AT(damp) == 32 && AT(width) == 36 &&
           AT(combs) == 40 && AT(allpasss) == 48 && AT(frame_size) == 56);
RECORD(NLP_Core, 4, AT(alpha) == 0);
RECORD(FreqResponseState, 40,
       AT(freq) == 0 && AT(mag) == 8 && AT(deg) == 16 && AT(freq_resolution) == 24 && AT(lens) == 28 &&
           AT(sample_rate) == 32);
RECORD(Multi_FreqResponseState, 40,
       AT(freq) == 0 && AT(mag) == 8 && AT(deg) == 16 && AT(freq_resolution) == 24 && AT(lens) == 28 &&
           AT(sample_rate) == 32 && AT(num_curves) == 36);
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
