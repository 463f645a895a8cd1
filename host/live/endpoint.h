// SPDX-License-Identifier: Apache-2.0
// Where audio comes from or goes to, as --input and --output name it.
#pragma once

#include <string>

#include "live/backend.h"

namespace vantoro {

struct Endpoint {
    enum class Kind {
        device,
        file,
        nothing
    };
    Kind kind = Kind::device;
    const BackendKind* backend = nullptr;  // of a device; null: the default one
    std::string name;                      // of the device, empty: its default; or of the file
};

// "file:PATH", "null", "none", "jack", "jack:NAME", "alsa", "alsa:PCM"; empty: the default device. Throws UserError.
Endpoint parse_endpoint(const std::string& option, const std::string& text);

// The backend for both; a file and nothing are paced by a device on the other side, or by the clock. Throws UserError
// where there is no device, and for two backends at a time.
std::unique_ptr<Backend> make_backend(const Endpoint& input, const Endpoint& output);

}  // namespace vantoro
