// SPDX-License-Identifier: Apache-2.0
// What the commands take, said once: reading the command line, help, the manual page and the completion of shells come
// from it.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {  // it is slow to compile: command_line.cpp alone sees it
class App;
class Option;
}  // namespace CLI

namespace vantoro {

std::string listed(const std::vector<std::string>& names, const char* last);  // "a, b or c", for " or "

// An option, a flag or an argument, as users read it.
struct OptionText {
    std::string names;  // "-o,--output"; of an argument its own: "schematic"
    std::string what;   // "FILE"; a flag has none
    std::string help;
    std::vector<std::string> choices{};
    bool required = false;
    bool repeated = false;
    std::optional<std::pair<double, double>> range{};  // of a number

    bool is_argument() const { return !names.starts_with('-'); }
    std::string long_name() const { return names.substr(names.find(',') + 1); }
};

struct CommandText {
    std::string name, help;
    std::string notes{};  // below the options
    std::deque<OptionText> options{};
};

// An option that was added. Each call returns it.
class Option {
public:
    Option(CLI::Option& option, OptionText& text) : option_(&option), text_(&text) {}

    Option required();
    Option from(double lowest, double highest);  // of a number
    Option one_of(std::vector<std::string> choices);
    Option needs(const char* other);
    Option excludes(const char* other);

    std::string name() const;  // "--output"
    bool given() const;

private:
    friend class Command;
    CLI::Option* option_;
    OptionText* text_;
};

// A command that was added. The values must live until it runs.
class Command {
public:
    struct Entry;
    explicit Command(Entry& entry) : entry_(&entry) {}

    // `names`: "-o,--output", or "schematic" of an argument; `what` stands for the value in help: "FILE". Values:
    // std::string, int, double, optional ones, and std::vector<std::string>, which an option fills by being given again
    // and an argument by all that follow.
    template <class T>
    Option option(const char* names, T& value, const char* what, const char* help);
    Option flag(const char* names, bool& value, const char* help);
    // A value by its name.
    template <class E>
    Option choice(const char* names, E& value, const std::vector<std::pair<std::string, E>>& choices, const char* help)
    {
        std::vector<std::string> words;
        words.reserve(choices.size());
        for (const auto& [name, chosen] : choices)
            words.push_back(name);
        const auto take = [&value, choices](const std::string& word) {
            for (const auto& [name, chosen] : choices)
                if (name == word)
                    value = chosen;
        };
        return word(names, take, help).one_of(std::move(words));
    }
    // Exactly one of these options has to be given.
    void one_needed(std::vector<Option> options);
    void notes(const char* text);
    // What it does; the result is the program's exit status.
    void runs(std::function<int()> run);

private:
    Option add(CLI::Option* option, const char* names, const char* what, const char* help);
    template <class Number, class T>
    Option number(const char* names, T& value, const char* what, const char* help);
    Option word(const char* names, const std::function<void(const std::string&)>& take, const char* help);

    Entry* entry_;
};

class CommandLine {
public:
    CommandLine(const char* name, const char* help, const std::string& version);
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    Command add(const char* name, const char* help);
    // Runs the command that is asked for, or prints the help that is. Returns the exit status. Throws UserError.
    int run(int argc, char** argv);

    std::string name() const;
    std::string help() const;
    std::vector<const CommandText*> commands() const;

private:
    const Command::Entry* chosen() const;
    [[noreturn]] void refuse(const std::string& text) const;

    std::unique_ptr<CLI::App> app_;
    std::deque<Command::Entry> entries_;
};

}  // namespace vantoro
