// SPDX-License-Identifier: Apache-2.0
// The levels of a graph's detectors: at the end, and over time as a table.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "io/part_file.h"

namespace vantoro {

// Levels are the detectors' own: 20 log10 of the mean square re full scale, -180 for silence.
class Meters {
public:
    // `csv`: where the table goes; empty: nowhere. A row per block, or at most one per `interval` seconds when that is
    // above 0.
    Meters(const Engine& engine, const std::string& csv, double interval);

    void block_done(double seconds);  // since the start
    void commit();                    // the table is complete
    std::string text() const;         // a line a detector: "meter vu: -23.10 dB"

private:
    struct Meter {
        const std::string* id;
        const BlockAlgo* detector;
        int count;  // bands at the start: the columns of the table
    };

    void write_header();
    void write_row(double seconds);

    std::vector<Meter> meters_;
    std::unique_ptr<PartFile> file_;
    double interval_;
    double next_ = 0;
};

}  // namespace vantoro
