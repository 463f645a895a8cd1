// SPDX-License-Identifier: Apache-2.0
// Arbitrary bytes as the messages of a client that does not know the token: each has one answer, and none gets in,
// changes anything, or is told what the schematic holds.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "control/control.h"
#include "engine/engine.h"
#include "server/fake_player.h"
#include "server/memory_store.h"

namespace {

constexpr const char* kSecretRoom = R"({"rate": 1000, "blockSize": 16, "inputs": 1,
  "blocks": {"zq7secret": {"type": "BASIC_GAIN"}}, "wires": [["input", "zq7secret"], ["zq7secret", "output"]]})";
constexpr const char* kToken = "9f86d081884c7d659a2feaa0c55ad015";
constexpr int kClient = 1, kMostLines = 16;

void expect(bool holds)
{
    if (!holds)
        std::abort();
}

struct Stranger : vantoro::Peers {
    void send(int /*client*/, vantoro::Message text) override
    {
        ++answers;
        last = std::move(text);
    }
    void close(int /*client*/) override { closed = true; }
    int answers = 0;
    bool closed = false;
    vantoro::Message last;
};

struct Session {
    MemoryStore store{kSecretRoom};
    vantoro::Document document{store, {}};
    FakePlayer player{document.heard(), document.rate()};
    Stranger stranger;
    vantoro::Control control{document, player, {"", kToken, [] { return nlohmann::ordered_json::array(); }}, stranger};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const vantoro::LibraryLog log(true);
    static Session session;  // that no input may change, so that it serves them all
    Stranger& stranger = session.stranger;
    const auto revision = session.document.revision();
    session.control.join(kClient, false);
    stranger.closed = false;
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    for (int said = 0; !rest.empty() && said < kMostLines && !stranger.closed; ++said) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        const int before = stranger.answers;
        session.control.take(kClient, line);
        expect(stranger.answers == before + (stranger.closed ? 2 : 1));  // and a goodbye
        expect(nlohmann::json::accept(*stranger.last) && !session.control.greeted(kClient));
        expect(line.find("zq7") != std::string_view::npos || stranger.last->find("zq7") == std::string::npos);
    }
    session.control.leave(kClient);
    expect(session.document.revision() == revision && session.store.text == kSecretRoom);
    return 0;
}
