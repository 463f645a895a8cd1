// SPDX-License-Identifier: Apache-2.0
#include "analysis/meters.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vantoro {

Meters::Meters(const Engine& engine, const std::string& csv, double interval) : interval_(interval)
{
    for (const int b : engine.schematic().order) {
        int count = 0;
        const BlockAlgo& algo = engine.block(b);
        if (LevelDetector_levels(&algo, &count))
            meters_.push_back({&engine.schematic().blocks[static_cast<std::size_t>(b)].id, &algo, count});
    }
    if (csv.empty())
        return;
    file_ = std::make_unique<PartFile>(csv);
    write_header();
}

void Meters::write_header()
{
    std::string row = "seconds";
    for (const Meter& meter : meters_) {
        if (meter.count == 1)
            row += ',' + *meter.id;
        for (int band = 0; meter.count > 1 && band < meter.count; ++band)
            row += ',' + *meter.id + '.' + std::to_string(band);
    }
    file_->write(row + '\n');
}

void Meters::block_done(double seconds)
{
    constexpr double kRounding = 1e-9;
    if (!file_ || seconds < next_ - kRounding)
        return;
    write_row(seconds);
    if (interval_ > 0)
        next_ = (std::floor(seconds / interval_ + kRounding) + 1) * interval_;
}

void Meters::write_row(double seconds)
{
    char number[64];
    std::snprintf(number, sizeof number, "%.6f", seconds);
    std::string row = number;
    for (const Meter& meter : meters_) {
        int count = 0;
        const float* levels = LevelDetector_levels(meter.detector, &count);
        for (int band = 0; band < meter.count; ++band) {
            number[0] = '\0';
            if (band < count)  // a change may leave fewer bands than there were
                std::snprintf(number, sizeof number, "%.2f", static_cast<double>(levels[band]));
            row += ',';
            row += number;
        }
    }
    file_->write(row + '\n');
    file_->check();
}

void Meters::commit()
{
    if (file_)
        file_->commit();
}

std::string Meters::text() const
{
    std::string out;
    char number[32];
    for (const Meter& meter : meters_) {
        int count = 0;
        const float* levels = LevelDetector_levels(meter.detector, &count);
        out += "meter " + *meter.id + ':';
        for (int band = 0; band < count; ++band) {
            std::snprintf(number, sizeof number, " %.2f", static_cast<double>(levels[band]));
            out += number;
        }
        out += " dB\n";
    }
    return out;
}

}  // namespace vantoro
