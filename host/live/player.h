// SPDX-License-Identifier: Apache-2.0
// What plays a schematic, as the control side sees it: hand over what is to be heard next, read what is heard now.
//
// Every function is for threads other than the audio thread, and none makes the audio thread wait. Any number of
// threads may call.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "schematic/schematic.h"

namespace vantoro {

// Peak and mean square of one signal since they were read last; full scale is 1.
struct SignalLevel {
    float peak = 0;
    float mean_square = 0;
};

// What was played since the last reading.
struct Readings {
    std::uint64_t revision = 0;                  // of the schematic that the rest belongs to
    std::vector<SignalLevel> inputs;             // one per channel of the terminal "input"
    std::vector<std::vector<SignalLevel>> pins;  // one per output pin of each block, as the schematic lists them
    std::vector<SignalLevel> outputs;            // one per channel of the terminal "output"
    std::vector<std::vector<float>> detectors;   // per block: a level detector's values in its own unit, else empty
};

struct PlayerStatus {
    bool playing = false;   // the device asks for audio
    std::string device;     // for people: "alsa hw:1,0", "file music.flac to nowhere"
    std::string trouble;    // why nothing plays, or empty
    int rate = 0;           // Hz
    int period = 0;         // frames
    double seconds = 0;     // of audio since the start
    double load = 0;        // share of a period's time that the graph needs: mean of the last second
    double worst_load = 0;  // worst period since the last call
    std::int64_t xruns = 0;
    std::int64_t muted_blocks = 0;  // silenced because something in them was not finite
    std::string fault;              // where that began last, or empty
    std::uint64_t heard = 0;        // the revision that is heard and fully faded in
};

class Player {
public:
    virtual ~Player() = default;

    // From now on this is to be heard: same input channels and output channels as before, any blocks. Returns at once;
    // when calls come faster than changes can be heard, the newest wins. Revisions grow.
    virtual void play(Schematic next, std::uint64_t revision) = 0;

    // Each reader gets what was played since it read last.
    class Reader {
    public:
        virtual ~Reader() = default;
        virtual Readings read() = 0;
    };
    virtual std::unique_ptr<Reader> reader() = 0;

    // Listens to one signal, for a spectrum, until it is destroyed. A signal whose block is gone is silent.
    class Tap {
    public:
        virtual ~Tap() = default;
        // The newest out.size() samples, oldest first; false while fewer were played.
        virtual bool newest(std::span<float> out) = 0;
    };
    // `block` is the id, or "input" or "output"; `pin` counts from 0. Null when too many listen (16).
    virtual std::unique_ptr<Tap> tap(const std::string& block, int pin) = 0;

    virtual PlayerStatus status() = 0;
};

}  // namespace vantoro
