// SPDX-License-Identifier: Apache-2.0
// The kinds of filters that filter lists and equalisers have in common, and what becomes of their widths.
#pragma once

#include <array>
#include <span>

#include "catalog/catalog.h"

namespace vantoro {

// What a width depends on besides itself.
struct Corner {
    double fc, boost_db;
    int rate;
    double w() const;  // rad per sample
};

double q_of_octaves(double octaves, const Corner& at);
double octaves_of_q(double q, const Corner& at);

// Of shelves.
double slope_of_q(double q, const Corner& at);
double q_of_slope(double slope, const Corner& at);

// Of filters whose half width is tan(w / (2 q)) in an equaliser, and sin(w) / (2 Q) in a list; not a number: too wide.
double tangent_q(double q, const Corner& at);
double q_of_tangent(double q, const Corner& at);

inline double same(double q, const Corner& /*at*/) { return q; }

struct FilterKind {
    const char* word;                                   // written
    std::array<const char*, 3> read;                    // null: none
    const char *text, *graphical;                       // choices of the equalisers; null: none
    bool boosts = false, octaves = false;               // what it has; `octaves`: in place of a Q
    double (*from_list)(double, const Corner&) = same;  // the width
    double (*to_list)(double, const Corner&) = same;
    double q = 0;  // of one that has none in the list, or none in the equaliser
};
std::span<const FilterKind> filter_kinds();

inline bool is_text_equaliser(const BlockType& type) { return std::string_view(type.name) == "FILTER_TEXTEQ"; }

inline const char* choice_of(const FilterKind& kind, const BlockType& type)
{
    return is_text_equaliser(type) ? kind.text : kind.graphical;
}

}  // namespace vantoro
