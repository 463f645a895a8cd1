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

template <class Number>
void check_number(const std::string& name, const OptionText& option, const std::string& text)
{
    const auto number = number_of<Number>(text);
    const auto& range = option.range;
    if (number && (!range || (*number >= range->first && *number <= range->second)))
        return;
    std::string wanted = std::is_integral_v<Number> ? "a whole number" : "a number";
    if (range)
        wanted +=
            " from " + decimal(static_cast<float>(range->first)) + " to " + decimal(static_cast<float>(range->second));
    throw UserError({{name, text, wanted}});
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
    text_->range = {lowest, highest};
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

// CLI11 takes it as a text: what it reads itself it refuses in words of its own, and 010 is 8 to it.
template <class Number, class T>
Option Command::number(const char* names, T& value, const char* what, const char* help)
{
    const auto take = [&value](const std::string& text) { value = number_of<Number>(text).value_or(0); };
    const Option added = add(entry_->app->add_option_function<std::string>(names, take), names, what, help);
    added.option_->check([name = added.name(), &option = *added.text_](const std::string& text) {
        check_number<Number>(name, option, text);
        return std::string();
    });
    return added;
}

template <class T>
Option Command::option(const char* names, T& value, const char* what, const char* help)
{
    if constexpr (std::is_same_v<T, int> || std::is_same_v<T, std::optional<int>>) {
        return number<int>(names, value, what, help);
    } else if constexpr (std::is_same_v<T, double> || std::is_same_v<T, std::optional<double>>) {
        return number<double>(names, value, what, help);
    } else {
        const Option added = add(entry_->app->add_option(names, value), names, what, help);
        if constexpr (!std::is_same_v<T, std::string>) {
            added.text_->repeated = true;
            added.option_->allow_extra_args(added.text_->is_argument());
        }
        return added;
    }
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
