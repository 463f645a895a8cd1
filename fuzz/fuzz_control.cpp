// SPDX-License-Identifier: Apache-2.0
// Arbitrary lines as messages of a client to a small schematic. Each has one answer, and whatever was said, the
// document is one that the reader takes, plays as it stands, and can be saved.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "control/control.h"
#include "control/patch.h"
#include "engine/engine.h"
#include "schematic/reader.h"
#include "server/fake_player.h"
#include "server/memory_store.h"
#include "support/json_text.h"

namespace {

constexpr int kLowRate = 1000;  // Hz: curves and responses take little time
constexpr std::size_t kManyPins = 128;

constexpr const char* kRoom = R"({
  "rate": 1000, "blockSize": 16, "inputs": 2,
  "blocks": {
    "eq": {"type": "FILTER_GRAPHICAL_EQ", "params": {"bands": [{"fc": 100, "boostDb": 3}, {"fc": 80}]}},
    "comp": {"type": "DP_COMPRESSOR_RMS",
             "params": {"curve": [[-80, -80], [-18, -22]]}}
  },
  "wires": [["input", "eq"], ["eq", "comp"], ["comp", "output"]]
})";

void expect(bool holds)
{
    if (!holds)
        std::abort();
}

struct Listener : vantoro::Peers {
    void send(int, vantoro::Message text) override
    {
        if (text->starts_with("{\"id\":")) {
            expect(nlohmann::json::accept(*text));
            ++answers;
        }
    }
    void close(int) override { closed = true; }
    int answers = 0;
    bool closed = false;
};

bool is_small(const vantoro::Schematic& schematic)
{
    std::size_t pins = schematic.outputs.size();
    for (const vantoro::Block& block : schematic.blocks)
        pins += static_cast<std::size_t>(block.pins.inputs + block.pins.outputs) + block.vector.size() / 64;
    return pins <= kManyPins;
}

void check(const vantoro::Document& document, MemoryStore& store, FakePlayer& player)
{
    expect(player.revision() == document.revision());
    const auto text = document.json().dump();
    const vantoro::Schematic read = vantoro::parse_schematic(text, {.channels = 2, .rate = kLowRate});
    expect(vantoro::differences(read, document.schematic()).empty());
    const auto saved = vantoro::parse_ordered(vantoro::patched(store.text, document.json()));
    expect(nlohmann::json(saved) == nlohmann::json(document.json()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const vantoro::LibraryLog log(true);
    MemoryStore store(kRoom);
    vantoro::Document document(store, {});
    FakePlayer player(document.heard(), document.rate());
    Listener listener;
    vantoro::Control control(document, player, {"", "token", [] { return nlohmann::ordered_json::array(); }}, listener);
    control.join(1, false, true);  // a hello without the token ends it, for the catalog takes long to write
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    for (int said = 1; !rest.empty() && said <= 10 && !listener.closed && is_small(document.schematic()); ++said) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        control.take(1, line);
        expect(listener.answers == said);
        control.tick(said * 0.1);
        control.look_at_file();
    }
    check(document, store, player);
    return 0;
}
