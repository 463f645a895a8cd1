// SPDX-License-Identifier: Apache-2.0
// What a live session says: lines, and a status line below them on a terminal. Any thread but the audio thread.
#pragma once

#include <memory>
#include <mutex>
#include <string>

namespace vantoro {

class Console {
public:
    explicit Console(bool quiet);
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    bool terminal() const { return terminal_; }
    void say(const std::string& line);   // after "vantoro: "
    void note(const std::string& line);  // where it is not to be quiet
    void plain(const std::string& line);
    void status(const std::string& text);  // on a terminal it replaces the one before

private:
    void clear();

    std::mutex mutex_;
    bool quiet_, terminal_, shown_ = false;
};

// The library's log lines while it lives, each after the id of the block at work: on the console, or nowhere. Those of
// the audio thread wait for drain(); when too many wait, some are lost and counted.
class LiveLog {
public:
    LiveLog(Console& console, bool quiet);
    ~LiveLog();
    LiveLog(const LiveLog&) = delete;
    LiveLog& operator=(const LiveLog&) = delete;

    static void mark_audio_thread();
    void drain();

private:
    struct Queue;
    static void take(const char* line, void* self);

    Console& console_;
    bool quiet_;
    std::unique_ptr<Queue> queue_;
};

}  // namespace vantoro
