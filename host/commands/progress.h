// SPDX-License-Identifier: Apache-2.0
// How far a run is: a bar on a terminal, nothing elsewhere.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace vantoro {

class Progress {
public:
    explicit Progress(std::optional<std::int64_t> frames);  // the length; open: seconds are shown
    ~Progress();                                            // clears it
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(std::int64_t done, int rate);

private:
    static void clear();

    std::optional<std::int64_t> frames_;
    bool on_;
    std::chrono::steady_clock::time_point shown_{};
};

}  // namespace vantoro
