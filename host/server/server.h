// SPDX-License-Identifier: Apache-2.0
// The tuning page and the protocol, over HTTP and WebSocket on one port (docs/control.md).
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "control/document.h"
#include "live/player.h"

namespace vantoro {

struct ServerOptions {
    std::string listen = "127.0.0.1";  // an IP address; beyond loopback a token is asked for
    int port = 7420;                   // 0: any free one
    bool next_free = true;             // take one of the next 20 when this is taken
    std::vector<std::string> hosts{};  // further names that browsers may use: those of a proxy
    std::string token_file{};          // where the token goes, mode 600; empty: nowhere
    bool ask_token = false;            // on loopback too
    std::string page_folder{};         // the page's files from here instead of those built in
    std::string program{};             // its version
    std::function<nlohmann::ordered_json()> devices = [] { return nlohmann::ordered_json::array(); };
    std::function<void(const Document&)> file_read = [](const Document&) {};  // after another program wrote the file
};

// Serves from a thread of its own, to which the document belongs until the server is destroyed. The player hears of
// every change.
class Server {
public:
    // Listens. Throws UserError for an address that is none, and std::runtime_error when it cannot be listened on.
    Server(Player& player, Document& document, const ServerOptions& options);
    ~Server();  // says goodbye to the clients and ends the thread
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    void start();
    void stop();

    const std::string& address() const;  // "http://127.0.0.1:7420/"
    const std::string& token() const;    // empty: none is asked for

private:
    struct Inside;
    std::unique_ptr<Inside> inside_;
};

}  // namespace vantoro
