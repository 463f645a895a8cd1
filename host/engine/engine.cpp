// SPDX-License-Identifier: Apache-2.0
#include "engine/engine.h"

#include <array>
#include <cstdio>
#include <new>
#include <set>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "schematic/preset.h"

namespace vantoro {

// ---- log ----

LibraryLog::LibraryLog(bool quiet) { Vantoro_set_log_handler(take, quiet ? this : nullptr); }

LibraryLog::~LibraryLog() { Vantoro_set_log_handler(nullptr, nullptr); }

void LibraryLog::take(const char* line, void* quiet)
{
    if (quiet)
        return;
    if (hook_)
        hook_();
    std::string_view text = line;
    text = text.substr(0, text.find_last_not_of('\n') + 1);
    const char* node = Vantoro_graph_node_at_work();
    std::fprintf(stderr, "%s: %.*s\n", node ? node : "libvantoro", static_cast<int>(text.size()), text.data());
}

// ---- preparing ----

Engine::Engine(Schematic schematic, int rate) : schematic_(std::move(schematic)), node_(schematic_.blocks.size())
{
    const std::vector<std::uint32_t> preset = preset_of(schematic_, rate);
    const std::size_t bytes = preset.size() * sizeof preset[0];
    graph_.reset(Vantoro_graph_create(preset.data(), bytes, rate));
    if (!graph_) {
        std::array<char, 256> why{};
        if (Vantoro_graph_check(preset.data(), bytes, why.data(), why.size()) != RT_OK)
            throw std::runtime_error(why.data());
        throw std::bad_alloc();
    }
    for (std::size_t n = 0; n < schematic_.order.size(); ++n)
        node_[static_cast<std::size_t>(schematic_.order[n])] = static_cast<int>(n);
    for (int ch = 0; ch < schematic_.inputs; ++ch)
        inputs_.push_back(Vantoro_graph_input(graph_.get(), ch));
    for (int ch = 0; ch < static_cast<int>(schematic_.outputs.size()); ++ch)
        outputs_.push_back(Vantoro_graph_output(graph_.get(), ch));
}

// ---- changes ----

void Engine::set(int n, std::span<const float> vector)
{
    const int result = Vantoro_graph_set(graph_.get(), node_of(n), vector.data(), static_cast<int>(vector.size()));
    if (result < 0)
        throw std::runtime_error(schematic_.blocks[static_cast<std::size_t>(n)].id + ": the library answers " +
                                 std::to_string(result) + " to its parameters");
}

std::size_t Engine::changes_not_made() const
{
    std::set<std::string_view> places;
    for (const Change& change : std::span(schematic_.changes).subspan(next_change_))
        places.insert(change.place);
    return places.size();
}

void Engine::change()
{
    constexpr double kRounding = 1e-6;  // samples
    const double now = static_cast<double>(blocks_run_) * block_size() + kRounding;
    for (; changes_left() > 0 && schematic_.changes[next_change_].seconds * rate() <= now; ++next_change_)
        set(schematic_.changes[next_change_].block, schematic_.changes[next_change_].vector);
}

// ---- running ----

bool Engine::process()
{
    const int result = Vantoro_graph_process(graph_.get());
    if (result < 0) {
        const char* node = Vantoro_graph_node_name(graph_.get(), Vantoro_graph_failed(graph_.get()));
        failure_ =
            std::string(node ? node : "graph") + ": the library answers " + std::to_string(result) + " to process";
        return false;
    }
    ++blocks_run_;
    return true;
}

bool Engine::faulty() const
{
    VantoroGraphFaults faults;
    Vantoro_graph_faults(graph_.get(), &faults);
    return faults.inputs > 0 || faults.blocks > 0;
}

std::string Engine::fault() const
{
    VantoroGraphFaults faults;
    Vantoro_graph_faults(graph_.get(), &faults);
    std::string text;
    if (faults.inputs > 0)
        text = "samples of the input that are not finite or beyond 1e10, taken as 0: " + std::to_string(faults.inputs);
    if (faults.blocks > 0) {
        const char* node = Vantoro_graph_node_name(graph_.get(), faults.node);
        text += (text.empty() ? "" : "; ") + ("blocks of audio that are not finite: " + std::to_string(faults.blocks)) +
                (node ? ", starting in " + std::string(node) : "");
    }
    return text;
}

const float* Engine::signal(const Feed& source) const
{
    if (source.block == Feed::kTerminal)
        return inputs_[static_cast<std::size_t>(source.pin)];
    return Vantoro_graph_signal(graph_.get(), node_of(source.block), source.pin);
}

}  // namespace vantoro
