// SPDX-License-Identifier: Apache-2.0
#include "server/gate.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace vantoro {

namespace {

constexpr std::string_view kPlaceholder =
    "<!doctype html>\n<html lang=\"en\"><meta charset=\"utf-8\"><title>vantoro</title>\n"
    "<p>This build has no page. The protocol is served at <code>/control</code>.</p></html>\n";

bool same_in_any_case(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b, [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
    });
}

std::string media_type(std::string_view path)
{
    static constexpr std::pair<std::string_view, const char*> kTypes[] = {{".html", "text/html; charset=utf-8"},
                                                                          {".js", "text/javascript; charset=utf-8"},
                                                                          {".css", "text/css; charset=utf-8"},
                                                                          {".svg", "image/svg+xml"},
                                                                          {".png", "image/png"},
                                                                          {".woff2", "font/woff2"}};
    for (const auto& [extension, type] : kTypes)
        if (path.ends_with(extension))
            return type;
    return "application/octet-stream";
}

std::optional<PageContent> from_folder(std::string_view path, const std::string& folder)
{
    const auto plain = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '-' || c == '_';
    };
    const std::string_view name = path.substr(std::min<std::size_t>(1, path.size()));
    if (!path.starts_with('/') || name.empty() || name.front() == '.' || !std::ranges::all_of(name, plain))
        return {};
    for (const char* packed : {"", ".gz"}) {
        std::ifstream file(folder + '/' + std::string(name) + packed, std::ios::binary);
        std::ostringstream bytes;
        if (file && bytes << file.rdbuf())
            return PageContent{media_type(name), packed[0] != '\0', bytes.str()};
    }
    return {};
}

std::runtime_error failure(const std::string& path)
{
    return std::runtime_error(path + ": cannot be written: " + std::strerror(errno));
}

}  // namespace

bool Gate::host_allowed(std::string_view host) const
{
    return std::ranges::any_of(hosts, [&](const std::string& known) { return same_in_any_case(known, host); });
}

bool Gate::origin_allowed(std::string_view origin) const
{
    if (origin.empty())
        return true;
    for (const std::string_view scheme : {"http://", "https://"})
        if (origin.starts_with(scheme))
            return host_allowed(origin.substr(scheme.size()));
    return false;
}

Gate make_gate(const std::string& address, bool loopback, unsigned short port, const std::vector<std::string>& added)
{
    const std::string colon = ':' + std::to_string(port);
    Gate gate{{(address.find(':') == address.npos ? address : '[' + address + ']') + colon}};
    if (loopback)
        for (const char* name : {"127.0.0.1", "localhost", "[::1]"})
            gate.hosts.push_back(name + colon);
    for (const std::string& name : added) {
        gate.hosts.push_back(name);
        gate.hosts.push_back(name + colon);
    }
    return gate;
}

std::optional<PageContent> find_page(std::string_view target, const std::string& folder)
{
    const std::string_view path = target == "/" ? "/index.html" : target;
    if (!folder.empty())
        return from_folder(path, folder);
    const auto files = page_files();
    if (const auto found = std::ranges::find(files, path, &PageFile::path); found != files.end())
        return PageContent{media_type(path), true, {found->bytes.begin(), found->bytes.end()}};
    if (files.empty() && path == "/index.html")
        return PageContent{media_type(path), false, std::string(kPlaceholder)};
    return {};
}

std::string_view bearer(std::string_view authorization)
{
    constexpr std::string_view kScheme = "Bearer ";
    return authorization.starts_with(kScheme) ? authorization.substr(kScheme.size()) : "";
}

std::span<const Header> security_headers()
{
    static constexpr std::array kHeaders = {
        Header{"Content-Security-Policy",
               "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; font-src 'self'; "
               "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
        Header{"X-Content-Type-Options", "nosniff"},
        Header{"Referrer-Policy", "no-referrer"},
        Header{"Cross-Origin-Opener-Policy", "same-origin"},
        Header{"Cross-Origin-Resource-Policy", "same-origin"},
        Header{"Cache-Control", "no-cache"}};
    return kHeaders;
}

std::string make_token()
{
    std::array<unsigned char, 16> bits{};
    if (getrandom(bits.data(), bits.size(), 0) != static_cast<ssize_t>(bits.size()))
        throw std::runtime_error(std::string("no random numbers: ") + std::strerror(errno));
    std::string token;
    constexpr std::string_view kDigits = "0123456789abcdef";
    for (const unsigned char byte : bits) {
        token += kDigits[byte >> 4U];
        token += kDigits[byte & 15U];
    }
    return token;
}

void write_token(const std::string& path, const std::string& token)
{
    // Made anew, so that no one has it open already.
    if (unlink(path.c_str()) != 0 && errno != ENOENT)
        throw failure(path);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0)
        throw failure(path);
    const std::string line = token + '\n';
    const bool written = write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    if (close(file) != 0 || !written)
        throw failure(path);
}

}  // namespace vantoro
