// SPDX-License-Identifier: Apache-2.0
// What a client wants to be sent without asking again: levels, status, spectra, each at its rate.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "analysis/spectrum.h"
#include "control/document.h"
#include "live/player.h"

namespace vantoro {

class Subscription {
public:
    explicit Subscription(Player& player) : player_(player) {}

    // Takes {"meters": Hz, "status": Hz, "spectrum": {"rate": Hz, "signals": [...], "points": n}} and answers. Throws
    // UserError, and is then as it was.
    nlohmann::ordered_json change(const nlohmann::json& wanted, const Document& document);

    // Sends what is due. `now` in seconds.
    void tick(double now, const Document& document, const std::function<void(const nlohmann::ordered_json&)>& send);

private:
    // A moment every so often.
    struct Beat {
        double rate = 0;  // Hz; 0: never
        double next = 0;
        bool due(double now);
    };
    using Taps = std::vector<std::pair<std::string, std::unique_ptr<Player::Tap>>>;

    void change_spectrum(const nlohmann::json& wanted, const Document& document, std::vector<Problem>& problems);
    Taps taps_of(const nlohmann::json& signals, const Document& document, std::vector<Problem>& problems);
    nlohmann::ordered_json spectrum_json();

    Player& player_;
    Beat meters_, status_, spectrum_;
    std::unique_ptr<Player::Reader> reader_;
    Taps taps_;
    int points_ = 256;
    std::optional<SpectrumView> view_;
};

}  // namespace vantoro
