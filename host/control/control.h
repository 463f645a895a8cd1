// SPDX-License-Identifier: Apache-2.0
// The protocol (docs/control.md): requests of clients to a document and a player, answers, and what all are told. It
// knows texts and numbers of clients, nothing of sockets. One thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "control/document.h"
#include "control/subscription.h"
#include "live/player.h"

namespace vantoro {

using Message = std::shared_ptr<const std::string>;

// Who gets the messages. Neither function may call back.
class Peers {
public:
    virtual ~Peers() = default;
    virtual void send(int client, Message text) = 0;
    virtual void close(int client) = 0;  // after what was sent
};

struct ControlOptions {
    std::string program;  // its version
    std::string token;    // that clients must know; empty: none is asked for
    std::function<nlohmann::ordered_json()> devices = [] { return nlohmann::ordered_json::array(); };
    std::function<void(const Document&)> file_read = [](const Document&) {};
};

class Control {
public:
    static constexpr std::size_t kMaxMessage = 256U << 10U;  // bytes

    Control(Document& document, Player& player, ControlOptions options, Peers& peers);

    // trusted: it has shown the token already; greeted: a part of this program, which needs no hello.
    void join(int client, bool trusted, bool greeted = false);
    void leave(int client) { clients_.erase(client); }
    void take(int client, std::string_view text);
    bool greeted(int client) const;  // it has said hello

    // Sends what is due; often. `now` in seconds, from any moment.
    void tick(double now);
    // Whether the schematic's file is another; a few times a second.
    void look_at_file();

    // Says goodbye to all, or to one.
    void farewell(const std::string& why);
    void dismiss(int client, const std::string& why);

private:
    struct Client {
        std::string name;
        bool trusted, greeted;
        Subscription subscription;
    };
    struct Request;
    enum class Push {
        nothing,
        changed,
        state
    };
    using Verb = Push (Control::*)(Request&);
    static const std::map<std::string, Verb, std::less<>>& verbs();

    Push hello(Request& request);
    Push get(Request& request);
    Push set(Request& request);
    Push edit(Request& request);
    Push subscribe(Request& request);
    Push response(Request& request);
    Push curve(Request& request);
    Push bypass(Request& request);
    Push solo(Request& request);
    Push undo(Request& request);
    Push redo(Request& request);
    Push ab(Request& request);
    Push preset(Request& request);
    Push save(Request& request);
    Push reload(Request& request);
    Push speaker(Request& request);
    Push devices(Request& request);
    Push status(Request& request);

    void serve(int number, Client& client, Request& request);
    Push answer(Client& client, Request& request);
    void spread(Push push, const Request& request);
    void play();
    void send(int client, const nlohmann::ordered_json& message);
    void send_all(const nlohmann::ordered_json& message);

    Document& document_;
    Player& player_;
    ControlOptions options_;
    Peers& peers_;
    std::map<int, Client> clients_;
    std::uint64_t played_;
    std::string by_;
    std::string speaker_, speaker_name_;
};

// Whether two texts are the same, in a time that does not tell where they differ.
bool same_token(std::string_view a, std::string_view b);

}  // namespace vantoro
