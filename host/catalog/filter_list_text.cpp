// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "catalog/filter_kinds.h"
#include "catalog/filter_list.h"
#include "support/decimal.h"

namespace vantoro {

namespace {

using nlohmann::json;

std::string text_of(double value) { return decimal(static_cast<float>(value)); }

// The shortest text of a width that is read back as this float.
std::string width_text(const FilterKind& kind, double q, const Corner& at)
{
    const double listed = kind.q > 0 && !kind.text ? kind.q : kind.to_list(q, at);
    char text[40] = "";
    for (int digits = 3; digits < 17; ++digits) {
        std::snprintf(text, sizeof text, "%.*g", digits, listed);
        const double back = kind.from_list(number_of<double>(text).value_or(0), at);
        if (static_cast<float>(back) == static_cast<float>(kind.from_list(listed, at)))
            break;
    }
    return text;
}

bool is_on(const json& band, const BlockType& type)
{
    return is_text_equaliser(type) ? band["enable"].get<int>() != 0 : band["bypass"].get<int>() == 0;
}

}  // namespace

std::string filter_list_of(const json& bands, const BlockType& type, int rate, std::vector<Problem>& problems)
{
    std::string list;
    double preamp = 0;
    for (std::size_t i = 0; i < bands.size(); ++i) {
        const json& band = bands[i];
        const std::string choice = band["type"];
        const auto kind = std::ranges::find_if(filter_kinds(), [&](const FilterKind& each) {
            return choice_of(each, type) && choice == choice_of(each, type);
        });
        const bool on = is_on(band, type);
        const double boost = band.value("boostDb", 0.0);
        const Corner at{band["fc"], boost, rate};
        const std::string width = kind == filter_kinds().end() ? "" : width_text(*kind, band["q"], at);
        if (kind == filter_kinds().end() || !std::isfinite(number_of<double>(width).value_or(NAN))) {
            problems.push_back({"/" + std::to_string(i), choice, "left out: filter lists have no such filter", true});
            continue;
        }
        preamp += on ? band.value("gainDb", 0.0) + (kind->boosts ? 0 : boost) : 0;
        char line[160];
        std::snprintf(line, sizeof line, "Filter %2zu: %-3s %-3s  Fc %s Hz", i + 1, on ? "ON" : "OFF", kind->word,
                      text_of(at.fc).c_str());
        list += line + (kind->boosts ? "  Gain " + text_of(boost) + " dB" : "") +
                (kind->octaves ? "  BW Oct " : "  Q ") + width + '\n';
    }
    return (preamp != 0 ? "Preamp: " + text_of(preamp) + " dB\n" : "") + list;
}

}  // namespace vantoro
