// SPDX-License-Identifier: Apache-2.0
// Frequency responses measured: the graph runs on a known signal, and what it adds to the outputs is transformed.
//
// Two engines run side by side, one of them on silence, and the difference counts: sources inside the graph, DC and
// slow drifts of controls drop out. The graph first runs 2 s on silence; then it is measured again and again, in longer
// windows while a response outlasts them, until two measurements in a row are the same: gains have glided to their end.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "analysis/response.h"

namespace vantoro {

enum class Stimulus {
    impulse,  // one sample of 1.0: exact for what is linear
    sweep,    // for what is not: a slow sine at one level; harmonics end up before the response and are cut off
};

// Every output from channel `from` of the input. `level_db`: of the sweep, re full scale. Throws std::runtime_error
// when a block fails, or when the response never ends or never stays the same. `progress` is called now and then with
// the frames that were run.
std::vector<Spectrum> measure(const Schematic& schematic, int from, const Axis& axis, Stimulus stimulus,
                              double level_db, std::function<void(std::int64_t)> progress = {});

}  // namespace vantoro
