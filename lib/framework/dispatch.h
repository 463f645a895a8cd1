// SPDX-License-Identifier: Apache-2.0
// Type code to module: one row per run of codes. Categories differ in their rows, not in code.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>

#include "../common/block_types.h"
#include "../kernels/lanes.h"
#include "clear_state.h"
#include "log.h"

namespace lbx {

// The type codes that a row serves: one, or a run with both ends included.
struct Codes {
    int first, last;
    constexpr Codes(int only) : first(only), last(only) {}
    constexpr Codes(int from, int to) : first(from), last(to) {}
};

struct BlockOps {
    Codes codes;
    BlockAlgo* (*init)(int nInputs, int nOutputs, BlockPro* pro, int type);
    int (*param_set)(BlockAlgo* blk, float* vector);
    int (*param_update)(BlockAlgo* blk);
    int (*param_invoke)(BlockAlgo* blk);
    int (*process)(BlockAlgo* blk, float** in, float** out);
    int (*destroy)(BlockAlgo* blk);
    void (*clear)(BlockAlgo* blk);
};

// True when each row goes on where the one before ended, within one category.
template <class Row, std::size_t kCount>
constexpr bool dense(const Row (&rows)[kCount])
{
    for (std::size_t i = 0; i < kCount; ++i)
        if (rows[i].codes.first > rows[i].codes.last || (i > 0 && rows[i].codes.first != rows[i - 1].codes.last + 1))
            return false;
    return (rows[0].codes.first & 0xff00) == (rows[kCount - 1].codes.last & 0xff00);
}

// Code after code from the first row's on, the row that serves it.
template <const auto& kRows>
inline constexpr auto kRowIndex = [] {
    static_assert(dense(kRows), "a table's codes follow on one another");
    constexpr int kFirst = kRows[0].codes.first;
    std::array<std::uint8_t, std::end(kRows)[-1].codes.last - kFirst + 1> index = {};
    for (std::size_t row = 0; row < std::size(kRows); ++row)
        for (int code = kRows[row].codes.first; code <= kRows[row].codes.last; ++code)
            index[static_cast<std::size_t>(code - kFirst)] = static_cast<std::uint8_t>(row);
    return index;
}();

// The row that serves `type`, or null. Two loads: every call of every block comes through here.
template <const auto& kRows>
constexpr const auto* row_of(int type)
{
    const std::size_t at = static_cast<unsigned>(type) - static_cast<unsigned>(kRows[0].codes.first);
    return at < kRowIndex<kRows>.size() ? &kRows[kRowIndex<kRows>[at]] : nullptr;
}

template <const auto& kRows>
constexpr bool is_served(int type)
{
    return row_of<kRows>(type) != nullptr;
}

// use(row) with the row that serves `type`, refuse() where none does. A switch over rows that the compiler knows: a
// table of functions would be relocated when a shared library is loaded, which takes 32 bytes a function.
template <const auto& kRows, class Use, class Refuse>
LBX_INLINE std::invoke_result_t<Refuse> with_row(int type, Use use, Refuse refuse)
{
    const std::size_t at = static_cast<unsigned>(type) - static_cast<unsigned>(kRows[0].codes.first);
    if (at >= kRowIndex<kRows>.size()) [[unlikely]]
        return refuse();
    static_assert(std::size(kRows) <= 32);
    switch (kRowIndex<kRows>[at]) {
#define LBX_CASE(row)                           \
    case row:                                   \
        if constexpr ((row) < std::size(kRows)) \
            return use(kRows[row]);             \
        break;
#define LBX_FOUR_CASES(row) LBX_CASE(row) LBX_CASE((row) + 1) LBX_CASE((row) + 2) LBX_CASE((row) + 3)
        // clang-format off
        LBX_FOUR_CASES(0) LBX_FOUR_CASES(4) LBX_FOUR_CASES(8) LBX_FOUR_CASES(12)
        LBX_FOUR_CASES(16) LBX_FOUR_CASES(20) LBX_FOUR_CASES(24) LBX_FOUR_CASES(28)
        // clang-format on
#undef LBX_FOUR_CASES
#undef LBX_CASE
    }
    __builtin_unreachable();
}

// Some modules take their vector as void*; a table has one form.
template <auto Set>
int set_with(BlockAlgo* blk, float* vector)
{
    return Set(blk, vector);
}

// An update that applies the stored vector again: set without a vector.
template <auto Set>
int reapply(BlockAlgo* blk)
{
    return Set(blk, nullptr);
}

// The six functions of a module that follows the common naming; the seventh, of clear_state.h, is written after them.
#define LBX_OPS(stem)                                                                                       \
    stem##_init, lbx::set_with<stem##_param_set>, stem##_param_update, stem##_param_invoke, stem##_process, \
        stem##_destroy

}  // namespace lbx

// Defines the seven functions of a category over its table. An unserved type logs `message` and yields `refused` (init:
// null). A category with a deviation takes the parts it shares.
#define LBX_CATEGORY(prefix, table, message, refused)    \
    LBX_CATEGORY_INIT(prefix, table, message)            \
    LBX_CATEGORY_PARAMS(prefix, table, message, refused) \
    LBX_CATEGORY_RUN(prefix, table, message, refused)

#define LBX_CATEGORY_INIT(prefix, table, message)                                                               \
    [[gnu::cold]] BlockAlgo* BlockAlgo_##prefix##_init(int nInputs, int nOutputs, BlockPro* pro, int type)      \
    {                                                                                                           \
        const char* const func = __func__;                                                                      \
        const auto refuse = [func]() -> BlockAlgo* {                                                            \
            LBX_LOG_AS(func, __LINE__, message);                                                                \
            return nullptr;                                                                                     \
        };                                                                                                      \
        return lbx::with_row<table>(                                                                            \
            type, [=](const auto& row) LBX_INLINED { return row.init(nInputs, nOutputs, pro, type); }, refuse); \
    }

#define LBX_CATEGORY_PARAMS(prefix, table, message, refused)                                             \
    LBX_CATEGORY_CLEAR(prefix, table, message, refused)                                                  \
    [[gnu::cold]] LBX_CATEGORY_CALL(prefix, param_reset, param_set, table, message, refused,             \
                                    (BlockAlgo * blk, float* vector), (blk, vector))                     \
        [[gnu::cold]] LBX_CATEGORY_CALL(prefix, param_update, param_update, table, message, refused,     \
                                        (BlockAlgo * blk), (blk))                                        \
            [[gnu::cold]] LBX_CATEGORY_CALL(prefix, param_invoke, param_invoke, table, message, refused, \
                                            (BlockAlgo * blk), (blk))

#define LBX_CATEGORY_CLEAR(prefix, table, message, refused)                    \
    [[gnu::cold]] int BlockAlgo_##prefix##_clear(BlockAlgo* blk)               \
    {                                                                          \
        const char* const func = __func__;                                     \
        return lbx::with_row<table>(                                           \
            blk->method_type,                                                  \
            [=](const auto& row) LBX_INLINED {                                 \
                row.clear(blk);                                                \
                return int{RT_OK};                                             \
            },                                                                 \
            [func] { return lbx::refuse(func, __LINE__, message, refused); }); \
    }

#define LBX_CATEGORY_RUN(prefix, table, message, refused)                                             \
    LBX_CATEGORY_CALL(prefix, process, process, table, message, refused,                              \
                      (BlockAlgo * blk, float** data_in, float** data_out), (blk, data_in, data_out)) \
    [[gnu::cold]] LBX_CATEGORY_CALL(prefix, destroy, destroy, table, message, refused, (BlockAlgo * blk), (blk))

#define LBX_CATEGORY_CALL(prefix, name, op, table, message, refused, params, args)      \
    int BlockAlgo_##prefix##_##name params                                              \
    {                                                                                   \
        const char* const func = __func__;                                              \
        return lbx::with_row<table>(                                                    \
            blk->method_type, [=](const auto& row) LBX_INLINED { return row.op args; }, \
            [func] { return lbx::refuse(func, __LINE__, message, refused); });          \
    }
