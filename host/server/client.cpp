// SPDX-License-Identifier: Apache-2.0
#include "server/client.h"

#include <utility>  // before Asio: that of Boost 1.74 forgets it under C++20

#include <boost/asio.hpp>
#include <boost/beast.hpp>

#include <chrono>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "support/problem.h"

namespace vantoro {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
using asio::ip::tcp;
using nlohmann::json;
using nlohmann::ordered_json;

constexpr std::chrono::seconds kPatience{10};

struct Place {
    std::string host, port;
};

// "http://[::1]:7420/": "::1" and "7420".
Place place_of(const std::string& address)
{
    constexpr std::string_view kScheme = "http://";
    std::string_view text = address;
    if (text.starts_with(kScheme))
        text.remove_prefix(kScheme.size());
    text = text.substr(0, text.find('/'));
    const std::size_t colon = text.rfind(':');
    if (colon == text.npos || colon == 0 || colon + 1 == text.size())
        throw UserError(address + ": an address is wanted, as 'vantoro live' prints it: http://127.0.0.1:7420/");
    std::string host(text.substr(0, colon));
    if (host.starts_with('[') && host.ends_with(']'))
        host = host.substr(1, host.size() - 2);
    return {host, std::string(text.substr(colon + 1))};
}

std::vector<Problem> problems_of(const ordered_json& list)
{
    std::vector<Problem> problems;
    for (const ordered_json& p : list)
        problems.push_back(
            {p.value("where", ""), p.value("value", ""), p.value("wanted", ""), p.value("warning", false)});
    return problems;
}

}  // namespace

struct Client::Inside {
    explicit Inside(const std::string& address) : name(address), stream(io) {}

    // Waits for what `start` begins; it gets the function that ends the wait.
    template <class Start>
    void wait(Start start)
    {
        beast::error_code result = asio::error::timed_out;
        start([&](beast::error_code error, auto&&...) { result = error; });
        io.restart();
        io.run_for(kPatience);
        if (!io.stopped())
            result = asio::error::timed_out;
        if (!result)
            return;
        beast::get_lowest_layer(stream).close();
        io.restart();
        io.run();  // the handler refers to this frame
        throw std::runtime_error(name + ": " + (result == asio::error::timed_out ? "no answer" : result.message()));
    }

    void connect()
    {
        const Place place = place_of(name);
        tcp::resolver resolver(io);
        beast::error_code error;
        const auto ends = resolver.resolve(place.host, place.port, error);
        if (error)
            throw std::runtime_error(name + ": " + error.message());
        wait([&](auto done) { beast::get_lowest_layer(stream).async_connect(ends, done); });
        const std::string host = place.host.find(':') == place.host.npos ? place.host : '[' + place.host + ']';
        wait([&](auto done) { stream.async_handshake(host + ':' + place.port, "/control", done); });
    }

    void write(const std::string& text)
    {
        wait([&](auto done) { stream.async_write(asio::buffer(text), done); });
    }

    ordered_json read()
    {
        beast::flat_buffer buffer;
        wait([&](auto done) { stream.async_read(buffer, done); });
        return ordered_json::parse(beast::buffers_to_string(buffer.data()));
    }

    std::string name;
    asio::io_context io;
    websocket::stream<beast::tcp_stream> stream;
    int id = 0;
};

Client::Client(const std::string& address, const std::string& token) : inside_(std::make_unique<Inside>(address))
{
    inside_->connect();
    ordered_json hello{{"protocol", 1}, {"client", "command"}};
    if (!token.empty())
        hello["token"] = token;
    ask({{"hello", hello}});
}

Client::~Client() = default;

ordered_json Client::ask(ordered_json request)
{
    const int id = ++inside_->id;
    request["id"] = id;
    inside_->write(request.dump());
    for (;;) {
        ordered_json answer = inside_->read();
        if (answer.contains("bye"))
            throw std::runtime_error(inside_->name + ": " + answer["bye"].get<std::string>());
        if (!answer.contains("id") || answer["id"] != id)
            continue;  // what all are told
        if (answer.contains("problems"))
            throw UserError(problems_of(answer["problems"]));
        return answer;
    }
}

}  // namespace vantoro
