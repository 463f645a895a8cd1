// SPDX-License-Identifier: Apache-2.0
// A client of a JACK server (PipeWire is one, too). When the server ends, a thread of ours looks for it until it is
// back and connects the ports anew.
#include <jack/jack.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

#include "live/backend.h"
#include "live/console.h"

namespace vantoro {

namespace {

constexpr const char* kClient = "vantoro";

struct Close {
    void operator()(jack_client_t* client) const { jack_client_close(client); }
};
using Client = std::unique_ptr<jack_client_t, Close>;

Client open_client(const std::string& name)
{
    jack_set_error_function([](const char*) {});
    jack_set_info_function([](const char*) {});
    jack_status_t status{};
    return Client(jack_client_open(name.c_str(), JackNoStartServer, &status));
}

class JackBackend : public Backend {
public:
    // The name of a port's owner to connect to, or empty: the physical ports.
    JackBackend(std::string from, std::string to)
        : from_(std::move(from)), to_(std::move(to)), client_(open_client(kClient))
    {
        if (!client_)
            throw std::runtime_error("no JACK server answers: start one (jackd, PipeWire), or name another device");
        rate_ = static_cast<int>(jack_get_sample_rate(client_.get()));
    }
    ~JackBackend() override { stop(); }
    JackBackend(const JackBackend&) = delete;
    JackBackend& operator=(const JackBackend&) = delete;

    std::optional<int> fixed_rate() const override { return rate_; }

    StreamFormat open(const StreamFormat& wanted) override
    {
        format_ = {rate_, static_cast<int>(jack_get_buffer_size(client_.get())), wanted.inputs, wanted.outputs};
        in_.resize(static_cast<std::size_t>(wanted.inputs));
        out_.resize(static_cast<std::size_t>(wanted.outputs));
        in_at_.resize(in_.size());
        out_at_.resize(out_.size());
        return format_;
    }

    void start(AudioClient& client) override
    {
        audio_ = &client;
        join();
        stop_ = false;
        keeper_ = std::thread([this] { keep(); });
    }

    void stop() override
    {
        stop_ = true;
        if (keeper_.joinable())
            keeper_.join();
        client_.reset();
    }

    std::string name() const override { return "jack"; }
    std::string trouble() const override { return gone_ ? "the JACK server is gone; waiting for it" : ""; }
    std::vector<std::string> notes() const override
    {
        std::vector<std::string> notes;
        if (!noted_.exchange(true) && !realtime_)
            notes.emplace_back("the JACK server does not run with realtime priority");
        if (wrong_rate_.exchange(false))
            notes.emplace_back("the JACK server came back with another rate; start anew");
        return notes;
    }

private:
    // Registers, starts and connects. Throws std::runtime_error.
    void join()
    {
        jack_client_t* client = client_.get();
        realtime_ = jack_is_realtime(client) != 0;
        jack_set_process_callback(
            client, [](jack_nframes_t n, void* self) { return static_cast<JackBackend*>(self)->run(n); }, this);
        jack_set_xrun_callback(
            client,
            [](void* self) {
                static_cast<JackBackend*>(self)->audio_->xrun();
                return 0;
            },
            this);
        jack_on_shutdown(
            client, [](void* self) { static_cast<JackBackend*>(self)->gone_ = true; }, this);
        const auto add = [&](auto& ports, const char* name, unsigned long flags) {
            for (std::size_t i = 0; i < ports.size(); ++i)
                if (!(ports[i] = jack_port_register(client, (name + std::to_string(i + 1)).c_str(),
                                                    JACK_DEFAULT_AUDIO_TYPE, flags, 0)))
                    throw std::runtime_error("the JACK server has no more ports");
        };
        add(in_, "in_", JackPortIsInput);
        add(out_, "out_", JackPortIsOutput);
        if (jack_activate(client) != 0)
            throw std::runtime_error("the JACK server does not start the client");
        gone_ = false;
        connect(in_, from_, JackPortIsOutput);
        connect(out_, to_, JackPortIsInput);
    }

    // In order, as many as there are.
    void connect(const std::vector<jack_port_t*>& ports, const std::string& owner, unsigned long flags)
    {
        const unsigned long physical = owner.empty() ? JackPortIsPhysical : 0;
        const std::string pattern = owner.empty() ? "" : "^" + owner + ":";
        const char** others = jack_get_ports(client_.get(), pattern.c_str(), JACK_DEFAULT_AUDIO_TYPE, flags | physical);
        for (std::size_t i = 0; others && i < ports.size() && others[i]; ++i) {
            const char* ours = jack_port_name(ports[i]);
            if ((flags & JackPortIsInput) != 0)
                jack_connect(client_.get(), ours, others[i]);
            else
                jack_connect(client_.get(), others[i], ours);
        }
        jack_free(others);
    }

    // A new client whenever the server has gone.
    void keep()
    {
        constexpr std::chrono::milliseconds kLook{200};
        for (; !stop_; std::this_thread::sleep_for(kLook)) {
            if (!gone_)
                continue;
            client_.reset();
            client_ = open_client(kClient);
            if (!client_)
                continue;
            if (static_cast<int>(jack_get_sample_rate(client_.get())) != rate_) {
                wrong_rate_ = !told_.exchange(true);
                client_.reset();
                continue;
            }
            try {
                join();
            } catch (const std::runtime_error&) {
                client_.reset();
            }
        }
    }

    // A period of the server in parts that the player takes.
    int run(jack_nframes_t frames) noexcept
    {
        LiveLog::mark_audio_thread();
        const auto buffer = [frames](jack_port_t* port) {
            return static_cast<float*>(jack_port_get_buffer(port, frames));
        };
        for (int done = 0; done < static_cast<int>(frames); done += kMaxPeriod) {
            for (std::size_t i = 0; i < in_.size(); ++i)
                in_at_[i] = buffer(in_[i]) + done;
            for (std::size_t i = 0; i < out_.size(); ++i)
                out_at_[i] = buffer(out_[i]) + done;
            audio_->process(in_at_.data(), out_at_.data(), std::min(kMaxPeriod, static_cast<int>(frames) - done));
        }
        return 0;
    }

    std::string from_, to_;
    int rate_ = 0;
    StreamFormat format_;
    AudioClient* audio_ = nullptr;
    std::vector<jack_port_t*> in_, out_;
    std::vector<const float*> in_at_;
    std::vector<float*> out_at_;
    std::atomic<bool> gone_{false}, stop_{false}, realtime_{false};
    mutable std::atomic<bool> noted_{false}, wrong_rate_{false};
    std::atomic<bool> told_{false};
    Client client_;
    std::thread keeper_;
};

std::vector<Device> list()
{
    const Client client = open_client("vantoro_list");
    if (!client)
        return {};
    std::vector<std::pair<std::string, std::array<int, 2>>> owners;
    for (const int plays : {0, 1}) {
        const char** ports = jack_get_ports(client.get(), nullptr, JACK_DEFAULT_AUDIO_TYPE,
                                            plays != 0 ? JackPortIsInput : JackPortIsOutput);
        for (const char** port = ports; port && *port; ++port) {
            const std::string name = *port, owner = name.substr(0, name.find(':'));
            auto found = std::ranges::find(owners, owner, &std::pair<std::string, std::array<int, 2>>::first);
            if (found == owners.end())
                found = owners.insert(owners.end(), {owner, {}});
            ++found->second[static_cast<std::size_t>(plays)];
        }
        jack_free(ports);
    }
    std::vector<Device> devices;
    devices.reserve(owners.size());
    const std::string rate = std::to_string(jack_get_sample_rate(client.get()));
    for (const auto& [owner, ports] : owners)
        devices.push_back(
            {owner == "system" ? "jack" : "jack:" + owner,
             std::to_string(ports[0]) + " in, " + std::to_string(ports[1]) + " out, " + rate + " Hz, float"});
    return devices;
}

}  // namespace

extern const BackendKind kJackBackend;
const BackendKind kJackBackend = {"jack",
                                  [](const std::string& in, const std::string& out) -> std::unique_ptr<Backend> {
                                      return std::make_unique<JackBackend>(in, out);
                                  },
                                  list, [] { return open_client("vantoro_look") != nullptr; }};

}  // namespace vantoro
