// SPDX-License-Identifier: Apache-2.0
// Plays schematics on the graph runtime. The audio thread runs the graph; one worker thread does all else: it builds
// what is to be heard next, lets it hear the last two seconds of the input, hands it over to be crossfaded, and
// collects meters. Blocks that glide by themselves get their new parameters directly.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

#include "live/backend.h"
#include "live/player.h"
#include "vantoro_graph.h"

namespace vantoro {

class GraphPlayer : public Player, public AudioClient {
public:
    struct Options {
        double replay_seconds = 2;
        double budget_seconds = 0.035;  // of building and replaying: heavy graphs replay less
        float fade_ms = 20;
        std::uint64_t revision = 0;                                               // of the first schematic
        std::function<void(const std::string&)> say = [](const std::string&) {};  // for people; worker thread
    };

    // Throws std::runtime_error when the library refuses it.
    GraphPlayer(Schematic first, int rate, Options options);
    ~GraphPlayer() override;
    GraphPlayer(const GraphPlayer&) = delete;
    GraphPlayer& operator=(const GraphPlayer&) = delete;

    int inputs() const { return inputs_; }
    int outputs() const { return outputs_; }
    int block_size() const { return block_; }

    // ---- control side ----
    void play(Schematic next, std::uint64_t revision) override;
    std::unique_ptr<Reader> reader() override;
    std::unique_ptr<Tap> tap(const std::string& block, int pin) override;
    PlayerStatus status() override;

    // For the status, which nobody may ask for any more when it is gone.
    void set_backend(const Backend* backend, int period);
    // Silence after a fade; returns when it is reached, or nothing has played for a while.
    void fade_out();
    // The newest revision that the audio thread has been given.
    std::uint64_t handed() const { return handed_.load(); }
    std::int64_t late() const { return late_.load(); }  // changes that were not heard 100 ms after they were asked for
    std::int64_t glided() const { return glided_.load(); }  // changes without a second graph
    // Frames by which the output is late, beyond what the blocks do: 0 as long as calls are whole blocks.
    int latency() const { return whole_blocks_.load() ? 0 : block_ - 1; }

    // ---- audio thread ----
    void process(const float* const* in, float* const* out, int frames) noexcept override;
    void xrun() noexcept override { xruns_.fetch_add(1, std::memory_order_relaxed); }

private:
    using Clock = std::chrono::steady_clock;
    struct Destroy {
        void operator()(VantoroGraph* graph) const { Vantoro_graph_destroy(graph); }
    };
    using Graph = std::unique_ptr<VantoroGraph, Destroy>;
    struct Wanted {
        Schematic schematic;
        std::uint64_t revision;
        Clock::time_point asked;
    };
    // How the signals of a preset map to blocks and pins.
    struct Shape {
        std::uint64_t revision = 0;
        int inputs = 0;
        std::vector<int> node;   // by block
        std::vector<int> first;  // by block: the signal number of its first output pin
        std::vector<int> pins;   // by block: outputs
        int first_output = 0;    // signal number
        int outputs = 0;
    };
    // What a reader has not read yet.
    struct Sums {
        std::vector<float> peak;
        std::vector<double> square;  // times blocks
        long long blocks = 0;
    };
    struct Listener;
    struct TapSlot {
        bool used = false;
        std::string block;
        int pin = 0;
    };
    class GraphReader;
    class GraphTap;
    struct Slice {  // of time, for the load
        std::int64_t frames, busy_ns;
    };

    static Shape shape_of(const Schematic& schematic, std::uint64_t revision);
    Graph build(const Schematic& schematic) const;
    static int signal_of(const VantoroGraph& graph, const Schematic& schematic, const TapSlot& slot);

    // Worker thread.
    void work();
    std::chrono::milliseconds pause() const;
    void look_after(std::unique_lock<std::mutex>& lock);
    void collect_levels();
    void measure_load();
    void report_faults();
    void make_due_changes();
    void keep_changes(Schematic& next) const;
    bool ready_for_next() const;
    void apply(Wanted wanted, std::unique_lock<std::mutex>& lock);
    bool glide(const Schematic& next);
    bool swap(const Schematic& next, std::unique_lock<std::mutex>& lock);
    void replay(VantoroGraph& next, Clock::time_point began, std::unique_lock<std::mutex>& lock);
    void accept(Wanted wanted, bool swapped);
    double now_seconds() const;

    // Audio thread.
    int run_block(const float* const* in, float* const* out, int frames) noexcept;
    void look_for_faults(int result) noexcept;
    void shade(float* const* out, int frames) noexcept;

    const Options options_;
    const int rate_, block_, inputs_, outputs_;
    int fade_frames_;
    Graph graph_;

    mutable std::mutex mutex_;  // everything of the control side, and the graph's control functions
    std::condition_variable wake_;
    bool stop_ = false;
    std::optional<Wanted> wanted_;
    Schematic current_;  // what the graph has accepted last
    Schematic given_;    // what was asked for last, without the changes made since
    Shape shape_, old_shape_;
    std::vector<Change> due_;     // changes to come, by time
    std::uint64_t settling_ = 0;  // the newest revision that the graph has
    bool unsettled_ = false;      // it is not fully heard yet
    Clock::time_point asked_{}, handed_at_{};
    std::list<Listener*> listeners_;
    std::array<TapSlot, VANTORO_GRAPH_TAPS> taps_{};
    std::vector<VantoroGraphMeter> meters_;
    bool metering_ = false;
    std::deque<Slice> slices_;
    Clock::time_point sliced_{};
    std::string fault_;
    const Backend* backend_ = nullptr;
    int period_ = 0;

    std::atomic<std::uint64_t> heard_{0}, handed_{0};
    std::atomic<std::int64_t> late_{0}, glided_{0};

    // Written by the audio thread.
    std::atomic<std::int64_t> frames_{0}, busy_ns_{0}, worst_permille_{0}, xruns_{0}, muted_{0}, bad_samples_{0};
    std::atomic<bool> whole_blocks_{true}, fading_out_{false}, faded_out_{false};
    std::atomic<bool> fault_full_{false};  // fault_name_ is the worker's
    std::array<char, 64> fault_name_{};
    std::vector<const float*> in_at_;  // audio thread: pointers into the caller's buffers
    std::vector<float*> out_at_;
    int filled_ = 0;                 // of the block that is being filled
    int risen_ = -1;                 // frames since audio came back after a fault; -1: it is all there
    int sunk_ = 0;                   // frames of the fade at the end
    unsigned long long faults_ = 0;  // seen

    std::thread worker_;
};

}  // namespace vantoro
