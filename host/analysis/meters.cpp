// SPDX-License-Identifier: Apache-2.0
#include "analysis/meters.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <stdexcept>

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
    part_ = std::make_unique<PartFile>(csv);
    file_.reset(std::fopen(part_->part().c_str(), "w"));
    if (!file_)
        throw std::runtime_error(csv + ": cannot be written: " + std::strerror(errno));
    write_header();
}

void Meters::write_header()
{
    std::fputs("seconds", file_.get());
    for (const Meter& meter : meters_) {
        if (meter.count == 1)
            std::fprintf(file_.get(), ",%s", meter.id->c_str());
        for (int band = 0; meter.count > 1 && band < meter.count; ++band)
            std::fprintf(file_.get(), ",%s.%d", meter.id->c_str(), band);
    }
    std::fputc('\n', file_.get());
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
    std::fprintf(file_.get(), "%.6f", seconds);
    for (const Meter& meter : meters_) {
        int count = 0;
        const float* levels = LevelDetector_levels(meter.detector, &count);
        for (int band = 0; band < meter.count; ++band)
            if (band < count)  // a change may leave fewer bands than there were
                std::fprintf(file_.get(), ",%.2f", static_cast<double>(levels[band]));
            else
                std::fputc(',', file_.get());
    }
    std::fputc('\n', file_.get());
}

void Meters::commit()
{
    if (!file_)
        return;
    const bool failed = std::ferror(file_.get()) != 0;
    if (std::fclose(file_.release()) != 0 || failed)
        throw std::runtime_error(part_->path() + ": cannot be written: " + std::strerror(errno));
    part_->commit();
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
