// SPDX-License-Identifier: Apache-2.0
#include "mixers_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::mixers;

constexpr VantoroPinRule kStereo = rule("2n -> 2", pins(VANTORO_N, 2), pins(2), 4, 2);
constexpr VantoroPinRule kMatrix = rule("n -> m", pins(VANTORO_N), pins(VANTORO_M), 2, 2);
constexpr VantoroPin kLeftRight[] = {pin(0, 0, 0, -1, 2, "left", "of each pair"),
                                     pin(0, 0, 1, -1, 2, "right", "of each pair"), output(0, "left"),
                                     output(1, "right")};

constexpr VantoroParam kGains[] = {kGain};
constexpr VantoroTable kInputGains = rows_per(VANTORO_PER_INPUT, "gains", kGains, "gain of each input");
constexpr VantoroTable kPairGains = rows_per(VANTORO_PER_INPUT_PAIR, "gains", kGains, "gain of each pair of inputs");
constexpr VantoroTable kOutputGains = rows_per(VANTORO_PER_OUTPUT, "gains", kGains, "gain of each output");
constexpr VantoroTable kPathGains =
    rows_per(VANTORO_PER_CROSSPOINT, "gains", kGains, "a row per input: its gain to each output")
        .as_matrix(VANTORO_PER_OUTPUT);

// The gains alone, and after the slew rate.
constexpr VantoroSlot kOne[] = {value(kOneGain)}, kOneSlew[] = {value(kSlewRate), value(kOneGain)};
constexpr VantoroSlot kByInput[] = {rows(kInputGains)}, kByInputSlew[] = {value(kSlewRate), rows(kInputGains)};
constexpr VantoroSlot kByPair[] = {rows(kPairGains)}, kByPairSlew[] = {value(kSlewRate), rows(kPairGains)};
constexpr VantoroSlot kByOutput[] = {rows(kOutputGains)}, kByOutputSlew[] = {value(kSlewRate), rows(kOutputGains)};
constexpr VantoroSlot kByPath[] = {rows(kPathGains)}, kByPathSlew[] = {value(kSlewRate), rows(kPathGains)};

template <std::size_t kCount>
constexpr InfoRow plain(const InfoRow& row, const VantoroSlot (&layout)[kCount])
{
    return row.params(layout, VANTORO_KEEPS).linear(linear_model);
}

// Glides from silence at first.
template <std::size_t kCount>
constexpr InfoRow slewed(const InfoRow& row, const VantoroSlot (&layout)[kCount])
{
    return row.params(layout, VANTORO_GLIDES).linear(linear_model);
}

constexpr InfoRow kRows[] = {
    LBX_TYPE(MIXERS_MERGE, kMixers, "mean of the inputs", kToOne).linear(linear_model),
    plain(LBX_TYPE(MIXERS_SINGLE, kMixers, "sum of the inputs, one gain", kToOne), kOne),
    plain(LBX_TYPE(MIXERS_MULTI, kMixers, "sum of the inputs, a gain each", kToOne), kByInput),
    plain(LBX_TYPE(MIXERS_STEREO, kMixers, "sum of stereo pairs, a gain each", kStereo).pins(kLeftRight), kByPair),
    plain(LBX_TYPE(MIXERS_CROSS, kMixers, "matrix mixer", kMatrix), kByPath),
    plain(LBX_TYPE(SPLIT_SINGLE, kMixers, "one input to every output, one gain", kFromOne), kOne),
    plain(LBX_TYPE(SPLIT_MULTI, kMixers, "one input to every output, a gain each", kFromOne), kByOutput),
    LBX_TYPE(SPLIT_T_CONNECT, kMixers, "one input copied to every output", kFromOne).linear(linear_model),
    slewed(LBX_TYPE(MIXERS_SINGLE_SLEW, kMixers, "MIXERS_SINGLE with gliding gain", kToOne), kOneSlew),
    slewed(LBX_TYPE(MIXERS_MULTI_SLEW, kMixers, "MIXERS_MULTI with gliding gains", kToOne), kByInputSlew),
    slewed(LBX_TYPE(MIXERS_STEREO_SLEW, kMixers, "MIXERS_STEREO with gliding gains", kStereo).pins(kLeftRight),
           kByPairSlew),
    slewed(LBX_TYPE(MIXERS_CROSS_SLEW, kMixers, "MIXERS_CROSS with gliding gains", kMatrix), kByPathSlew),
    slewed(LBX_TYPE(SPLIT_SINGLE_SLEW, kMixers, "SPLIT_SINGLE with gliding gain", kFromOne), kOneSlew),
    slewed(LBX_TYPE(SPLIT_MULTI_SLEW, kMixers, "SPLIT_MULTI with gliding gains", kFromOne), kByOutputSlew),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kMixersInfo = kRows;
