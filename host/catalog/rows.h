// SPDX-License-Identifier: Apache-2.0
// The words that catalog rows are written in.
#pragma once

#include "catalog/catalog.h"

namespace vantoro::rows {

inline constexpr float kAny = std::numeric_limits<float>::infinity();

// ---- pins ----

inline constexpr PinRule kSame{"n -> n", {1, 1}, [](Pins p) { return p.inputs >= 1 && p.inputs == p.outputs; }};
inline constexpr PinRule kControlled{
    "n + 1 -> n", {2, 1}, [](Pins p) { return p.outputs >= 1 && p.inputs == p.outputs + 1; }};
inline constexpr PinRule kToOne{"n -> 1", {2, 1}, [](Pins p) { return p.inputs >= 1 && p.outputs == 1; }};
inline constexpr PinRule kFromOne{"1 -> n", {1, 2}, [](Pins p) { return p.inputs == 1 && p.outputs >= 1; }};
inline constexpr PinRule kPairs{"2n -> n", {2, 1}, [](Pins p) { return p.outputs >= 1 && p.inputs == 2 * p.outputs; }};
inline constexpr PinRule kOneOne{"1 -> 1", {1, 1}, [](Pins p) { return p == Pins{1, 1}; }};
inline constexpr PinRule kTwoOne{"2 -> 1", {2, 1}, [](Pins p) { return p == Pins{2, 1}; }};

inline constexpr PinRule kSource{"0 -> n", {0, 1}, [](Pins p) { return p.inputs == 0 && p.outputs >= 1; }};

constexpr PinNote control(int pin, std::string_view name, std::string_view meaning)
{
    return {PinNote::Side::input, pin, pin, 1, name, meaning, true};
}
constexpr PinNote input(int pin, std::string_view name, std::string_view meaning = {})
{
    return {PinNote::Side::input, pin, pin, 1, name, meaning, false};
}
constexpr PinNote output(int pin, std::string_view name, std::string_view meaning = {})
{
    return {PinNote::Side::output, pin, pin, 1, name, meaning, false};
}

// ---- parameters ----

struct Bounds {
    float min = -kAny, max = kAny;
};

constexpr Param real(std::string_view name, std::string_view unit, float usual, Bounds bounds, std::string_view help)
{
    return {Param::Kind::real, name, unit, usual, bounds.min, bounds.max, help};
}
constexpr Param real(std::string_view name, std::string_view unit, float usual, std::string_view help)
{
    return real(name, unit, usual, Bounds{}, help);
}
constexpr Param whole(std::string_view name, float usual, Bounds bounds, std::string_view help)
{
    return {Param::Kind::integer, name, {}, usual, bounds.min, bounds.max, help};
}
constexpr Param flag(std::string_view name, float usual, std::string_view help)
{
    return {Param::Kind::flag, name, {}, usual, 0, 1, help};
}
constexpr Param choice(std::string_view name, std::span<const Choice> choices, float usual, std::string_view help)
{
    return {Param::Kind::choice, name, {}, usual, -kAny, kAny, help, choices};
}

// A table whose length the schematic chooses; its count entry stands in the vector before it.
constexpr Table list(std::string_view name, std::span<const Param> columns, int min, int max,
                     std::span<const float> usual, std::string_view help, Table::Order order = Table::Order::rows)
{
    return {.order = order, .name = name, .columns = columns, .min = min, .max = max, .usual = usual, .help = help};
}
// A table whose length follows from the pins.
constexpr Table per(Per what, std::string_view name, std::span<const Param> columns, std::string_view help,
                    Per matrix = Per::none)
{
    return {.order = Table::Order::rows,
            .name = name,
            .columns = columns,
            .min = 0,
            .max = 0,
            .per = what,
            .matrix = matrix,
            .help = help};
}
inline constexpr int kMany = 65536;  // rows of a table that the library does not limit

// A choice by its public enumerator.
#define NAMED(enumerator) \
    vantoro::Choice { #enumerator, enumerator }

constexpr Slot value(Param param) { return {Slot::Kind::value, param}; }
constexpr Slot count(const Table& table) { return {Slot::Kind::count, {}, &table}; }
constexpr Slot entries(const Table& table) { return {Slot::Kind::table, {}, &table}; }
constexpr Slot first_of(const Table& table, int column) { return {Slot::Kind::first_of, {}, &table, column}; }

inline constexpr Slot kEnable = value(flag("enable", 1, "0 copies the input"));
inline constexpr Slot kPolarity = value(flag("polarity", 0, "1 inverts the output"));
constexpr Slot slew_rate(float usual, Bounds bounds = {1, 23})
{
    return value(
        real("slewRate", "", usual, bounds, "glide: a time constant of 0.0416 ms x 2^(rate - 1); 12 is 85 ms"));
}

}  // namespace vantoro::rows
