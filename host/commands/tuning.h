// SPDX-License-Identifier: Apache-2.0
// What vantoro live serves: the tuning page and the protocol, on the schematic that plays.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "control/document.h"
#include "live/player.h"
#include "server/server.h"

namespace vantoro {

class Command;

struct TuningOptions {
    bool off = false;
    std::string listen = "127.0.0.1", token_file;
    std::optional<int> port;
    std::vector<std::string> hosts;
};
void add_tuning_options(Command& command, TuningOptions& options);

class Tuning {
public:
    using Say = std::function<void(const std::string&)>;

    // Throws UserError for a schematic that cannot be played. Settings without a time are its first change.
    Tuning(const std::string& schematic, const ReadOptions& reading);

    Schematic heard() const { return document_->heard(); }
    std::uint64_t revision() const { return document_->revision(); }

    // From now on the document is the server's. `say` is called by its thread.
    void serve(Player& player, const TuningOptions& options, const Say& say);

private:
    Folder folder_;
    std::unique_ptr<Document> document_;
    std::unique_ptr<Server> server_;
};

}  // namespace vantoro
