// SPDX-License-Identifier: Apache-2.0
#include "logic_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::logic;

// A fresh block's number is 0 in every type.
static_assert(kComparison.initial == 0 && kGateBit.initial == 0 && kAtZero.initial == 0 && kOperation.initial == 0 &&
              kPulseBit.initial == 0);

constexpr VantoroPinRule kFourOne = rule("4 -> 1", pins(4), pins(1), 4, 1);

constexpr VantoroPin kAB[] = {input(0, "a"), input(1, "b")};
constexpr VantoroPin kABCD[] = {input(0, "a"), input(1, "b"), input(2, "c"), input(3, "d")};
constexpr VantoroPin kReset[] = {control(0, "reset", "ends the pulse while not 0, sample by sample")};

constexpr VantoroSlot kCondition[] = {value(kComparison)};
constexpr VantoroSlot kGate[] = {value(kGateBit)};
constexpr VantoroSlot kZero[] = {value(kAtZero)};
constexpr VantoroSlot kCalc[] = {value(kOperation)};
constexpr VantoroSlot kOneShot[] = {value(kPulseBit)};

constexpr InfoRow one_shot(const InfoRow& row) { return row.params(kOneShot, VANTORO_RESTARTS); }

constexpr InfoRow kRows[] = {
    LBX_TYPE(BASIC_LOGIC_ABSMAX, kBasic, "largest magnitude of the inputs", kToOne),
    LBX_TYPE(BASIC_LOGIC_MAX, kBasic, "largest of the inputs", kToOne),
    LBX_TYPE(BASIC_LOGIC_MIN, kBasic, "smallest of the inputs", kToOne),
    LBX_TYPE(BASIC_LOGIC_AB, kBasic, "a where the comparison holds, else b", kTwoOne)
        .pins(kAB)
        .params(kCondition, VANTORO_KEEPS),
    LBX_TYPE(BASIC_LOGIC_ABCD, kBasic, "c where a compares with b, else d", kFourOne)
        .pins(kABCD)
        .params(kCondition, VANTORO_KEEPS),
    LBX_TYPE(BASIC_LOGIC_BUFFER_GATE, kBasic, "a power of 2 where the input is not 0, else 0", kSame)
        .params(kGate, VANTORO_KEEPS),
    LBX_TYPE(BASIC_LOGIC_ZERO_COMP, kBasic, "a value where the input is 0, else 0", kSame).params(kZero, VANTORO_KEEPS),
    one_shot(LBX_TYPE(BASIC_LOGIC_ONESHOT_FALL, kBasic, "latch at the first fall to 0", kOneOne)),
    one_shot(LBX_TYPE(BASIC_LOGIC_ONESHOT_FALLRST, kBasic, "latch at a fall to 0, with reset", kTwoOne).pins(kReset)),
    one_shot(LBX_TYPE(BASIC_LOGIC_ONESHOT_RISE, kBasic, "latch at the first rise from 0", kOneOne)),
    one_shot(LBX_TYPE(BASIC_LOGIC_ONESHOT_RISERST, kBasic, "latch at a rise from 0, with reset", kTwoOne).pins(kReset)),
    LBX_TYPE(BASIC_LOGIC_CALC, kBasic, "logic of a and b", kTwoOne)
        .pins(kAB)
        .params(kCalc, VANTORO_KEEPS)
        .traits(VANTORO_UNWRITTEN_OUTPUTS),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kLogicInfo = kRows;
