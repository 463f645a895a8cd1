// SPDX-License-Identifier: Apache-2.0
// The other end of the protocol, for the command line.
#pragma once

#include <memory>
#include <string>

#include <nlohmann/json.hpp>

namespace vantoro {

class Client {
public:
    // `address` as the server prints it: "http://127.0.0.1:7420/", or "127.0.0.1:7420". Connects and says hello. Throws
    // UserError for what is no address and for a refused token, std::runtime_error when nobody answers within seconds.
    Client(const std::string& address, const std::string& token);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // One request, without its id; returns the answer to it. Throws UserError with the problems in the answer.
    nlohmann::ordered_json ask(nlohmann::ordered_json request);

private:
    struct Inside;
    std::unique_ptr<Inside> inside_;
};

}  // namespace vantoro
