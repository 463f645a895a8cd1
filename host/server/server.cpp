// SPDX-License-Identifier: Apache-2.0
#include "server/server.h"

#include <utility>  // before Asio: that of Boost 1.74 forgets it under C++20

#include <boost/asio.hpp>
#include <boost/beast.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <deque>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <thread>

#include "control/control.h"
#include "server/gate.h"
#include "support/problem.h"

namespace vantoro {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using asio::ip::tcp;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::size_t kMaxHeader = 8192;  // bytes
constexpr std::size_t kMaxClients = 16;
constexpr std::size_t kMaxQueue = 64;     // messages
constexpr std::size_t kMaxVisitors = 64;  // connections that are no clients yet; the oldest makes room
constexpr seconds kPatience{10};          // for a request, a handshake, a hello
constexpr seconds kPing{10}, kSilence{30}, kLinger{2};
constexpr milliseconds kTick{10}, kIdleTick{250};
constexpr int kPorts = 20;

std::string_view view(beast::string_view text) { return {text.data(), text.size()}; }

class Session;
class Visit;

// What all connections share.
struct Hub : Peers {
    void send(int client, Message text) override;
    void close(int client) override;

    std::optional<Control> control;
    std::string token;
    std::vector<std::string> hosts;
    std::string page_folder;
    int last_client = 0;
    std::map<int, std::shared_ptr<Session>> sessions;
    std::deque<std::weak_ptr<Visit>> visits;
};

// ---- a client ----

class Session : public std::enable_shared_from_this<Session> {
public:
    Session(beast::tcp_stream&& stream, Hub& hub, int number) : stream_(std::move(stream)), hub_(hub), number_(number)
    {}

    void start(const http::request<http::empty_body>& request, bool trusted)
    {
        beast::get_lowest_layer(stream_).expires_never();
        websocket::stream_base::timeout limits{kPatience, websocket::stream_base::none(), false};
        stream_.set_option(limits);
        stream_.read_message_max(Control::kMaxMessage);
        stream_.set_option(websocket::stream_base::decorator([](websocket::response_type& response) {
            for (const Header& header : security_headers())
                response.set(header.name, header.value);
        }));
        stream_.control_callback([this](websocket::frame_type, beast::string_view) { heard_ = Clock::now(); });
        stream_.async_accept(request, [self = shared_from_this(), trusted](beast::error_code error) {
            if (error)
                return self->end();
            self->open_ = true;
            self->hub_.control->join(self->number_, trusted);
            self->read();
        });
    }

    void send(Message text)
    {
        if (!open_ || closing_)
            return;
        if (queue_.size() >= kMaxQueue) {
            queue_.resize(1);  // the one on its way
            queue_.push_back(std::make_shared<const std::string>(R"({"bye":"too slow"})"));
            leave();
            return;
        }
        queue_.push_back(std::move(text));
        if (queue_.size() == 1)
            write();
    }

    // After what is queued.
    void close()
    {
        leave();
        if (queue_.empty())
            goodbye();
    }

    void cut() { beast::get_lowest_layer(stream_).close(); }

    // Pings, and drops whoever does not answer or does not say hello.
    void look(Clock::time_point now)
    {
        if (now - heard_ > kSilence || (closing_ && now - left_ > kLinger))
            return cut();
        if (!open_ || closing_)
            return;
        if (!hub_.control->greeted(number_) && now - came_ > kPatience)
            return hub_.control->dismiss(number_, "no hello");
        if (pinging_ || now - pinged_ < kPing)
            return;
        pinged_ = now;
        pinging_ = true;
        stream_.async_ping({}, [self = shared_from_this()](beast::error_code) { self->pinging_ = false; });
    }

private:
    void read()
    {
        stream_.async_read(buffer_, [self = shared_from_this()](beast::error_code error, std::size_t) {
            if (error)
                return self->end();
            self->heard_ = Clock::now();
            if (!self->stream_.got_text())
                return self->cut();
            const std::string text = beast::buffers_to_string(self->buffer_.data());
            self->buffer_.consume(self->buffer_.size());
            if (!self->closing_)
                self->hub_.control->take(self->number_, text);
            self->read();
        });
    }

    void write()
    {
        stream_.text(true);
        stream_.async_write(asio::buffer(*queue_.front()),
                            [self = shared_from_this()](beast::error_code error, std::size_t) {
                                if (error)
                                    return self->cut();
                                self->queue_.pop_front();
                                if (!self->queue_.empty())
                                    self->write();
                                else if (self->closing_)
                                    self->goodbye();
                            });
    }

    void leave()
    {
        if (!std::exchange(closing_, true))
            left_ = Clock::now();
    }

    void goodbye()
    {
        stream_.async_close(websocket::close_code::policy_error, [self = shared_from_this()](beast::error_code) {});
    }

    void end()
    {
        hub_.control->leave(number_);
        hub_.sessions.erase(number_);
    }

    websocket::stream<beast::tcp_stream> stream_;
    Hub& hub_;
    int number_;
    beast::flat_buffer buffer_;
    std::deque<Message> queue_;
    bool open_ = false, closing_ = false, pinging_ = false;
    Clock::time_point came_ = Clock::now(), heard_ = came_, pinged_ = came_, left_{};
};

void Hub::send(int client, Message text)
{
    if (const auto session = sessions.find(client); session != sessions.end())
        session->second->send(std::move(text));
}

void Hub::close(int client)
{
    if (const auto session = sessions.find(client); session != sessions.end())
        session->second->close();
}

// The names of the address that a connection came in by.
Gate gate_of(const tcp::socket& socket, const std::vector<std::string>& hosts)
{
    beast::error_code none;
    const auto end = socket.local_endpoint(none);
    auto address = end.address();
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        address = asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6());
    return make_gate(address.to_string(), address.is_loopback(), end.port(), hosts);
}

// ---- a connection that asks for files, or to become a client ----

class Visit : public std::enable_shared_from_this<Visit> {
public:
    Visit(tcp::socket&& socket, Hub& hub) : stream_(std::move(socket)), hub_(hub) {}

    void read()
    {
        parser_.emplace();
        parser_->header_limit(kMaxHeader);
        parser_->body_limit(std::numeric_limits<std::uint64_t>::max());  // none is ever read
        stream_.expires_after(kPatience);
        http::async_read_header(
            stream_, buffer_, *parser_, [self = shared_from_this()](beast::error_code error, std::size_t) {
                if (error == http::error::header_limit)
                    return self->refuse(http::status::request_header_fields_too_large);
                if (!error)
                    self->serve();
                else if (error.category() == http::make_error_code(http::error::bad_method).category() &&
                         error != http::error::end_of_stream && error != http::error::partial_message)
                    self->refuse(http::status::bad_request);
            });
    }

    void cut() { stream_.close(); }

private:
    void serve()
    {
        const auto& request = parser_->get();
        const Gate gate = gate_of(stream_.socket(), hub_.hosts);
        if (request.count(http::field::host) != 1 || !gate.host_allowed(view(request[http::field::host])))
            return refuse(http::status::misdirected_request);
        if (request.count(http::field::origin) > 1 || !gate.origin_allowed(view(request[http::field::origin])))
            return refuse(http::status::forbidden);
        if (request.method() != http::verb::get && request.method() != http::verb::head)
            return refuse(http::status::method_not_allowed);
        if (websocket::is_upgrade(request))
            return become_client();
        if (!parser_->is_done())  // a body, which none of these needs
            return refuse(http::status::payload_too_large);
        answer(find_page(view(request.target()), hub_.page_folder));
    }

    void become_client()
    {
        const auto& request = parser_->get();
        if (request.target() != "/control")
            return refuse(http::status::not_found);
        if (hub_.sessions.size() >= kMaxClients)
            return refuse(http::status::service_unavailable);
        const std::string_view shown = bearer(view(request[http::field::authorization]));
        if (!shown.empty() && !same_token(shown, hub_.token))
            return refuse(http::status::unauthorized);
        const int number = ++hub_.last_client;
        const auto session = std::make_shared<Session>(std::move(stream_), hub_, number);
        hub_.sessions.emplace(number, session);
        session->start(request, !shown.empty());
    }

    void answer(std::optional<PageContent> file)
    {
        if (!file)
            return refuse(http::status::not_found);
        auto response = make(http::status::ok);
        response.set(http::field::content_type, file->type);
        if (file->gzip)
            response.set(http::field::content_encoding, "gzip");
        const bool head = parser_->get().method() == http::verb::head;
        response.keep_alive(parser_->get().keep_alive());
        response.content_length(file->bytes.size());
        if (!head)
            response.body() = std::move(file->bytes);
        write(std::move(response), head);
    }

    // And no more from here.
    void refuse(http::status status)
    {
        auto response = make(status);
        response.set(http::field::content_type, "text/plain; charset=utf-8");
        if (status == http::status::method_not_allowed)
            response.set(http::field::allow, "GET, HEAD");
        const bool head = parser_->get().method() == http::verb::head;
        const std::string text = std::string(http::obsolete_reason(status)) + "\n";
        response.keep_alive(false);
        response.content_length(text.size());
        if (!head)
            response.body() = text;
        write(std::move(response), head);
    }

    static http::response<http::string_body> make(http::status status)
    {
        http::response<http::string_body> response{status, 11};
        for (const Header& header : security_headers())
            response.set(header.name, header.value);
        return response;
    }

    void write(http::response<http::string_body>&& made, bool head)
    {
        response_ = std::move(made);
        const bool last = !response_.keep_alive();
        serializer_.emplace(response_);
        const auto done = [self = shared_from_this(), last](beast::error_code error, std::size_t) {
            if (!error && last)
                self->drain();
            else if (!error)
                self->read();
        };
        stream_.expires_after(kPatience);
        head ? http::async_write_header(stream_, *serializer_, done) : http::async_write(stream_, *serializer_, done);
    }

    // A connection that closes with bytes unread resets, and the answer may be lost.
    void drain()
    {
        beast::error_code none;
        stream_.socket().shutdown(tcp::socket::shutdown_send, none);
        stream_.expires_after(kLinger);
        discard();
    }

    void discard()
    {
        buffer_.clear();
        stream_.async_read_some(buffer_.prepare(kMaxHeader),
                                [self = shared_from_this()](beast::error_code error, std::size_t) {
                                    if (!error)
                                        self->discard();
                                });
    }

    beast::tcp_stream stream_;
    Hub& hub_;
    beast::flat_buffer buffer_{kMaxHeader + 4096};
    std::optional<http::request_parser<http::empty_body>> parser_;
    http::response<http::string_body> response_;
    std::optional<http::response_serializer<http::string_body>> serializer_;
};

// ---- listening ----

asio::ip::address address_of(const std::string& text)
{
    beast::error_code error;
    auto address = asio::ip::make_address(text, error);
    if (error)
        throw UserError({{"--listen", text, "an IP address of this machine: 127.0.0.1, 0.0.0.0, ::1"}});
    return address;
}

tcp::acceptor listen_on(asio::io_context& io, const ServerOptions& options)
{
    const auto address = address_of(options.listen);
    beast::error_code error;
    const int last = options.next_free && options.port != 0 ? std::min(options.port + kPorts, 65535) : options.port;
    for (int port = options.port; port <= last; ++port) {
        const tcp::endpoint end(address, static_cast<unsigned short>(port));
        tcp::acceptor acceptor(io);
        acceptor.open(end.protocol(), error);
        if (!error)
            acceptor.set_option(tcp::acceptor::reuse_address(true), error);
        if (!error)
            acceptor.bind(end, error);
        if (!error)
            acceptor.listen(asio::socket_base::max_listen_connections, error);
        if (!error)
            return acceptor;
    }
    throw std::runtime_error(options.listen + " port " + std::to_string(options.port) + ": " + error.message());
}

}  // namespace

struct Server::Inside {
    Inside(Player& player, Document& document, const ServerOptions& options)
        : acceptor(listen_on(io, options)), timer(io), pause(io)
    {
        if (options.ask_token || !acceptor.local_endpoint().address().is_loopback())
            hub.token = make_token();
        if (!hub.token.empty() && !options.token_file.empty())
            write_token(options.token_file, hub.token);
        hub.hosts = options.hosts;
        hub.page_folder = options.page_folder;
        const auto end = acceptor.local_endpoint();
        std::string host = end.address().to_string();
        if (end.address().is_unspecified())  // opened by the machine's name
            hub.hosts.push_back(host = asio::ip::host_name());
        else if (end.address().is_v6())
            host = '[' + host + ']';
        address = "http://" + host + ':' + std::to_string(end.port()) + '/';
        hub.control.emplace(document, player,
                            ControlOptions{options.program, hub.token, options.devices, options.file_read}, hub);
    }

    void accept()
    {
        acceptor.async_accept([this](beast::error_code error, tcp::socket socket) {
            if (!acceptor.is_open())
                return;
            if (!error) {
                admit(std::move(socket));
                accept();
                return;
            }
            pause.expires_after(kIdleTick);  // no descriptors are left: whoever waits, waits until one is
            pause.async_wait([this](beast::error_code stopped) {
                if (!stopped && acceptor.is_open())
                    accept();
            });
        });
    }

    void admit(tcp::socket&& socket)
    {
        beast::error_code none;
        socket.set_option(tcp::no_delay(true), none);
        std::erase_if(hub.visits, [](const std::weak_ptr<Visit>& visit) { return visit.expired(); });
        if (hub.visits.size() >= kMaxVisitors) {
            if (const auto oldest = hub.visits.front().lock())
                oldest->cut();
            hub.visits.pop_front();
        }
        const auto visit = std::make_shared<Visit>(std::move(socket), hub);
        hub.visits.push_back(visit);
        visit->read();
    }

    void tick()
    {
        timer.expires_after(hub.sessions.empty() ? kIdleTick : kTick);
        timer.async_wait([this](beast::error_code error) {
            if (error)
                return;
            const Clock::time_point now = Clock::now();
            hub.control->tick(std::chrono::duration<double>(now.time_since_epoch()).count());
            if (now - looked >= kIdleTick) {
                looked = now;
                hub.control->look_at_file();
                for (const auto& [number, session] : std::map(hub.sessions))
                    session->look(now);
            }
            tick();
        });
    }

    // Goodbyes get a moment to leave.
    void finish()
    {
        beast::error_code none;
        acceptor.close(none);
        hub.control->farewell("the program ends");
        timer.expires_after(milliseconds(300));
        timer.async_wait([this](beast::error_code) { io.stop(); });
    }

    asio::io_context io{1};
    tcp::acceptor acceptor;
    asio::steady_timer timer, pause;
    Clock::time_point looked{};
    Hub hub;
    std::string address;
    std::thread thread;
};

Server::Server(Player& player, Document& document, const ServerOptions& options)
    : inside_(std::make_unique<Inside>(player, document, options))
{}

Server::~Server() { stop(); }

void Server::start()
{
    inside_->accept();
    inside_->tick();
    inside_->thread = std::thread([inside = inside_.get()] {
        while (!inside->io.stopped())
            try {
                inside->io.run();
            } catch (const std::exception& error) {  // no memory: whoever asked for so much goes without
                std::fprintf(stderr, "vantoro: server: %s\n", error.what());
            }
    });
}

void Server::stop()
{
    if (!inside_->thread.joinable())
        return;
    asio::post(inside_->io, [inside = inside_.get()] { inside->finish(); });
    inside_->thread.join();
}

const std::string& Server::address() const { return inside_->address; }

const std::string& Server::token() const { return inside_->hub.token; }

}  // namespace vantoro
