// SPDX-License-Identifier: Apache-2.0
// vantoro live SCHEMATIC: plays on a device, and takes changes while it plays.
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>

#include "commands/commands.h"
#include "commands/tuning.h"
#include "live/console.h"
#include "live/endpoint.h"
#include "live/file_watch.h"
#include "live/graph_player.h"
#include "live/routing.h"

namespace vantoro {
namespace {

struct LiveOptions {
    std::string schematic, input, output;
    std::vector<std::string> settings;
    std::string arithmetic;
    std::optional<int> rate, channels;
    int period = 0;
    double seconds = 0;
    bool loop = false, quiet = false, strict = false;
    TuningOptions tuning;
};

std::atomic<int> g_signal{0};

// Ctrl-C, once: the second one ends the program as it ends others.
class Interrupts {
public:
    Interrupts()
    {
        struct sigaction ours {};
        ours.sa_handler = [](int signal) { g_signal = signal; };
        ours.sa_flags = static_cast<int>(SA_RESETHAND);
        for (std::size_t i = 0; i < std::size(kSignals); ++i)
            sigaction(kSignals[i], &ours, &old_[i]);
    }
    ~Interrupts()
    {
        for (std::size_t i = 0; i < std::size(kSignals); ++i)
            sigaction(kSignals[i], &old_[i], nullptr);
    }
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

private:
    static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
    struct sigaction old_[std::size(kSignals)]{};
};

// ---- what is asked for ----

struct Plan {
    Endpoint from, to;
    std::unique_ptr<AudioReader> file;
    std::unique_ptr<Backend> backend;
    ReadOptions reading;
    Schematic schematic;
    int rate = 0;
    std::string rate_by{};  // who gave it: a file, a server, or --rate
};

void settle_rate(const LiveOptions& options, Plan& plan)
{
    std::optional<int> given = options.rate;
    std::string by = "--rate";
    const auto take = [&](std::optional<int> rate, const std::string& who) {
        if (rate && given && *rate != *given)
            throw UserError(who + " has " + std::to_string(*rate) + " Hz, " + by + " " + std::to_string(*given) +
                            " Hz");
        if (rate)
            by = who;
        given = rate ? rate : given;
    };
    if (plan.file)
        take(plan.file->rate(), plan.from.name);
    take(plan.backend->fixed_rate(), plan.backend->name());
    plan.reading.rate = given;
    plan.rate_by = by;
}

Plan prepare(const LiveOptions& options)
{
    Plan plan;
    plan.from = parse_endpoint("--input", options.input);
    plan.to = parse_endpoint("--output", options.output);
    if (plan.from.kind == Endpoint::Kind::file)
        plan.file = std::make_unique<AudioReader>(plan.from.name);
    plan.reading.settings = parse_settings(options.settings, When::any);
    plan.reading.quiet = is_quiet(options.arithmetic);
    if (plan.from.kind == Endpoint::Kind::device && plan.to.kind != Endpoint::Kind::device && !plan.from.backend) {
        // A file or nothing to play to: without an input it needs no device.
        ReadOptions any = plan.reading;
        if (!read_schematic(options.schematic, any).hears_input)
            plan.from.kind = Endpoint::Kind::nothing;
    }
    plan.backend = make_backend(plan.from, plan.to);
    settle_rate(options, plan);
    if (plan.file)
        plan.reading.channels = plan.file->channels();
    else if (options.channels)
        plan.reading.channels = options.channels;
    plan.schematic = load_schematic(options.schematic, plan.reading, warnings_of(options.strict, options.quiet));
    if (plan.schematic.rate && plan.reading.rate && *plan.reading.rate != *plan.schematic.rate)
        throw UserError(plan.rate_by + " has " + std::to_string(*plan.reading.rate) +
                        " Hz; the schematic is made for " + std::to_string(*plan.schematic.rate) + " Hz");
    plan.rate = rate_of(plan.schematic, plan.reading.rate);
    if (plan.to.kind == Endpoint::Kind::file)
        check_output(plan.to.name, plan.schematic.files, {{"the input", plan.file ? plan.from.name : ""}});
    plan.reading.rate = plan.rate;
    plan.reading.channels = plan.schematic.inputs;
    return plan;
}

// Whole blocks, unless something else was asked for: then nothing is delayed.
int period_of(const LiveOptions& options, const Schematic& schematic)
{
    constexpr int kUsual = 256;
    return options.period > 0 ? options.period
                              : std::min(kMaxPeriod, (kUsual + schematic.block_size - 1) / schematic.block_size *
                                                         schematic.block_size);
}

Routing::Files files_of(Plan& plan, bool loop)
{
    Routing::Files files;
    if (plan.to.kind == Endpoint::Kind::file)
        files.output = std::make_unique<AudioWriter>(plan.to.name, Encoding::natural,
                                                     static_cast<int>(plan.schematic.outputs.size()), plan.rate);
    if (plan.file && loop)
        files.again = [path = plan.from.name] { return std::make_unique<AudioReader>(path); };
    files.input = std::move(plan.file);
    return files;
}

// ---- what is said ----

std::string channels_text(int n) { return std::to_string(n) + (n == 1 ? " channel" : " channels"); }

void compare_channels(Console& console, const char* side, int device, int wanted)
{
    if (device == 0 || device == wanted)
        return;
    console.note(std::string(side) + ": the device has " + channels_text(device) + ", the schematic " +
                 std::to_string(wanted) +
                 (device < wanted ? (*side == 'i' ? "; the rest is silence" : "; the rest is not heard")
                                  : (*side == 'i' ? "; the rest is not heard" : "; the rest is silent")));
}

std::string status_line(const PlayerStatus& status, const Readings& readings)
{
    char text[160];
    std::snprintf(text, sizeof text, "%s %.1f s, load %.0f %%, worst %.0f %%, %lld xruns",
                  status.playing ? "running" : "waiting", status.seconds, 100 * status.load, 100 * status.worst_load,
                  static_cast<long long>(status.xruns));
    std::string line = text;
    if (status.muted_blocks > 0)
        line += ", " + std::to_string(status.muted_blocks) + " blocks muted";
    line += ", peaks";
    for (const SignalLevel& level : readings.outputs) {
        std::snprintf(text, sizeof text, level.peak > 0 ? " %.1f" : " -inf",
                      20 * std::log10(static_cast<double>(level.peak)));
        line += text;
    }
    return line + " dBFS";
}

// ---- the session ----

class Session {
public:
    Session(const LiveOptions& options, Plan plan, Console& console)
        : options_(options), console_(console), reading_(plan.reading), inputs_(plan.schematic.inputs),
          outputs_(static_cast<int>(plan.schematic.outputs.size())), backend_(std::move(plan.backend))
    {
        GraphPlayer::Options playing{.say = [this](const auto& t) { console_.say(t); }};
        if (options.tuning.off) {
            watch_.emplace(options.schematic);
        } else {
            tuning_.emplace(options.schematic, reading_);
            plan.schematic = tuning_->heard();
            playing.revision = tuning_->revision();
        }
        wanted_ = {.rate = plan.rate,
                   .period = period_of(options, plan.schematic),
                   .inputs = plan.from.kind == Endpoint::Kind::device && plan.schematic.hears_input
                                 ? options.channels.value_or(inputs_)
                                 : 0,
                   .outputs = plan.to.kind == Endpoint::Kind::device ? options.channels.value_or(outputs_) : 0};
        Routing::Files files = files_of(plan, options.loop);
        player_ = std::make_unique<GraphPlayer>(std::move(plan.schematic), plan.rate, std::move(playing));
        routing_ = std::make_unique<Routing>(*player_, inputs_, outputs_, plan.rate, std::move(files));
    }

    void start()
    {
        const StreamFormat got = backend_->open(wanted_);
        routing_->set_device(got.inputs, got.outputs);
        player_->set_backend(backend_.get(), got.period);
        compare_channels(console_, "input", got.inputs, inputs_);
        compare_channels(console_, "output", got.outputs, outputs_);
        lock_memory();
        constexpr int kBuffered = 4;  // periods, at the most: what the device still has when the fade has been written
        still_to_come_ = std::chrono::milliseconds(1000LL * kBuffered * got.period / got.rate);
        backend_->start(*routing_);
        console_.note(backend_->name() + ": " + std::to_string(got.rate) + " Hz, period " + std::to_string(got.period));
        if (tuning_)
            tuning_->serve(*player_, options_.tuning, [this](const std::string& line) { console_.say(line); });
    }

    // Until Ctrl-C, the end of the file, or the time asked for.
    void run(LiveLog& log)
    {
        constexpr std::chrono::milliseconds kTick{50};
        const std::unique_ptr<Player::Reader> reader = options_.quiet ? nullptr : player_->reader();
        while (g_signal == 0 && !routing_->ended() && routing_->trouble().empty()) {
            std::this_thread::sleep_for(kTick);
            log.drain();
            if (watch_ && watch_->saved())
                reload();
            const PlayerStatus status = player_->status();
            say_notes(status);
            if (reader)
                show(*reader, status);
            if (options_.seconds > 0 && status.seconds >= options_.seconds)
                break;
        }
    }

    int finish()
    {
        if (!routing_->ended()) {
            player_->fade_out();
            std::this_thread::sleep_for(still_to_come_);
        }
        backend_->stop();
        routing_->finish();
        if (!routing_->shortfall().empty())
            console_.note(routing_->shortfall());
        const PlayerStatus status = player_->status();
        char text[96];
        std::snprintf(text, sizeof text, "%.1f s played, %lld xruns, %lld blocks muted", status.seconds,
                      static_cast<long long>(status.xruns), static_cast<long long>(status.muted_blocks));
        status.muted_blocks > 0 ? console_.say(text) : console_.note(text);
        if (const std::string why = routing_->trouble(); !why.empty())
            throw std::runtime_error(why);
        return status.muted_blocks > 0 ? kFailure : 0;
    }

    Player& player() { return *player_; }

private:
    // What comes later is locked only where nothing limits that: an allocation beyond a limit would fail.
    void lock_memory()
    {
        rlimit limit{};
        const bool unlimited = getrlimit(RLIMIT_MEMLOCK, &limit) == 0 && limit.rlim_cur == RLIM_INFINITY;
        if (mlockall(unlimited ? MCL_CURRENT | MCL_FUTURE : MCL_CURRENT) != 0)
            console_.note(std::string("memory is not locked: ") + std::strerror(errno));
    }

    void reload()
    {
        try {
            Schematic next = load_schematic(options_.schematic, reading_, warnings_of(options_.strict, options_.quiet));
            if (next.inputs != inputs_ || static_cast<int>(next.outputs.size()) != outputs_)
                throw UserError(options_.schematic + ": other channels than before; start anew to hear it");
            if (next.block_size != player_->block_size())
                throw UserError(options_.schematic + ": another block size than before; start anew to hear it");
            player_->play(std::move(next), ++revision_);
            console_.note(options_.schematic + ": read anew");
        } catch (const UserError& error) {
            for (const Problem& problem : error.problems())
                console_.say(text_of(problem));
            console_.say("the sound goes on as before");
        }
    }

    void say_notes(const PlayerStatus& status)
    {
        for (const std::string& note : backend_->notes())
            console_.note(note);
        if (status.trouble == trouble_)
            return;
        console_.say(status.trouble.empty() ? "plays again" : status.trouble);
        trouble_ = status.trouble;
    }

    // On a terminal a few times a second, else once.
    void show(Player::Reader& reader, const PlayerStatus& status)
    {
        using Clock = std::chrono::steady_clock;
        const auto interval = std::chrono::milliseconds(console_.terminal() ? 250 : 1000);
        if (Clock::now() - shown_ < interval)
            return;
        shown_ = Clock::now();
        console_.status(status_line(status, reader.read()));
    }

    const LiveOptions& options_;
    Console& console_;
    ReadOptions reading_;
    int inputs_, outputs_;
    std::optional<FileWatch> watch_;  // without a server, which looks at the file itself
    StreamFormat wanted_;
    std::unique_ptr<GraphPlayer> player_;
    std::unique_ptr<Routing> routing_;
    std::unique_ptr<Backend> backend_;
    std::chrono::milliseconds still_to_come_{0};
    std::uint64_t revision_ = 0;
    std::string trouble_;
    std::chrono::steady_clock::time_point shown_{};
    std::optional<Tuning> tuning_;  // ends first: it talks to the player
};

int live(const LiveOptions& options)
{
    Plan plan = prepare(options);
    Console console(options.quiet);
    LiveLog log(console, options.quiet);
    const Interrupts interrupts;
    Session session(options, std::move(plan), console);
    session.start();
    session.run(log);
    return session.finish();
}

int devices()
{
    for (const BackendKind& kind : backend_kinds()) {
        const std::vector<Device> found = kind.devices();
        for (const Device& device : found)
            std::printf("%-28s %s\n", device.name.c_str(), device.detail.c_str());
        if (found.empty())
            std::printf("%-28s none\n", kind.name);
    }
    std::puts("file:PATH                    a sound file; null: nowhere");
    return 0;
}

}  // namespace

void add_live_command(CommandLine& line)
{
    auto options = std::make_shared<LiveOptions>();
    Command command = line.add("live", "Play on a device, and take changes while it plays");
    add_schematic(command, options->schematic);
    constexpr const char* kWhere = "file:PATH, null, jack, alsa:PCM; without it the default device";
    command.option("-i,--input", options->input, "WHERE", kWhere);
    command.option("-o,--output", options->output, "WHERE", kWhere);
    add_rate(command, options->rate, "Where neither file, schematic nor server says it");
    command.option("--period", options->period, "FRAMES", "What the device asks for at a time").from(1, kMaxPeriod);
    command.option("--channels", options->channels, "N", "Channels of the device; without it those of the schematic")
        .from(1, kMaxPins);
    add_settings(command, options->settings, When::any);
    add_arithmetic(command, options->arithmetic);
    command.option("--seconds", options->seconds, "SECONDS", "End after so much audio").from(1e-6, 1e9);
    command.flag("--loop", options->loop, "Play the file of --input again and again");
    add_strict(command, options->strict);
    command.flag("-q,--quiet", options->quiet, "Errors only, and where the page is");
    add_tuning_options(command, options->tuning);
    command.runs([options] { return live(*options); });
}

void add_devices_command(CommandLine& line)
{
    line.add("devices", "List the audio devices").runs([] { return devices(); });
}

std::string backend_names()
{
    std::string names;
    for (const BackendKind& kind : backend_kinds())
        names += std::string(kind.name) + ", ";
    return names + "file";
}

}  // namespace vantoro
