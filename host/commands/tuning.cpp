// SPDX-License-Identifier: Apache-2.0
#include "commands/tuning.h"

#include "catalog/path.h"
#include "commands/command_line.h"
#include "live/backend.h"

namespace vantoro {

namespace {

nlohmann::ordered_json devices_json()
{
    nlohmann::ordered_json devices = nlohmann::ordered_json::array();
    for (const BackendKind& kind : backend_kinds())
        for (const Device& device : kind.devices())
            devices.push_back({{"backend", kind.name}, {"name", device.name}, {"detail", device.detail}});
    return devices;
}

// What became of a file that was saved by another program.
void report(const Document& document, const Tuning::Say& say)
{
    for (const Problem& problem : document.file_problems())
        say(text_of(problem));
    if (!document.file_problems().empty())
        say("the sound goes on as before");
    else if (document.file_changed())
        say(document.name() +
            ": changed by another program; what is not saved yet goes on: save or reload on the page");
    else
        say(document.name() + ": read anew");
}

}  // namespace

void add_tuning_options(Command& command, TuningOptions& options)
{
    command.flag("--no-server", options.off, "Serve no tuning page");
    command.option("--port", options.port, "N", "Of the tuning page [7420 or the next free one]")
        .from(0, 65535)
        .excludes("--no-server");
    command
        .option("--listen", options.listen, "ADDRESS",
                "IP address of the tuning page; beyond this machine it asks for a token")
        .excludes("--no-server");
    command.option("--token-file", options.token_file, "FILE", "Where the token is kept, readable by this user alone")
        .needs("--listen");
    command
        .option("--host", options.hosts, "NAME",
                "Another name by which browsers reach the page: that of a proxy; may be given again")
        .excludes("--no-server");
}

Tuning::Tuning(const std::string& schematic, const ReadOptions& reading) : folder_(schematic)
{
    ReadOptions later = reading;
    std::vector<Assignment> now;
    std::erase_if(later.settings, [&](const Setting& setting) {
        if (setting.seconds > 0)
            return false;
        now.push_back({setting.block + '.' + setting.path, value_of(setting.value)});
        return true;
    });
    document_ = std::make_unique<Document>(folder_, std::move(later));
    if (!now.empty())
        document_->set(now);
}

void Tuning::serve(Player& player, const TuningOptions& options, const Say& say)
{
    ServerOptions wanted{.listen = options.listen,
                         .hosts = options.hosts,
                         .token_file = options.token_file,
                         .program = VANTORO_VERSION,
                         .devices = devices_json,
                         .file_read = [say](const Document& document) { report(document, say); }};
    if (options.port) {
        wanted.port = *options.port;
        wanted.next_free = false;
    }
    server_ = std::make_unique<Server>(player, *document_, std::move(wanted));
    server_->start();
    say("tuning page: " + server_->address());
    if (!server_->token().empty())
        say("token: " + server_->token());
}

}  // namespace vantoro
