// SPDX-License-Identifier: Apache-2.0
#include <optional>

#include "schematic/draft.h"
#include "support/decimal.h"

namespace vantoro {

namespace {

std::optional<double> seconds_of(std::string_view text)
{
    const auto seconds = number_of<double>(text);
    return seconds && good_moment(*seconds) ? seconds : std::nullopt;
}

}  // namespace

Setting parse_setting(std::string_view text)
{
    Setting setting{std::string(text), 0, {}, {}, {}};
    const auto equals = text.find('=');
    const auto dot = text.substr(0, equals).find('.');
    if (equals == text.npos || dot == text.npos || dot == 0 || dot + 1 == equals)
        throw UserError({{"--set", setting.text, "BLOCK.PARAM=VALUE or BLOCK.PARAM=VALUE@SECONDS"}});
    setting.block = text.substr(0, dot);
    setting.path = text.substr(dot + 1, equals - dot - 1);
    const std::string_view value = text.substr(equals + 1);
    const auto at = value.rfind('@');
    setting.value = value.substr(0, at);
    if (at == value.npos)
        return setting;
    const auto seconds = seconds_of(value.substr(at + 1));
    if (!seconds)
        throw UserError({{"--set", setting.text, "after @: seconds from the start, 0 or more"}});
    setting.seconds = *seconds;
    return setting;
}

}  // namespace vantoro
