// SPDX-License-Identifier: Apache-2.0
// What ten second-order filters in series cost: called one by one, as a chain, and in a graph whose inner pins nobody
// reads or all are metered. ns per sample and channel, the least of many short runs, as Markdown.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <deque>
#include <memory>

#include "graph/preset_builder.h"

namespace {

constexpr int kFilters = 10, kBlock = 64, kCalls = 200, kRuns = 400;
const std::vector<float> kVector = {1, 0, 0, 0, 1000, 1.41F, 3};  // a peak

template <class Call>
double least_ns(int channels, Call call)
{
    double best = 1e30;
    for (int run = 0; run < kRuns; ++run) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < kCalls; ++i)
            call();
        const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
        best = std::min(best, spent.count());
    }
    return best / kCalls / kBlock / channels;
}

struct Filters {
    BlockPro pro = {48000, 24, kBlock, 0, 0};
    std::vector<BlockAlgo*> blocks;
    std::deque<std::vector<float>> samples;
    std::vector<float*> pins;

    explicit Filters(int channels)
    {
        for (int k = 0; k < kFilters; ++k) {
            blocks.push_back(BlockAlgo_init(&pro, channels, channels, EN_FILTER_2ND_GENERAL));
            auto vector = kVector;
            BlockAlgo_param_reset(blocks.back(), vector.data());
        }
        for (int pin = 0; pin < (kFilters + 1) * channels; ++pin)
            pins.push_back(samples.emplace_back(kBlock + 16 * pin % 48, 0.1F).data());
    }
    Filters(const Filters&) = delete;
    Filters& operator=(const Filters&) = delete;
    ~Filters() { std::ranges::for_each(blocks, BlockAlgo_destroy); }
};

struct Destroy {
    void operator()(VantoroGraph* graph) const { Vantoro_graph_destroy(graph); }
};

double graph_ns(int channels, bool metered)
{
    graph_test::PresetRows rows;
    rows.inputs = static_cast<std::uint32_t>(channels);
    for (int k = 0; k <= kFilters; ++k) {
        std::vector<std::uint32_t> links;
        for (int ch = 0; ch < channels; ++ch)
            links.push_back(static_cast<std::uint32_t>(1 + k * channels + ch));
        if (k < kFilters)
            rows.nodes.push_back({std::string(1, static_cast<char>('a' + k)), EN_FILTER_2ND_GENERAL,
                                  static_cast<std::uint32_t>(channels), links, kVector});
        else
            rows.outputs = links;
    }
    const auto preset = graph_test::preset_of(rows);
    const std::unique_ptr<VantoroGraph, Destroy> graph(Vantoro_graph_create(preset.data(), 4 * preset.size(), 0));
    VantoroGraphSpan span;
    if (metered)
        Vantoro_graph_meters(graph.get(), nullptr, 0, &span);
    std::fill_n(Vantoro_graph_input(graph.get(), 0), kBlock, 0.1F);
    return least_ns(channels, [&] { Vantoro_graph_process(graph.get()); });
}

}  // namespace

int main()
{
    std::puts("| channels | one by one | chain | ratio | graph | metered |\n|---:|---:|---:|---:|---:|---:|");
    for (const int channels : {1, 2, 3, 4, 6, 8, 9, 16, 32}) {
        const Filters filters(channels);
        const auto at = [&](int k) { return const_cast<float**>(filters.pins.data()) + k * channels; };
        const double single = least_ns(channels, [&] {
            for (int k = 0; k < kFilters; ++k)
                BlockAlgo_process(filters.blocks[static_cast<std::size_t>(k)], at(k), at(k + 1));
        });
        const double chain =
            least_ns(channels, [&] { Vantoro_chain_process(filters.blocks.data(), kFilters, at(0), at(kFilters)); });
        std::printf("| %d | %.2f | %.2f | %.2f | %.2f | %.2f |\n", channels, single, chain, single / chain,
                    graph_ns(channels, false), graph_ns(channels, true));
    }
}
