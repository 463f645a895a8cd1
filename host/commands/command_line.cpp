// SPDX-License-Identifier: Apache-2.0
#include "commands/command_line.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include <CLI/CLI.hpp>

#include "commands/manual.h"
#include "support/decimal.h"
#include "support/nearest.h"
#include "support/problem.h"

namespace vantoro {

std::string listed(const std::vector<std::string>& names, const char* last)
{
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : i + 1 < names.size() ? ", " : last) + names[i];
    return text;
}

namespace {

std::string suggestion(std::string_view word, const std::vector<std::string>& known)
{
    return did_you_mean(nearest(word, std::vector<std::string_view>(known.begin(), known.end())));
}

}  // namespace

// ---- options ----

std::string Option::name() const { return option_->get_name(); }

bool Option::given() const { return option_->count() > 0; }

Option Option::required()
{
    option_->required();
    text_->required = true;
    return *this;
}

Option Option::from(double lowest, double highest)
{
    const bool whole = text_->whole;
    const std::string wanted = (whole ? "a whole number from " : "a number from ") +
                               decimal(static_cast<float>(lowest)) + " to " + decimal(static_cast<float>(highest));
    option_->check([lowest, highest, whole, wanted, name = name()](const std::string& text) {
        const auto number = number_of<double>(text);
        if (!number || *number < lowest || *number > highest || (whole && !number_of<long long>(text)))
            throw UserError({{name, text, wanted}});
        return std::string();
    });
    return *this;
}

Option Option::one_of(std::vector<std::string> choices)
{
    text_->choices = choices;
    option_->check([choices = std::move(choices), name = name()](const std::string& word) {
        if (std::ranges::find(choices, word) == choices.end())
            throw UserError({{name, word, listed(choices, " or ")}});
        return std::string();
    });
    return *this;
}

Option Option::needs(const char* other)
{
    option_->needs(other);
    return *this;
}

Option Option::excludes(const char* other)
{
    option_->excludes(other);
    return *this;
}

// ---- commands ----

struct Command::Entry {
    CLI::App* app;
    CommandText text;
    std::vector<Option> one_of{};  // one of these is needed
    std::function<int()> run{};
};

Option Command::add(CLI::Option* option, const char* names, const char* what, const char* help)
{
    if (*what != '\0')
        option->type_name(what);
    return {*option, entry_->text.options.emplace_back(OptionText{names, what, help})};
}

template <class T>
Option Command::option(const char* names, T& value, const char* what, const char* help)
{
    const Option added = add(entry_->app->add_option(names, value), names, what, help);
    if constexpr (std::is_same_v<T, std::vector<std::string>>) {
        added.text_->repeated = true;
        added.option_->allow_extra_args(added.text_->is_argument());
    }
    added.text_->whole = std::is_same_v<T, int> || std::is_same_v<T, std::optional<int>>;
    return added;
}

template Option Command::option(const char*, std::string&, const char*, const char*);
template Option Command::option(const char*, std::vector<std::string>&, const char*, const char*);
template Option Command::option(const char*, int&, const char*, const char*);
template Option Command::option(const char*, double&, const char*, const char*);
template Option Command::option(const char*, std::optional<int>&, const char*, const char*);
template Option Command::option(const char*, std::optional<double>&, const char*, const char*);

Option Command::flag(const char* names, bool& value, const char* help)
{
    return add(entry_->app->add_flag(names, value), names, "", help);
}

Option Command::word(const char* names, const std::function<void(const std::string&)>& take, const char* help)
{
    return add(entry_->app->add_option_function<std::string>(names, take), names, "NAME", help);
}

void Command::one_needed(std::vector<Option> options) { entry_->one_of = std::move(options); }

void Command::notes(const char* text) { entry_->text.notes = text; }

void Command::runs(std::function<int()> run) { entry_->run = std::move(run); }

// ---- the whole line ----

CommandLine::CommandLine(const char* name, const char* help, const std::string& version)
    : app_(std::make_unique<CLI::App>(help, name))
{
    app_->require_subcommand(1);
    app_->set_version_flag("--version", version);
}

CommandLine::~CommandLine() = default;

std::string CommandLine::name() const { return app_->get_name(); }

std::string CommandLine::help() const { return app_->get_description(); }

std::vector<const CommandText*> CommandLine::commands() const
{
    std::vector<const CommandText*> texts;
    for (const Command::Entry& entry : entries_)
        texts.push_back(&entry.text);
    return texts;
}

Command CommandLine::add(const char* name, const char* help)
{
    return Command(entries_.emplace_back(Command::Entry{app_->add_subcommand(name, help), {name, help}}));
}

const Command::Entry* CommandLine::chosen() const
{
    const auto found = std::ranges::find_if(entries_, [](const Command::Entry& entry) { return entry.app->parsed(); });
    return found == entries_.end() ? nullptr : &*found;
}

// What nobody knows is told first: it explains the rest.
void CommandLine::refuse(const std::string& text) const
{
    const Command::Entry* command = chosen();
    const std::string hint = "see '" + name() + " help" + (command ? ' ' + command->text.name : "") + '\'';
    const std::vector<std::string> left = app_->remaining_for_passthrough(true);
    const auto option = std::ranges::find_if(left, [](const std::string& word) { return word.starts_with('-'); });
    Problem problem{{}, {}, text};
    if (option != left.end()) {
        const std::string given = option->substr(0, option->find('='));
        std::vector<std::string> known = {"--help", "--version"};
        for (const OptionText& each : command ? command->text.options : std::deque<OptionText>())
            known.push_back(each.long_name());
        problem = {given, {}, "there is no such option" + suggestion(given, known)};
    } else if (!command && left.empty()) {
        problem.wanted = "a command is missing";
    } else if (!command) {
        std::vector<std::string> known;
        for (const CommandText* each : commands())
            known.push_back(each->name);
        problem = {left.back(), {}, "there is no such command" + suggestion(left.back(), known)};
    } else if (!left.empty()) {
        problem = {left.back(), {}, "one argument too many"};
    }
    throw UserError({problem, {{}, {}, hint}});
}

int CommandLine::run(int argc, char** argv)
{
    try {
        app_->parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        const Command::Entry* command = chosen();
        std::fputs((command ? help_of(*this, command->text) : help_of(*this)).c_str(), stdout);
        return 0;
    } catch (const CLI::CallForVersion& version) {
        std::puts(version.what());
        return 0;
    } catch (const CLI::ConversionError& error) {  // "Could not convert: --seconds = abc"
        const std::string text = error.what();
        const std::size_t from = text.find(": ") + 2;
        const std::size_t to = text.find(" = ");
        if (to == std::string::npos)
            refuse(text);
        throw UserError({{text.substr(from, to - from), text.substr(to + 3), "a number"}});
    } catch (const CLI::ParseError& error) {
        refuse(error.what());
    }
    const Command::Entry* command = chosen();
    const auto given = std::ranges::count_if(command->one_of, [](const Option& each) { return each.given(); });
    if (!command->one_of.empty() && given != 1) {
        std::vector<std::string> names;
        for (const Option& each : command->one_of)
            names.push_back(each.name());
        refuse((given > 1 ? "only one of " : "one of ") + listed(names, given > 1 ? " and " : " or ") +
               (given > 1 ? " can be given" : " is needed"));
    }
    return command->run();
}

}  // namespace vantoro
