// SPDX-License-Identifier: Apache-2.0
// A run before it runs: what was asked, checked whole.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "io/audio_file.h"
#include "io/raw_pcm.h"
#include "schematic/schematic.h"

namespace vantoro {

class TailedSource;

struct RunOptions {
    std::string schematic, input, output;
    std::vector<std::string> settings;
    std::string arithmetic;
    std::optional<double> seconds;
    std::string tail;  // seconds, or "auto"
    std::string meters;
    double meter_interval = 0;
    Encoding encoding = Encoding::natural;
    std::string raw_in, raw_out;  // formats; empty: a sound file
    std::optional<int> raw_rate, raw_channels;
    bool force = false;
    bool keep = false;
    bool quiet = false;
    bool strict = false;
};

// Everything that a run needs.
struct Job {
    std::unique_ptr<AudioSource> reader;  // null: sources only
    Schematic schematic;
    int rate = 0;                               // Hz
    std::optional<std::int64_t> frames;         // unknown for some streams
    bool keep = false;                          // audio that is not finite does not end the run
    const TailedSource* until_quiet = nullptr;  // after it the run ends when nothing is heard any more
};

// Opens the input and reads the schematic, whose warnings it prints; touches no output. Throws UserError with
// everything that is wrong.
Job prepare(const RunOptions& options);

// Where the audio goes; null: the schematic has no output.
std::unique_ptr<AudioSink> open_output(const RunOptions& options, const Job& job, int channels);

}  // namespace vantoro
