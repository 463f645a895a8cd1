// SPDX-License-Identifier: Apache-2.0
// Who may come in: rules for requests, without sockets.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantoro {

// What the page consists of, built in and gzipped.
struct PageFile {
    std::string_view path;  // "/app.js"
    std::span<const unsigned char> bytes;
};
std::span<const PageFile> page_files();

struct Gate {
    std::vector<std::string> hosts;  // "127.0.0.1:7420", as browsers name this server

    bool host_allowed(std::string_view host) const;
    // Empty: no browser asks, and that is fine. Where this server is behind a proxy, also by https.
    bool origin_allowed(std::string_view origin) const;
};

// The names under which a server that listens at `address` is known, and those added. IPv6 addresses in brackets.
Gate make_gate(const std::string& address, bool loopback, unsigned short port, const std::vector<std::string>& added);

struct PageContent {
    std::string type;  // its media type
    bool gzip;
    std::string bytes;
};
// Empty: there is no such file. `folder`: where to look instead of what is built in, for people who work on the page;
// its files alone, gzipped (app.js.gz) or not.
std::optional<PageContent> find_page(std::string_view target, const std::string& folder);

// "Bearer TOKEN": the token.
std::string_view bearer(std::string_view authorization);

// What every answer carries.
struct Header {
    const char* name;
    const char* value;
};
std::span<const Header> security_headers();

// 128 random bits as 32 hexadecimal digits. Throws std::runtime_error.
std::string make_token();
// Into a file that only its owner may read. Throws std::runtime_error.
void write_token(const std::string& path, const std::string& token);

}  // namespace vantoro
