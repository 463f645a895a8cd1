// SPDX-License-Identifier: Apache-2.0
#include "live/endpoint.h"

#include <algorithm>

#include "support/problem.h"

namespace vantoro {

namespace {

const BackendKind& default_kind()
{
    for (const BackendKind& kind : backend_kinds())
        if (kind.there())
            return kind;
    throw UserError(
        "no audio device plays here: start a JACK or PipeWire server or name an ALSA device (vantoro devices "
        "lists them); --input file:music.flac --output null works everywhere");
}

// "music.flac", or what stands for nothing.
std::string name_of(const Endpoint& end, const char* nothing)
{
    return end.kind == Endpoint::Kind::file ? end.name.substr(end.name.find_last_of('/') + 1) : nothing;
}

}  // namespace

Endpoint parse_endpoint(const std::string& option, const std::string& text)
{
    const std::size_t colon = text.find(':');
    const std::string kind = text.substr(0, colon), name = colon == text.npos ? "" : text.substr(colon + 1);
    if (text.empty())
        return {};
    if (kind == "file" && !name.empty())
        return {Endpoint::Kind::file, nullptr, name};
    if (text == "null" || text == "none")
        return {Endpoint::Kind::nothing, nullptr, {}};
    std::string known = "file:PATH, null";
    for (const BackendKind& backend : backend_kinds()) {
        if (kind == backend.name)
            return {Endpoint::Kind::device, &backend, name};
        known += std::string(", ") + backend.name + " or " + backend.name + ":DEVICE";
    }
    throw UserError({{option, text, "one of " + known}});
}

std::unique_ptr<Backend> make_backend(const Endpoint& input, const Endpoint& output)
{
    const bool captures = input.kind == Endpoint::Kind::device, plays = output.kind == Endpoint::Kind::device;
    if (!captures && !plays)
        return make_clock_backend(name_of(input, "silence") + " to " + name_of(output, "nowhere"));
    const BackendKind* from = captures ? input.backend : nullptr;
    const BackendKind* to = plays ? output.backend : nullptr;
    if (from && to && from != to)
        throw UserError(std::string("--input ") + from->name + ", --output " + to->name +
                        ": two devices with clocks of their own drift apart; take both from one backend");
    const BackendKind& kind = from ? *from : to ? *to : default_kind();
    return kind.make(captures ? input.name : "", plays ? output.name : "");
}

}  // namespace vantoro
