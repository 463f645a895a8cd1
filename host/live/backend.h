// SPDX-License-Identifier: Apache-2.0
// Where audio comes from and goes to, and what it is handed to. A backend owns the thread that asks for audio.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vantoro {

// What a backend's thread calls, period after period: nothing here allocates, locks or waits, except await().
class AudioClient {
public:
    virtual ~AudioClient() = default;
    // `frames` samples of each channel of the stream, at most 8192 a call.
    virtual void process(const float* const* in, float* const* out, int frames) noexcept = 0;
    virtual void xrun() noexcept = 0;
    // Called first by a backend whose thread can wait, until a period can be processed.
    virtual void await(int /*frames*/) noexcept {}
};

inline constexpr int kMaxPeriod = 8192;  // frames

struct StreamFormat {
    int rate = 0;    // Hz
    int period = 0;  // frames; 0: as the device likes it
    int inputs = 0, outputs = 0;
};

class Backend {
public:
    virtual ~Backend() = default;  // stops

    // The rate that is given and cannot be chosen.
    virtual std::optional<int> fixed_rate() const { return {}; }
    // Throws std::runtime_error: why not, and what to do. Returns what was got. 0 inputs or outputs: none are opened.
    virtual StreamFormat open(const StreamFormat& wanted) = 0;
    virtual void start(AudioClient& client) = 0;
    virtual void stop() = 0;

    virtual std::string name() const = 0;                          // for people
    virtual std::string trouble() const = 0;                       // why nothing plays, or empty
    virtual std::vector<std::string> notes() const { return {}; }  // what did not go as asked, once it runs
};

struct Device {
    std::string name;    // as --input and --output take it
    std::string detail;  // channels, rates, formats
};

// A kind of backend that this program was built with.
struct BackendKind {
    const char* name;
    std::unique_ptr<Backend> (*make)(const std::string& input, const std::string& output);
    std::vector<Device> (*devices)();
    bool (*there)();  // whether it has a device that plays by default
};
const std::vector<BackendKind>& backend_kinds();

// Paced by the clock of the machine: for files. `name` says which.
std::unique_ptr<Backend> make_clock_backend(std::string name);

// Asks for realtime priority for the calling thread; why it was refused, or empty.
std::string ask_for_realtime();

}  // namespace vantoro
