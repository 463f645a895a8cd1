// SPDX-License-Identifier: Apache-2.0
// The player without a device: the test is the audio thread. While it does not play, what is handed over has heard all
// that was played, so that everything here has one outcome.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <numbers>
#include <random>
#include <thread>

#include "engine/engine.h"
#include "live/console.h"
#include "live/graph_player.h"
#include "schematic/reader.h"
#include "support/described.h"

namespace {

thread_local long t_operators = 0;  // new, delete, locks and waits of this thread

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size)
{
    ++t_operators;
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    ++t_operators;
    return std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { ++t_operators, std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { ++t_operators, std::free(memory); }

extern "C" {
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    ++t_operators;
    return __real_pthread_mutex_lock(mutex);
}
int __real_pthread_cond_clockwait(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*);
int __wrap_pthread_cond_clockwait(pthread_cond_t* cond, pthread_mutex_t* mutex, clockid_t clock, const timespec* end)
{
    ++t_operators;
    return __real_pthread_cond_clockwait(cond, mutex, clock, end);
}
}

namespace vantoro {
namespace {

using Signal = std::vector<std::vector<float>>;  // by channel

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kSlow = 10;
#else
constexpr int kSlow = 1;
#endif
constexpr int kRate = 48000;

std::size_t index(int n) { return static_cast<std::size_t>(n); }

int length(const Signal& signal) { return signal.empty() ? 0 : static_cast<int>(signal[0].size()); }

// A player whose audio thread is the caller.
class Deck {
public:
    explicit Deck(Schematic first, GraphPlayer::Options options = {.budget_seconds = 100, .say = say})
        : player(std::move(first), kRate, std::move(options)), out(index(player.outputs()))
    {}

    // Frames of the signal from where it stands; beyond its end it is silent.
    void play(const Signal& signal, int frames, int at_once)
    {
        std::vector<std::vector<float>> in(index(player.inputs())), now(index(player.outputs()));
        std::vector<const float*> in_at;
        std::vector<float*> out_at;
        for (auto& channel : in)
            in_at.push_back((channel.resize(index(at_once)), channel.data()));
        for (auto& channel : now)
            out_at.push_back((channel.resize(index(at_once)), channel.data()));
        for (int done = 0; done < frames; done += at_once, at += at_once) {
            for (std::size_t ch = 0; ch < in.size(); ++ch)
                for (int i = 0; i < at_once; ++i)
                    in[ch][index(i)] = at + i < length(signal) ? signal[ch][index(at + i)] : 0.0F;
            const long before = rig::Allocator::touched_here() + t_operators;
            player.process(in_at.data(), out_at.data(), at_once);
            touched += rig::Allocator::touched_here() + t_operators - before;
            for (std::size_t ch = 0; ch < now.size(); ++ch)
                out[ch].insert(out[ch].end(), now[ch].begin(), now[ch].end());
        }
    }
    // Hands a change over while nothing plays; the next block begins to fade to it.
    void change(Schematic next)
    {
        player.play(std::move(next), ++revision);
        for (int i = 0; i < 50000 && player.handed() != revision; ++i)
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        ASSERT_EQ(player.handed(), revision);
    }
    // Lets the worker see that a fade is over.
    void settle()
    {
        for (int i = 0; i < 2000 && player.status().heard != revision; ++i)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        EXPECT_EQ(player.status().heard, revision);
    }

    static void say(const std::string& /*text*/) {}

    GraphPlayer player;
    Signal out;
    int at = 0;
    long touched = 0;
    std::uint64_t revision = 0;
};

// What a graph that always ran puts out.
Signal always(const Schematic& schematic, const Signal& signal, int frames)
{
    std::srand(rig::kSeed);
    Engine engine(schematic, kRate);
    Signal out(index(engine.outputs()));
    const int block = engine.block_size();
    for (int at = 0; at < frames; at += block) {
        for (int ch = 0; ch < engine.inputs(); ++ch)
            for (int i = 0; i < block; ++i)
                engine.input()[ch][i] = at + i < length(signal) ? signal[index(ch)][index(at + i)] : 0.0F;
        engine.change();
        EXPECT_TRUE(engine.process());
        for (std::size_t ch = 0; ch < out.size(); ++ch)
            out[ch].insert(out[ch].end(), engine.output()[ch], engine.output()[ch] + block);
    }
    return out;
}

Signal noise(int channels, int frames)
{
    std::mt19937 random(3);
    Signal signal(index(channels), std::vector<float>(index(frames)));
    for (auto& channel : signal)
        for (float& v : channel)
            v = (static_cast<float>(random()) / 4.3e9F - 0.5F) * 0.5F;
    return signal;
}

// The loudest of a signal above 5 kHz from `from` on: four sections of an eighth-order Butterworth high-pass.
double above_5khz(std::vector<double> signal, std::size_t from)
{
    const double w = 2 * std::numbers::pi * 5000 / kRate;
    for (const double q : {0.5098, 0.6013, 0.9000, 2.5629}) {
        const double c = std::cos(w), a = std::sin(w) / 2 / q, b0 = (1 + c) / 2 / (1 + a), b1 = -2 * b0;
        const double a1 = -2 * c / (1 + a), a2 = (1 - a) / (1 + a);
        double z1 = 0, z2 = 0;
        for (double& v : signal) {
            const double y = b0 * v + z1;
            z1 = b1 * v - a1 * y + z2;
            z2 = b0 * v - a2 * y;
            v = y;
        }
    }
    double most = 0;
    for (std::size_t i = from; i < signal.size(); ++i)
        most = std::max(most, std::fabs(signal[i]));
    return most;
}

double db(double v) { return 20 * std::log10(std::max(v, 1e-12)); }

// A gain of two channels and a detector beside it.
constexpr char kLine[] = R"({"inputs": 2, "blocks": {
  "gain": {"type": "BASIC_GAIN", "params": {"gain": 0, "type": "dB"}}, "meter": {"type": "DETECTORS_SINGLE_BAND"}},
  "wires": [["input", "gain"], ["gain", "output"], ["gain.0", "meter"]]})";

// ---- what is heard ----

// A change at a moment is made once: what is set later to something else does not undo it, and is not undone by it.
TEST(Change, OfAMomentStaysAsItIsMade)
{
    const auto schematic = [](double a, double b, const char* changes) {
        return parse_schematic(
            R"({"inputs": 1, "blocks": {"a": {"type": "BASIC_GAIN", "params": {"type": "Linear", "gain": )" +
            std::to_string(a) + R"(}}, "b": {"type": "BASIC_GAIN", "params": {"type": "Linear", "gain": )" +
            std::to_string(b) + R"(}}}, "wires": [["input", "a"], ["a", "b"], ["b", "output"]])" + changes + "}");
    };
    const char* const kHalve = R"(, "changes": [{"at": 0.01, "set": {"a.gain": 0.5}}])";
    const Signal ones(1, std::vector<float>(index(2 * kRate), 1.0F));
    Deck deck(schematic(1, 1, kHalve));
    const auto plays = [&](float wanted) {
        for (int tries = 0; tries < 400 && (deck.out[0].empty() || deck.out[0].back() != wanted); ++tries) {
            deck.play(ones, 64, 64);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(deck.out[0].back(), wanted);
    };
    plays(0.5F);
    deck.change(schematic(1, 0.25, kHalve));
    plays(0.125F);
    deck.change(schematic(2, 0.25, kHalve));
    plays(0.5F);
}

TEST(Live, SoundsAsRunDoesBitForBit)
{
    for (const auto& file : std::filesystem::directory_iterator(EXAMPLES)) {
        if (file.path().extension() != ".json")
            continue;
        Schematic schematic = read_schematic(file.path(), {.rate = kRate});
        schematic.changes.clear();  // live they are crossfaded
        const int frames = kRate / schematic.block_size * schematic.block_size;
        const Signal in = noise(schematic.inputs, frames);
        const Signal wanted = always(schematic, in, frames);
        std::srand(rig::kSeed);
        Deck whole(schematic);
        whole.play(in, frames, 4 * schematic.block_size);
        EXPECT_EQ(whole.out.size(), wanted.size());
        EXPECT_EQ(whole.player.latency(), 0);
        for (std::size_t ch = 0; ch < wanted.size(); ++ch)
            ASSERT_TRUE(std::equal(wanted[ch].begin(), wanted[ch].end(), whole.out[ch].begin())) << file.path();
        std::srand(rig::kSeed);
        Deck odd(schematic);
        odd.play(in, frames, 100);
        EXPECT_EQ(odd.player.latency(), schematic.block_size - 1);
        for (std::size_t ch = 0; ch < wanted.size(); ++ch)
            ASSERT_TRUE(std::equal(wanted[ch].begin(), wanted[ch].end() - odd.player.latency(),
                                   odd.out[ch].begin() + odd.player.latency()))
                << file.path();
        EXPECT_EQ(whole.touched + odd.touched, 0) << file.path();
    }
}

// ---- changes ----

// A block of the type between the terminals, and a gain after each of its outputs.
Schematic around(const rig::Described& type, const rig::Vector& vector, float gain)
{
    Schematic schematic;
    schematic.block_size = 64;
    schematic.inputs = type.pins->inputs;
    Block block{.id = "it",
                .title = {},
                .type = type.info,
                .pins = {type.pins->inputs, type.pins->outputs},
                .vector = vector,
                .sources = {}};
    for (int pin = 0; pin < type.pins->inputs; ++pin)
        block.sources.push_back({Feed::kTerminal, pin});
    const PinCounts pins{type.pins->outputs, type.pins->outputs};
    Block after{.id = "gain",
                .title = {},
                .type = Vantoro_block_info(EN_VC_SIG_CONTROL),
                .pins = pins,
                .vector = {gain},
                .sources = {}};
    for (int pin = 0; pin < type.pins->outputs; ++pin) {
        after.sources.push_back({0, pin});
        schematic.outputs.push_back({1, pin});
    }
    schematic.blocks = {block, after};
    schematic.order = {0, 1};
    return schematic;
}

// How far above 5 kHz the output was from an ideal crossfade of two graphs that always ran, against the loudest sample:
// dB. The change was handed over at `at`.
double joint(const Signal& heard, const Signal& before, const Signal& after, int at)
{
    constexpr int kFade = kRate / 50, kLook = 64 * 75, kLead = 64 * 30;
    double worst = 0, loudest = 1;
    for (std::size_t ch = 0; ch < heard.size(); ++ch) {
        std::vector<double> off;
        for (int i = at - kLead; i < at + kLook; ++i) {
            const double way = std::clamp(static_cast<double>(i - at) / kFade, 0.0, 1.0);
            const double share = 0.5 - 0.5 * std::cos(std::numbers::pi * way);
            const double from = static_cast<double>(before[ch][index(i)]),
                         to = static_cast<double>(after[ch][index(i)]);
            off.push_back(static_cast<double>(heard[ch][index(i)]) - (from + share * (to - from)));
            loudest = std::max(loudest, std::fabs(from));
        }
        worst = std::max(worst, above_5khz(off, index(kLead)));
    }
    return db(worst / loudest);
}

// Vectors that a graph takes.
std::vector<rig::Vector> vectors_of(const rig::Described& type, int count)
{
    std::vector<rig::Vector> vectors = rig::good_vectors(type, count);
    std::erase_if(vectors, [&](const rig::Vector& v) {
        return Vantoro_param_check(type.info->type, type.pins->inputs, type.pins->outputs, v.data(),
                                   static_cast<int>(v.size()), nullptr, 0) != RT_OK;
    });
    // As slow as by default: a faster glide is what it says.
    for (rig::Vector& vector : vectors)
        for (const rig::Entry& entry : rig::entries_of(type, vector))
            if (std::string_view(entry.param->name) == "slewRate")
                vector[entry.at] = entry.param->initial;
    return vectors;
}

// Every type; where everything is slow, some of each kind.
std::vector<rig::Described> some_types()
{
    std::vector<rig::Described> types;
    for (const rig::Described& type : rig::every_described())
        if (kSlow == 1 || type.info->type % 5 == 0)
            types.push_back(type);
    return types;
}

// A delay out of range is reported, by design.
struct Quiet {
    Quiet()
    {
        Vantoro_set_log_handler([](const char*, void*) {}, nullptr);
    }
    ~Quiet() { Vantoro_set_log_handler(nullptr, nullptr); }
};

// Two tones on the audio pins, nothing above 5 kHz; on the controls what selects, holds and triggers.
Signal tones(const rig::Described& type, int frames)
{
    Signal signal = rig::scene_signal(type, frames);
    for (int pin = 0; pin < type.pins->inputs; ++pin)
        for (int i = 0; i < frames && !rig::is_control(type, pin); ++i) {
            const double t = 2 * std::numbers::pi * i / kRate;
            signal[index(pin)][index(i)] =
                static_cast<float>(0.12 * std::sin(100 * t) + 0.12 * std::sin((1000 + 10 * pin) * t));
        }
    return signal;
}

// What is above 5 kHz after a change at `at`, beyond what one of the two graphs makes there by itself: dB of full
// scale, or of the loudest sample where that is more.
double click(const Signal& heard, const Signal& before, const Signal& after, int at)
{
    double worst = 0, loudest = 1;
    const auto high = [&](const std::vector<float>& channel) {
        const std::vector<double> part(channel.begin() + at - 64 * 30, channel.begin() + at + 64 * 75);
        for (const double v : part)
            loudest = std::max(loudest, std::fabs(v));
        return above_5khz(part, 64 * 30);
    };
    for (std::size_t ch = 0; ch < heard.size(); ++ch)
        worst = std::max(worst, high(heard[ch]) - 2 * std::max(high(before[ch]), high(after[ch])));
    return db(worst / loudest);
}

constexpr int kLead = 3 * kRate / 64 * 64;  // before the first change: more than is replayed
constexpr int kStep = 64 * 80;              // between changes

// Every type in a graph in which something else changes: it goes on as if nothing had happened, sources, noise and all.
TEST(Change, OfABlockLeavesTheOthersUndisturbed)
{
    const Quiet quiet;
    double worst = -999;
    int changes = 0;
    long touched = 0;
    for (const rig::Described& type : some_types()) {
        const rig::Vector vector = vectors_of(type, 3).back();
        const int count = std::max(1, 4 / kSlow);
        const Signal in = rig::scene_signal(type, kLead + count * kStep);
        std::srand(rig::kSeed);
        Deck deck(around(type, vector, 0.5F));
        deck.play(in, kLead, 64);
        std::vector<Signal> ran = {always(around(type, vector, 0.5F), in, kLead + count * kStep)};
        for (int i = 0; i < count; ++i, ++changes) {
            const Schematic next = around(type, vector, i % 2 == 0 ? 0.6F : 0.5F);
            ran.push_back(always(next, in, kLead + count * kStep));
            std::srand(rig::kSeed);
            (void)always(around(type, vector, 0.5F), in, deck.at);  // rand() stands where the deck left it
            deck.change(next);
            deck.play(in, kStep, 64);
            deck.settle();
            const double off = joint(deck.out, ran[index(i)], ran[index(i + 1)], deck.at - kStep);
            EXPECT_LT(off, -80) << type.info->name;
            worst = std::max(worst, off);
        }
        touched += deck.touched;
    }
    EXPECT_EQ(touched, 0);
    std::printf("%d changes beside a block: off the ideal by %.1f dB at most\n", changes, worst);
}

// Changes of the block itself.
TEST(Change, OfAnyBlockIsHeardWithoutAClick)
{
    const Quiet quiet;
    double worst = -999;
    int changes = 0, glides = 0;
    long touched = 0;
    for (const rig::Described& type : some_types()) {
        if (type.info->layout_count == 0)
            continue;
        const int count = std::max(1, 12 / kSlow);
        const std::vector<rig::Vector> vectors = vectors_of(type, count + 3);
        const Signal in = tones(type, kLead + count * kStep);
        Deck deck(around(type, vectors[0], 0.5F));
        deck.play(in, kLead, 64);
        Signal before = always(around(type, vectors[0], 0.5F), in, kLead + count * kStep);
        for (int i = 1; i <= count && index(i) < vectors.size(); ++i, ++changes) {
            const std::int64_t glided = deck.player.glided();
            deck.change(around(type, vectors[index(i)], 0.5F));
            deck.play(in, kStep, 64);
            deck.settle();
            Signal after = always(around(type, vectors[index(i)], 0.5F), in, kLead + count * kStep);
            const double off = click(deck.out, before, after, deck.at - kStep);
            before = std::move(after);
            glides += deck.player.glided() > glided ? 1 : 0;
            if ((type.info->traits & VANTORO_SOURCE) != 0)
                continue;  // it begins anew
            EXPECT_LT(off, -80) << type.info->name << (deck.player.glided() > glided ? " glide " : " change ") << i;
            worst = std::max(worst, off);
        }
        touched += deck.touched;
    }
    EXPECT_EQ(touched, 0);
    std::printf("%d changes of a block, %d glided: clicks of %.1f dB at most\n", changes, glides, worst);
}

// Ten changes while the first is being prepared: the last one is heard, and nothing of those between is built.
TEST(Change, TheNewestWins)
{
    const Schematic flat = parse_schematic(kLine, {.rate = kRate});
    Deck deck(flat);
    const Signal in = noise(2, kLead);
    deck.play(in, kLead / 2, 64);
    for (int i = 1; i <= 10; ++i) {
        Schematic next = flat;
        next.blocks[0].vector[0] = -static_cast<float>(i);
        deck.player.play(std::move(next), ++deck.revision);
    }
    const auto heard = [&] { return deck.player.status().heard == deck.revision; };
    for (int i = 0; i < 20000 && (i < 200 || !heard()); ++i) {
        deck.play(in, 64, 64);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    deck.settle();
    deck.play(in, 640, 64);
    Schematic last = flat;
    last.blocks[0].vector[0] = -10;
    const Signal wanted = always(last, in, deck.at);
    EXPECT_TRUE(std::equal(wanted[0].end() - 640, wanted[0].end(), deck.out[0].end() - 640));
}

// ---- meters ----

TEST(Meters, EveryReaderGetsWhatWasPlayedSinceItReadAndTapsHearTheNewest)
{
    Deck deck(parse_schematic(kLine, {.rate = kRate}));
    const auto wait = [] { std::this_thread::sleep_for(std::chrono::milliseconds(30)); };
    const auto first = deck.player.reader();
    wait();
    const auto tap = deck.player.tap("output", 0), none = deck.player.tap("nobody", 0);
    Signal in = noise(2, 64 * 200);
    in[0][64 * 50 + 3] = 0.9F;  // the peak of the first reading
    std::vector<float> newest(100), silent(100, 1.0F);
    EXPECT_FALSE(tap->newest(newest));
    for (int i = 0; i < 100; ++i) {  // the collector asks now and then
        deck.play(in, 64, 64);
        std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
    const auto second = deck.player.reader();
    wait();
    deck.play(in, 64 * 2, 64);
    wait();
    const Readings readings = first->read();
    ASSERT_EQ(readings.inputs.size(), 2U);
    ASSERT_EQ(readings.pins.size(), 2U);
    ASSERT_EQ(readings.outputs.size(), 2U);
    EXPECT_EQ(readings.inputs[0].peak, 0.9F);
    EXPECT_EQ(readings.outputs[0].peak, readings.pins[0][0].peak);
    double sum = 0;
    for (int i = 0; i < 64 * 102; ++i)
        sum += static_cast<double>(in[1][index(i)]) * static_cast<double>(in[1][index(i)]);
    EXPECT_NEAR(static_cast<double>(readings.inputs[1].mean_square), sum / (64 * 102), 0.03 * sum / (64 * 102));
    EXPECT_EQ(readings.detectors[0].size(), 0U);
    EXPECT_GT(readings.detectors[1].size(), 0U);
    EXPECT_LT(second->read().inputs[0].peak, 0.9F);
    EXPECT_EQ(first->read().inputs[0].peak, 0.0F);
    ASSERT_TRUE(tap->newest(newest));
    EXPECT_TRUE(std::equal(newest.begin(), newest.end(), deck.out[0].end() - 100));
    ASSERT_TRUE(none->newest(silent));
    EXPECT_EQ(silent, std::vector<float>(100));
    EXPECT_EQ(deck.touched, 0);
    std::vector<std::unique_ptr<Player::Tap>> taps;
    while (auto more = deck.player.tap("input", 1))
        taps.push_back(std::move(more));
    EXPECT_EQ(taps.size(), 14U);
}

// ---- faults ----

TEST(Faults, AreNamedMutedAndFadedInAgain)
{
    std::atomic<int> said{0};
    const Schematic schematic = parse_schematic(kLine, {.rate = kRate});
    Deck deck(schematic, {.say = [&](const std::string& text) { said += text.starts_with("gain:") ? 1 : 0; }});
    const Signal in(2, std::vector<float>(64 * 200, 2.0F));
    deck.play(in, 6400, 64);
    Schematic wrong = schematic;
    wrong.blocks[0].vector[0] = 3e38F;  // a factor
    wrong.blocks[0].vector[1] = 1;
    deck.change(wrong);
    deck.play(in, 1920, 64);
    EXPECT_GT(deck.player.status().muted_blocks, 0);
    deck.change(schematic);
    deck.play(in, 3200, 64);
    for (const auto& channel : deck.out)
        EXPECT_TRUE(std::ranges::all_of(channel, [](float v) { return std::isfinite(v); }));
    deck.settle();
    EXPECT_EQ(deck.player.status().fault, "gain");
    EXPECT_GT(said, 0);
    // Fading in, and out at the end: no step is larger than a raised cosine of 20 ms makes.
    const auto& out = deck.out[0];
    EXPECT_NEAR(out.back(), out[6000], 1e-6F);
    deck.player.fade_out();
    deck.play(in, 1280, 64);
    for (std::size_t i = out.size() - 2880; i + 1 < out.size(); ++i)
        ASSERT_LT(std::fabs(out[i + 1] - out[i]), 2.0F * 0.002F) << i;
    EXPECT_EQ(out.back(), 0.0F);
}

// ---- the log ----

TEST(Log, WhatTheAudioThreadSaysIsPrintedByAnother)
{
    Console console(false);
    LiveLog log(console, false);
    const Schematic late =
        parse_schematic(R"({"blocks": {"late": {"type": 287, "params": {"maxDelay": 10, "delay": 20}}},
                                               "wires": [["input", "late"], ["late", "output"]]})");
    std::thread([&] {
        LiveLog::mark_audio_thread();
        for (int i = 0; i < 66; ++i)
            Engine(late, kRate);
    }).join();
    testing::internal::CaptureStderr();
    log.drain();
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(said.starts_with("late: LOG (")) << said;
    EXPECT_EQ(std::ranges::count(said, '\n'), 65);  // as many as fit, and how many did not
    EXPECT_TRUE(said.ends_with("vantoro: 2 more lines of the library's log\n")) << said;
}

// ---- threads ----

// Changes as fast as they come while another thread plays and a third one reads meters: all is applied.
TEST(Threads, PlayChangeAndReadAtTheSameTime)
{
    const Schematic schematic = parse_schematic(kLine, {.rate = kRate});
    Deck deck(schematic);
    std::atomic<bool> done{false};
    std::thread reading([&] {
        const auto reader = deck.player.reader();
        const auto tap = deck.player.tap("gain", 1);
        std::vector<float> newest(256);
        while (!done) {
            (void)reader->read();
            (void)tap->newest(newest);
            (void)deck.player.status();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    std::thread changing([&] {
        for (std::uint64_t i = 1; i <= 200 / kSlow; ++i) {
            Schematic next = schematic;
            next.blocks[0].vector[0] = -static_cast<float>(i % 7);
            deck.player.play(std::move(next), i);
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
        }
        done = true;
    });
    const Signal in = noise(2, 64);
    while (!done) {
        deck.at = 0;
        deck.play(in, 64, 64);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    changing.join();
    reading.join();
    deck.revision = 200 / kSlow;
    for (int i = 0; i < 3000 && deck.player.status().heard != deck.revision; ++i) {
        deck.play(in, 64, 64);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(deck.player.status().heard, deck.revision);
    EXPECT_EQ(deck.touched, 0);
}

}  // namespace
}  // namespace vantoro
