// SPDX-License-Identifier: Apache-2.0
#include "live/graph_player.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "live/console.h"
#include "schematic/preset.h"

namespace vantoro {

namespace {

using std::chrono::duration;

std::size_t index(int n) { return static_cast<std::size_t>(n); }

bool same_bits(const std::vector<float>& a, const std::vector<float>& b)
{
    return std::ranges::equal(a, b, {}, std::bit_cast<std::uint32_t, float>, std::bit_cast<std::uint32_t, float>);
}

bool same_feed(const Feed& a, const Feed& b)
{
    return a.block == b.block && (a.block == Feed::kSilence || a.pin == b.pin);
}

bool same_wiring(const Schematic& a, const Schematic& b)
{
    return a.order == b.order && std::ranges::equal(a.outputs, b.outputs, same_feed) &&
           std::ranges::equal(a.blocks, b.blocks, [](const Block& x, const Block& y) {
               return x.id == y.id && x.type == y.type && x.pins.outputs == y.pins.outputs &&
                      std::ranges::equal(x.sources, y.sources, same_feed);
           });
}

// The block of the same name, type and pins, perhaps in the same place; or null.
const Block* alike(const Schematic& schematic, const Block& block, std::size_t place)
{
    const std::vector<Block>& blocks = schematic.blocks;
    const auto found = place < blocks.size() && blocks[place].id == block.id
                           ? blocks.begin() + static_cast<std::ptrdiff_t>(place)
                           : std::ranges::find(blocks, block.id, &Block::id);
    return found != blocks.end() && found->type == block.type && found->pins.inputs == block.pins.inputs &&
                   found->pins.outputs == block.pins.outputs
               ? &*found
               : nullptr;
}

// Whether a block glides with this vector: its type does, unless the vector says not to.
bool glides(const Block& block)
{
    if (block.type->on_set != VANTORO_GLIDES)
        return false;
    const std::span layout(block.type->layout, index(block.type->layout_count));
    const auto slew = std::ranges::find_if(layout, [](const VantoroSlot& slot) {
        return slot.kind == VANTORO_VALUE && (slot.param->flags & VANTORO_GLIDE) != 0;
    });
    return slew == layout.end() || static_cast<int>(block.vector[index(static_cast<int>(slew - layout.begin()))]) != 0;
}

}  // namespace

// ---- life ----

GraphPlayer::GraphPlayer(Schematic first, int rate, Options options)
    : options_(std::move(options)), rate_(rate), block_(first.block_size), inputs_(first.inputs),
      outputs_(static_cast<int>(first.outputs.size())),
      fade_frames_(std::max(1, static_cast<int>(options_.fade_ms * static_cast<float>(rate) / 1000))),
      in_at_(index(inputs_)), out_at_(index(outputs_))
{
    due_ = std::exchange(first.changes, {});
    given_ = first;
    current_ = std::move(first);
    make_due_changes();
    if (wanted_)
        current_ = std::move(wanted_->schematic);
    wanted_.reset();
    graph_ = build(current_);
    if (Vantoro_graph_keep(graph_.get(), static_cast<float>(options_.replay_seconds)) != RT_OK)
        throw std::bad_alloc();
    heard_ = handed_ = settling_ = options_.revision;
    shape_ = old_shape_ = shape_of(current_, options_.revision);
    worker_ = std::thread([this] { work(); });
}

GraphPlayer::~GraphPlayer()
{
    {
        const std::lock_guard lock(mutex_);
        stop_ = true;
    }
    wake_.notify_one();
    worker_.join();
}

GraphPlayer::Graph GraphPlayer::build(const Schematic& schematic) const
{
    const std::vector<std::uint32_t> preset = preset_of(schematic, rate_);
    const std::size_t bytes = preset.size() * sizeof preset[0];
    Graph graph(Vantoro_graph_create(preset.data(), bytes, rate_));
    if (graph)
        return graph;
    std::array<char, 256> why{};
    if (Vantoro_graph_check(preset.data(), bytes, why.data(), why.size()) != RT_OK)
        throw std::runtime_error(why.data());
    throw std::bad_alloc();
}

GraphPlayer::Shape GraphPlayer::shape_of(const Schematic& schematic, std::uint64_t revision)
{
    Shape shape{.revision = revision,
                .inputs = schematic.inputs,
                .node = std::vector<int>(schematic.blocks.size()),
                .first = std::vector<int>(schematic.blocks.size()),
                .pins = std::vector<int>(schematic.blocks.size()),
                .first_output = 1 + schematic.inputs,
                .outputs = static_cast<int>(schematic.outputs.size())};
    int node = 0;
    for (const int b : schematic.order) {
        shape.node[index(b)] = node++;
        shape.pins[index(b)] = schematic.blocks[index(b)].pins.outputs;
        shape.first[index(b)] = std::exchange(shape.first_output, shape.first_output + shape.pins[index(b)]);
    }
    return shape;
}

// ---- audio thread ----

int GraphPlayer::run_block(const float* const* in, float* const* out, int frames) noexcept
{
    if (!whole_blocks_.load(std::memory_order_relaxed))
        return Vantoro_graph_run(graph_.get(), in, out, frames);
    for (int ch = 0; ch < inputs_; ++ch)
        std::copy_n(in[ch], frames, Vantoro_graph_input(graph_.get(), ch));
    const int result = Vantoro_graph_process(graph_.get());
    for (int ch = 0; ch < outputs_; ++ch)
        std::copy_n(Vantoro_graph_output(graph_.get(), ch), frames, out[ch]);
    return result;
}

// The name is copied: it belongs to a graph that may go.
void GraphPlayer::look_for_faults(int result) noexcept
{
    VantoroGraphFaults faults;
    Vantoro_graph_faults(graph_.get(), &faults);
    bad_samples_.store(static_cast<std::int64_t>(faults.inputs), std::memory_order_relaxed);
    if (faults.blocks == faults_ && result >= 0)
        return;
    faults_ = faults.blocks;
    risen_ = 0;
    muted_.fetch_add(1, std::memory_order_relaxed);
    if (fault_full_.load(std::memory_order_acquire))
        return;
    const char* name = Vantoro_graph_blamed(graph_.get());
    std::size_t used = 0;
    for (; name[used] != 0 && used + 1 < fault_name_.size(); ++used)
        fault_name_[used] = name[used];
    fault_name_[used] = 0;
    fault_full_.store(true, std::memory_order_release);
}

// Fades in after a fault and out at the end, both along a raised cosine.
void GraphPlayer::shade(float* const* out, int frames) noexcept
{
    const bool sinking = fading_out_.load(std::memory_order_relaxed);
    if (risen_ < 0 && !sinking)
        return;
    const auto cosine = [this](int at) {
        const double way = std::min(1.0, static_cast<double>(at) / fade_frames_);
        return static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * way));
    };
    for (int i = 0; i < frames; ++i) {
        const float gain = (risen_ < 0 ? 1.0F : cosine(risen_)) * (sinking ? 1.0F - cosine(sunk_) : 1.0F);
        for (int ch = 0; ch < outputs_; ++ch)
            out[ch][i] *= gain;
        if (risen_ >= 0 && ++risen_ >= fade_frames_)
            risen_ = -1;
        if (sinking && sunk_ < fade_frames_)
            ++sunk_;
    }
    if (sinking && sunk_ >= fade_frames_)
        faded_out_.store(true, std::memory_order_release);
}

void GraphPlayer::process(const float* const* in, float* const* out, int frames) noexcept
{
    const Clock::time_point began = Clock::now();
    if (filled_ == 0 && frames % block_ != 0)
        whole_blocks_.store(false, std::memory_order_relaxed);
    for (int done = 0; done < frames;) {
        const int n = std::min(frames - done, block_ - filled_);
        for (int ch = 0; ch < inputs_; ++ch)
            in_at_[index(ch)] = in[ch] + done;
        for (int ch = 0; ch < outputs_; ++ch)
            out_at_[index(ch)] = out[ch] + done;
        const int result = run_block(in_at_.data(), out_at_.data(), n);
        const bool muted = risen_ == 0;
        look_for_faults(result);
        if (muted || risen_ != 0)  // not in the silent block itself
            shade(out_at_.data(), n);
        filled_ = (filled_ + n) % block_;
        done += n;
    }
    const auto busy = std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - began).count();
    frames_.fetch_add(frames, std::memory_order_release);
    busy_ns_.fetch_add(busy, std::memory_order_relaxed);
    const auto permille = static_cast<std::int64_t>(static_cast<double>(busy) * rate_ / (1e6 * std::max(frames, 1)));
    if (permille > worst_permille_.load(std::memory_order_relaxed))
        worst_permille_.store(permille, std::memory_order_relaxed);
}

// ---- what others ask for ----

void GraphPlayer::play(Schematic next, std::uint64_t revision)
{
    {
        const std::lock_guard lock(mutex_);
        due_ = std::exchange(next.changes, {});
        const double now = now_seconds();  // what is past was made: it is not made again over what is wanted now
        std::erase_if(due_, [now](const Change& change) { return change.seconds <= now; });
        Schematic as_given = next;
        keep_changes(next);
        given_ = std::move(as_given);
        wanted_ = Wanted{std::move(next), revision, Clock::now()};
    }
    wake_.notify_one();
}

void GraphPlayer::set_backend(const Backend* backend, int period)
{
    const std::lock_guard lock(mutex_);
    backend_ = backend;
    period_ = period;
}

PlayerStatus GraphPlayer::status()
{
    const std::lock_guard lock(mutex_);
    PlayerStatus status;
    if (backend_) {
        status.device = backend_->name();
        status.trouble = backend_->trouble();
    }
    status.playing = backend_ && status.trouble.empty();
    status.rate = rate_;
    status.period = period_;
    status.seconds = now_seconds();
    if (slices_.size() > 1 && slices_.back().frames > slices_.front().frames) {
        const auto frames = static_cast<double>(slices_.back().frames - slices_.front().frames);
        status.load = static_cast<double>(slices_.back().busy_ns - slices_.front().busy_ns) * 1e-9 * rate_ / frames;
    }
    status.worst_load = static_cast<double>(worst_permille_.exchange(0)) / 1000;
    status.xruns = xruns_;
    status.muted_blocks = muted_;
    status.fault = fault_;
    status.heard = heard_;
    return status;
}

void GraphPlayer::fade_out()
{
    constexpr std::chrono::milliseconds kMost{500}, kStep{2};
    fading_out_ = true;
    for (const auto end = Clock::now() + kMost; !faded_out_ && Clock::now() < end;)
        std::this_thread::sleep_for(kStep);
}

double GraphPlayer::now_seconds() const { return static_cast<double>(frames_.load()) / rate_; }

// ---- worker: changes ----

void GraphPlayer::work()
{
    std::unique_lock lock(mutex_);
    while (!stop_) {
        look_after(lock);
        make_due_changes();
        if (wanted_ && ready_for_next())
            apply(*std::exchange(wanted_, {}), lock);
        else
            wake_.wait_for(lock, pause());
    }
}

std::chrono::milliseconds GraphPlayer::pause() const
{
    constexpr std::chrono::milliseconds kIdle{20}, kWatching{4}, kChanging{1};
    if (wanted_ || unsettled_)
        return kChanging;
    return metering_ || !due_.empty() ? kWatching : kIdle;
}

// One change at a time: the next is built while the newest could still be replaced, and only then. Without audio
// nothing settles, so nothing is waited for.
bool GraphPlayer::ready_for_next() const
{
    constexpr std::chrono::milliseconds kStalled{100};
    return !unsettled_ || Clock::now() - handed_at_ > kStalled;
}

// What `changes` and --set ask for by now.
void GraphPlayer::make_due_changes()
{
    constexpr double kRounding = 1e-9;
    const double now = now_seconds() + kRounding;
    const auto end = std::ranges::find_if(due_, [&](const Change& change) { return change.seconds > now; });
    if (end == due_.begin())
        return;
    if (!wanted_)
        wanted_ = Wanted{current_, settling_, Clock::now()};
    for (auto change = due_.begin(); change != end; ++change)
        if (index(change->block) < wanted_->schematic.blocks.size())
            wanted_->schematic.blocks[index(change->block)].vector = change->vector;
    due_.erase(due_.begin(), end);
}

// What was changed at its time stays, until the value in the schematic is another.
void GraphPlayer::keep_changes(Schematic& next) const
{
    const Schematic& heard = wanted_ ? wanted_->schematic : current_;
    for (std::size_t b = 0; b < next.blocks.size(); ++b) {
        Block& block = next.blocks[b];
        const Block* given = alike(given_, block, b);
        const Block* now = alike(heard, block, b);
        if (given && now && same_bits(block.vector, given->vector))
            block.vector = now->vector;
    }
}

// Only vectors differ, all of blocks that glide, and the runtime takes them.
bool GraphPlayer::glide(const Schematic& next)
{
    if (!same_wiring(current_, next))
        return false;
    std::vector<int> changed;
    for (int b = 0; b < static_cast<int>(next.blocks.size()); ++b) {
        const Block& block = next.blocks[index(b)];
        if (same_bits(block.vector, current_.blocks[index(b)].vector))
            continue;
        if (!glides(block) || !glides(current_.blocks[index(b)]))
            return false;
        changed.push_back(b);
    }
    for (const int b : changed) {
        const std::vector<float>& vector = next.blocks[index(b)].vector;
        if (Vantoro_graph_post(graph_.get(), shape_.node[index(b)], vector.data(), static_cast<int>(vector.size())) !=
            RT_OK)
            return false;
    }
    glided_ += static_cast<std::int64_t>(changed.size());
    return true;
}

// As much as there is time for: a replay that runs at `pace` of real time has caught up with what is played meanwhile
// after seconds * pace / (1 - pace).
void GraphPlayer::replay(VantoroGraph& next, Clock::time_point began, std::unique_lock<std::mutex>& lock)
{
    constexpr int kWarm = 4, kFirst = 8, kAtOnce = 32;  // blocks
    const double budget = options_.budget_seconds;
    int frames = static_cast<int>(options_.replay_seconds * rate_);
    const auto left = [&] { return budget - duration<double>(Clock::now() - began).count(); };
    Vantoro_graph_follow(graph_.get(), &next, frames, kWarm);
    const Clock::time_point first = Clock::now();
    int missing = Vantoro_graph_follow(graph_.get(), &next, frames, kFirst);
    const double pace = duration<double>(Clock::now() - first).count() * rate_ / (kFirst * block_);
    if (pace > 0)
        frames = static_cast<int>(
            std::min<double>(frames, rate_ * std::max(left(), 0.01) * std::max(1 - pace, 0.05) / pace));
    while (missing > 0 && left() > -budget && !stop_) {
        missing = Vantoro_graph_follow(graph_.get(), &next, frames, kAtOnce);
        collect_levels();
        if (missing > 2 * kAtOnce) {  // let others have the lock
            lock.unlock();
            std::this_thread::yield();
            lock.lock();
        }
    }
}

bool GraphPlayer::swap(const Schematic& next, std::unique_lock<std::mutex>& lock)
{
    const Clock::time_point began = Clock::now();
    lock.unlock();
    Graph graph;
    std::string refused;
    try {
        graph = build(next);
    } catch (const std::exception& error) {
        refused = error.what();
    }
    lock.lock();
    if (!graph) {
        options_.say("not played: " + refused);
        return false;
    }
    replay(*graph, began, lock);
    for (int slot = 0; slot < VANTORO_GRAPH_TAPS; ++slot)
        if (const TapSlot& tap = taps_[index(slot)]; tap.used)
            Vantoro_graph_tap(graph.get(), slot, signal_of(*graph, next, tap));
    if (Vantoro_graph_swap(graph_.get(), graph.get(), options_.fade_ms) != RT_OK) {
        options_.say("not played: other channels or another block size; start anew");
        return false;
    }
    (void)graph.release();
    return true;
}

void GraphPlayer::apply(Wanted wanted, std::unique_lock<std::mutex>& lock)
{
    const bool glided = glide(wanted.schematic);
    if (glided || swap(wanted.schematic, lock))
        accept(std::move(wanted), !glided);
    else if (!wanted_)
        due_.clear();  // they belong to what was refused
}

void GraphPlayer::accept(Wanted wanted, bool swapped)
{
    if (swapped && !unsettled_)
        old_shape_ = shape_;
    shape_ = shape_of(wanted.schematic, wanted.revision);
    if (!swapped)
        old_shape_.revision = wanted.revision;
    current_ = std::move(wanted.schematic);
    settling_ = wanted.revision;
    asked_ = wanted.asked;
    handed_at_ = Clock::now();
    unsettled_ = true;
    handed_ = wanted.revision;
}

// ---- worker: what was played ----

void GraphPlayer::look_after(std::unique_lock<std::mutex>& /*held*/)
{
    constexpr std::chrono::milliseconds kLate{100};
    Vantoro_graph_collect(graph_.get());
    collect_levels();
    measure_load();
    report_faults();
    if (unsettled_ && Vantoro_graph_settled(graph_.get()) != 0) {
        unsettled_ = false;
        heard_ = settling_;
        old_shape_ = shape_;
        if (Clock::now() - asked_ > kLate + std::chrono::milliseconds(static_cast<int>(options_.fade_ms)))
            ++late_;
    }
}

void GraphPlayer::measure_load()
{
    constexpr std::chrono::milliseconds kStep{100};
    constexpr std::size_t kSteps = 10;  // a second
    const Clock::time_point now = Clock::now();
    if (now - sliced_ < kStep)
        return;
    sliced_ = now;
    slices_.push_back({frames_, busy_ns_});
    if (slices_.size() > kSteps + 1)
        slices_.pop_front();
}

void GraphPlayer::report_faults()
{
    if (!fault_full_.load(std::memory_order_acquire))
        return;
    fault_ = fault_name_.data();
    fault_full_.store(false, std::memory_order_release);
    options_.say((fault_.empty() ? "the graph" : fault_) + ": audio that is not finite, or a block that failed: muted");
}

// ---- meters ----

struct GraphPlayer::Listener {
    Shape shape;
    Sums sums;
    std::vector<std::vector<float>> detectors;
};

class GraphPlayer::GraphReader : public Player::Reader {
public:
    explicit GraphReader(GraphPlayer& player) : player_(player)
    {
        const std::lock_guard lock(player_.mutex_);
        player_.listeners_.push_back(&listener_);
        listener_.shape = player_.shape_;
    }
    ~GraphReader() override
    {
        const std::lock_guard lock(player_.mutex_);
        player_.listeners_.remove(&listener_);
    }
    GraphReader(const GraphReader&) = delete;
    GraphReader& operator=(const GraphReader&) = delete;

    Readings read() override
    {
        const std::lock_guard lock(player_.mutex_);
        const Shape& shape = listener_.shape;
        Readings readings;
        readings.revision = shape.revision;
        for (int ch = 0; ch < shape.inputs; ++ch)
            readings.inputs.push_back(level(1 + ch));
        for (std::size_t b = 0; b < shape.node.size(); ++b) {
            auto& pins = readings.pins.emplace_back();
            for (int pin = 0; pin < shape.pins[b]; ++pin)
                pins.push_back(level(shape.first[b] + pin));
        }
        for (int ch = 0; ch < shape.outputs; ++ch)
            readings.outputs.push_back(level(shape.first_output + ch));
        readings.detectors = listener_.detectors;
        readings.detectors.resize(shape.node.size());
        listener_.sums = {};
        return readings;
    }

private:
    SignalLevel level(int signal) const
    {
        const Sums& sums = listener_.sums;
        if (sums.blocks == 0 || index(signal) >= sums.peak.size())
            return {};
        return {sums.peak[index(signal)],
                static_cast<float>(sums.square[index(signal)] / static_cast<double>(sums.blocks))};
    }

    GraphPlayer& player_;
    Listener listener_;
};

std::unique_ptr<Player::Reader> GraphPlayer::reader() { return std::make_unique<GraphReader>(*this); }

void GraphPlayer::collect_levels()
{
    if (listeners_.empty()) {
        if (std::exchange(metering_, false))
            Vantoro_graph_meters_off(graph_.get());
        return;
    }
    metering_ = true;
    meters_.resize(index(std::max(shape_.first_output + shape_.outputs, old_shape_.first_output + old_shape_.outputs)));
    VantoroGraphSpan span;
    const int signals = Vantoro_graph_meters(graph_.get(), meters_.data(), static_cast<int>(meters_.size()), &span);
    const Shape& shape = span.newest != 0 ? shape_ : old_shape_;
    const auto wanted = index(shape.first_output + shape.outputs);
    if (signals == 0 || index(signals) != wanted)
        return;
    std::vector<std::vector<float>> detectors(shape_.node.size());
    for (std::size_t b = 0; b < detectors.size(); ++b) {
        detectors[b].resize(index(Vantoro_graph_levels(graph_.get(), shape_.node[b], nullptr, 0)));
        Vantoro_graph_levels(graph_.get(), shape_.node[b], detectors[b].data(), static_cast<int>(detectors[b].size()));
    }
    for (Listener* listener : listeners_) {
        Sums& sums = listener->sums;
        if (listener->shape.revision != shape.revision || sums.peak.size() != index(signals)) {
            listener->shape = shape;
            sums = {std::vector<float>(index(signals)), std::vector<double>(index(signals)), 0};
        }
        for (std::size_t s = 0; s < sums.peak.size(); ++s) {
            sums.peak[s] = std::max(sums.peak[s], meters_[s].peak);
            sums.square[s] += static_cast<double>(meters_[s].mean_square) * static_cast<double>(span.blocks);
        }
        sums.blocks += span.blocks;
        if (detectors.size() == shape.node.size())
            listener->detectors = detectors;
    }
}

// ---- taps ----

int GraphPlayer::signal_of(const VantoroGraph& graph, const Schematic& schematic, const TapSlot& slot)
{
    if (slot.block == "input")
        return Vantoro_graph_signal_number(&graph, VANTORO_GRAPH_INPUT, slot.pin);
    if (slot.block == "output")
        return Vantoro_graph_signal_number(&graph, VANTORO_GRAPH_OUTPUT, slot.pin);
    const auto found =
        std::ranges::find_if(schematic.order, [&](int b) { return schematic.blocks[index(b)].id == slot.block; });
    const int node = found == schematic.order.end() ? -3 : static_cast<int>(found - schematic.order.begin());
    return Vantoro_graph_signal_number(&graph, node, slot.pin);
}

class GraphPlayer::GraphTap : public Player::Tap {
public:
    GraphTap(GraphPlayer& player, int slot) : player_(player), slot_(slot) {}
    ~GraphTap() override
    {
        const std::lock_guard lock(player_.mutex_);
        player_.taps_[index(slot_)] = {};
        Vantoro_graph_tap(player_.graph_.get(), slot_, -1);
    }
    GraphTap(const GraphTap&) = delete;
    GraphTap& operator=(const GraphTap&) = delete;

    bool newest(std::span<float> out) override
    {
        const std::lock_guard lock(player_.mutex_);
        return Vantoro_graph_tapped(player_.graph_.get(), slot_, out.data(), static_cast<int>(out.size())) == RT_OK;
    }

private:
    GraphPlayer& player_;
    int slot_;
};

std::unique_ptr<Player::Tap> GraphPlayer::tap(const std::string& block, int pin)
{
    const std::lock_guard lock(mutex_);
    const auto free = std::ranges::find(taps_, false, &TapSlot::used);
    if (free == taps_.end())
        return nullptr;
    *free = {true, block, pin};
    const auto slot = static_cast<int>(free - taps_.begin());
    if (Vantoro_graph_tap(graph_.get(), slot, signal_of(*graph_, current_, *free)) != RT_OK) {
        *free = {};
        return nullptr;
    }
    return std::make_unique<GraphTap>(*this, slot);
}

}  // namespace vantoro
