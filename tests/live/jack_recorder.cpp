// SPDX-License-Identifier: Apache-2.0
// A JACK client for tests: plays a file into the program's inputs, records its outputs in freewheel.
// Usage: jack_recorder MUSIC.wav HEARD.wav; what was played goes to HEARD.in.wav, padded so that both begin together.
#include <jack/jack.h>
#include <sndfile.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Tape {
    std::vector<float> music, played, heard;  // interleaved, two channels
    std::size_t at = 0;
    jack_port_t* out[2] = {};
    jack_port_t* in[2] = {};
    std::atomic<bool> on{false}, done{false};
};

// The program is one period behind: what it hears now it is heard with in the next one.
int process(jack_nframes_t frames, void* user)
{
    auto& tape = *static_cast<Tape*>(user);
    for (std::size_t c = 0; c < 2; ++c) {
        auto* out = static_cast<float*>(jack_port_get_buffer(tape.out[c], frames));
        const auto* in = static_cast<const float*>(jack_port_get_buffer(tape.in[c], frames));
        for (std::size_t i = 0; i < frames; ++i) {
            const std::size_t at = (tape.at + i) * 2 + c;
            out[i] = tape.on && at < tape.music.size() ? tape.music[at] : 0.0F;
            if (tape.on && at < tape.heard.size())
                tape.heard[at] = in[i], tape.played[at] = out[i];
        }
    }
    if (tape.on)
        tape.at += frames;
    tape.done = tape.at * 2 >= tape.heard.size();
    return 0;
}

void save(const std::string& path, const std::vector<float>& samples, std::size_t from, std::size_t frames)
{
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    sf_writef_float(file, samples.data() + from * 2, static_cast<sf_count_t>(frames));
    sf_close(file);
}

}  // namespace

int main(int, char** argv)
{
    Tape tape;
    SF_INFO info{};
    SNDFILE* file = sf_open(argv[1], SFM_READ, &info);
    tape.music.resize(static_cast<std::size_t>(info.frames) * 2);
    sf_readf_float(file, tape.music.data(), info.frames);
    sf_close(file);
    tape.heard.resize(tape.music.size() + 8 * 1024 * 2);
    tape.played.resize(tape.heard.size());

    jack_client_t* client = jack_client_open("recorder", JackNoStartServer, nullptr);
    if (!client)
        return 1;
    jack_set_process_callback(client, process, &tape);
    for (int c = 0; c < 2; ++c) {
        const std::string n = std::to_string(c + 1);
        tape.out[c] = jack_port_register(client, ("out_" + n).c_str(), JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
        tape.in[c] = jack_port_register(client, ("in_" + n).c_str(), JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    }
    jack_activate(client);
    for (int c = 0; c < 2; ++c) {
        const std::string n = std::to_string(c + 1);
        jack_connect(client, ("recorder:out_" + n).c_str(), ("vantoro:in_" + n).c_str());
        jack_connect(client, ("vantoro:out_" + n).c_str(), ("recorder:in_" + n).c_str());
    }
    jack_set_freewheel(client, 1);
    tape.on = true;
    for (int i = 0; i < 1000 && !tape.done; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    jack_set_freewheel(client, 0);
    jack_client_close(client);
    if (!tape.done)
        return 2;
    const std::string heard = argv[2];
    // A loop of two clients: one of them hears the other a period later.
    const std::size_t period = 1024, frames = tape.music.size() / 2;
    save(heard.substr(0, heard.size() - 4) + ".in.wav", tape.played, 0, frames);
    save(heard, tape.heard, period, frames);
    return 0;
}
