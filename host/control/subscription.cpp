// SPDX-License-Identifier: Apache-2.0
#include "control/subscription.h"

#include <algorithm>

#include "control/messages.h"
#include "support/json_fields.h"

namespace vantoro {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

// A rate in Hz from 0 to `most`; what is not there stays as it is.
void read_rate(const Fields& fields, const char* name, double most, double& rate)
{
    const json* value = fields.find(name);
    if (!value)
        return;
    const double hz = value->is_number() ? value->get<double>() : -1;
    if (hz >= 0 && hz <= most)
        rate = hz;
    else
        fields.fault(name, "a rate in Hz from 0 to " + std::to_string(static_cast<int>(most)));
}

}  // namespace

bool Subscription::Beat::due(double now)
{
    if (rate <= 0 || now < next)
        return false;
    next = std::max(next + 1 / rate, now);  // what was missed is not made up for
    return true;
}

Subscription::Taps Subscription::taps_of(const json& signals, const Document& document, std::vector<Problem>& problems)
{
    constexpr std::size_t kMostSignals = 8;
    Taps taps;
    if (!signals.is_array() || signals.size() > kMostSignals) {
        problems.push_back({"/subscribe/spectrum/signals", {}, "an array of at most 8 signals: [\"eq.0\"]"});
        return taps;
    }
    const std::vector<std::string> known = signals_of(document.schematic());
    for (const json& signal : signals) {
        const std::string name = signal.is_string() ? signal.get<std::string>() : "";
        if (std::ranges::find(known, name) == known.end()) {
            problems.push_back({"/subscribe/spectrum/signals", name, "a signal: \"input.0\", \"eq.0\", \"output.0\""});
            continue;
        }
        const std::size_t dot = name.rfind('.');
        auto tap = player_.tap(name.substr(0, dot), std::stoi(name.substr(dot + 1)));
        if (tap)
            taps.emplace_back(name, std::move(tap));
        else
            problems.push_back({"/subscribe/spectrum/signals", name, "fewer signals: no more can be listened to"});
    }
    return taps;
}

void Subscription::change_spectrum(const json& wanted, const Document& document, std::vector<Problem>& problems)
{
    constexpr int kMinPoints = 16, kMaxPoints = 2048;
    if (!wanted.is_object()) {
        problems.push_back({"/subscribe/spectrum", {}, "an object: {\"rate\": 15, \"signals\": [\"eq.0\"]}"});
        return;
    }
    const Fields fields(wanted, "/subscribe/spectrum", problems);
    fields.allow({"rate", "signals", "points"});
    Beat beat = spectrum_;
    read_rate(fields, "rate", 60, beat.rate);
    const int points = fields.whole("points", kMinPoints, kMaxPoints).value_or(points_);
    if (!problems.empty())
        return;
    if (const json* signals = fields.find("signals")) {
        taps_.clear();  // room for the new ones
        taps_ = taps_of(*signals, document, problems);
    }
    spectrum_ = beat;
    if (!view_ || points != points_)
        view_.emplace(document.rate(), points_ = points);
    if (spectrum_.rate == 0)
        taps_.clear();
}

ordered_json Subscription::change(const json& wanted, const Document& document)
{
    std::vector<Problem> problems;
    if (!wanted.is_object())
        throw UserError({{"/subscribe", {}, "an object: {\"meters\": 30, \"status\": 1}"}});
    const Fields fields(wanted, "/subscribe", problems);
    fields.allow({"meters", "status", "spectrum"});
    Beat meters = meters_, status = status_;
    read_rate(fields, "meters", 100, meters.rate);
    read_rate(fields, "status", 10, status.rate);
    const json* spectrum = fields.find("spectrum");
    if (spectrum && problems.empty())
        change_spectrum(*spectrum, document, problems);
    if (!problems.empty())
        throw UserError(std::move(problems));
    meters_ = meters;
    status_ = status;
    if (meters_.rate == 0)
        reader_.reset();
    else if (!reader_)
        reader_ = player_.reader();
    ordered_json out{{"signals", signals_of(document.schematic())}};
    if (spectrum && view_)
        for (const double hz : view_->frequencies())
            out["frequency"].push_back(rounded(hz, 2));
    return out;
}

ordered_json Subscription::spectrum_json()
{
    ordered_json out = ordered_json::object();
    std::vector<float> samples(view_->samples());
    for (const auto& [name, tap] : taps_)
        if (tap->newest(samples))
            for (const float db : view_->levels(samples))
                out[name].push_back(rounded(static_cast<double>(db), 1));
    return out;
}

void Subscription::tick(double now, const Document& document, const std::function<void(const ordered_json&)>& send)
{
    if (meters_.due(now)) {
        // What an older graph measured has other pins.
        if (const Readings readings = reader_->read(); readings.revision >= document.structure())
            send({{"meters", meters_json(document.schematic(), readings)}});
    }
    if (status_.due(now))
        send({{"status", to_json(player_.status())}});
    if (!taps_.empty() && spectrum_.due(now))
        if (ordered_json levels = spectrum_json(); !levels.empty())
            send({{"spectrum", std::move(levels)}});
}

}  // namespace vantoro
