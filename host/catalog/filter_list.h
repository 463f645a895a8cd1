// SPDX-License-Identifier: Apache-2.0
// Lists of filters as room-correction programs write them (REW's filter settings, Equalizer APO's configuration), and
// the equalisers that have them:
//
//   Preamp: -6 dB
//   Filter  1: ON  PK   Fc 63 Hz  Gain -5 dB  Q 4
//
// Their Q is that of R. Bristow-Johnson's "Audio EQ Cookbook" at the rate of the audio. Peaks, passes and notches of
// the equalisers take it as it is; of shelves it becomes the slope, of all-pass and band-pass the Q whose tangent has
// the same bandwidth. What has no counterpart is reported with its line, or with its band, as a warning.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "catalog/catalog.h"

namespace vantoro {

// Whether a block has bands that such a list can name.
bool is_equaliser(const BlockType& type);

// Whether a line of the text is one of such a list.
bool is_filter_list(std::string_view text);

// The value of "bands" for an equaliser of this type; `file` is for reports.
nlohmann::ordered_json bands_of(std::string_view text, const std::string& file, const BlockType& type, int rate,
                                std::vector<Problem>& problems);

// The list of an equaliser's bands, as named_values has them. What passes and bands have as gains is added up in the
// preamp. Problems are placed at "/2": the band.
std::string filter_list_of(const nlohmann::json& bands, const BlockType& type, int rate,
                           std::vector<Problem>& problems);

}  // namespace vantoro
