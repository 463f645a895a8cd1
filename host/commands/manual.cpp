// SPDX-License-Identifier: Apache-2.0
#include "commands/manual.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "commands/command_line.h"
#include "support/columns.h"

namespace vantoro {

namespace {

constexpr std::size_t kHelpColumn = 32;

const OptionText kHelpOption{"-h,--help", "", "Print this"}, kVersionOption{"--version", "", "Print the version"};

// With `with` before each of these characters.
std::string escaped(std::string_view text, std::string_view characters, std::string_view with)
{
    std::string out;
    for (const char c : text) {
        if (characters.find(c) != std::string_view::npos)
            out += with;
        out += c;
    }
    return out;
}

// In single quotes of a shell.
std::string quoted(std::string_view text)
{
    std::string out = "'";
    for (const char c : text)
        out += c == '\'' ? "'\\''" : std::string(1, c);
    return out + '\'';
}

std::string spaced(const std::vector<std::string>& words)
{
    std::string out;
    for (const std::string& word : words)
        out += (out.empty() ? "" : " ") + word;
    return out;
}

std::string short_name(const OptionText& option)
{
    const std::size_t comma = option.names.find(',');
    return comma == std::string::npos ? "" : option.names.substr(0, comma);
}

// "vantoro blocks [TYPE] [OPTIONS]": in brackets what may be left out.
std::string usage(const CommandLine& line, const CommandText& command)
{
    std::string text = line.name() + ' ' + command.name;
    bool options = false;
    for (const OptionText& each : command.options) {
        options = options || !each.is_argument();
        if (each.is_argument())
            text +=
                (each.required ? " " : " [") + each.what + (each.repeated ? "..." : "") + (each.required ? "" : "]");
    }
    return text + (options ? " [OPTIONS]" : "");
}

std::string help_line(const OptionText& option)
{
    if (option.is_argument())
        return flowed("  " + option.what, kHelpColumn, option.help);
    const std::string letter = short_name(option);
    return flowed("  " + (letter.empty() ? "    " : letter + ", ") + option.long_name() +
                      (option.what.empty() ? "" : ' ' + option.what),
                  kHelpColumn, option.help);
}

// Those of a command, arguments first.
std::vector<const OptionText*> ordered(const CommandText& command)
{
    std::vector<const OptionText*> options;
    for (const OptionText& each : command.options)
        options.push_back(&each);
    options.push_back(&kHelpOption);
    std::stable_partition(options.begin(), options.end(), [](const OptionText* each) { return each->is_argument(); });
    return options;
}

}  // namespace

// ---- help ----

std::string help_of(const CommandLine& line)
{
    std::string out = line.help() + "\n\nUsage: " + line.name() + " COMMAND ...\n\n";
    for (const CommandText* each : line.commands())
        out += flowed("  " + each->name, kHelpColumn, each->help);
    return out + '\n' + help_line(kHelpOption) + help_line(kVersionOption) + "\nMore about a command: " + line.name() +
           " help COMMAND\n";
}

std::string help_of(const CommandLine& line, const CommandText& command)
{
    std::string out = command.help + "\n\nUsage: " + usage(line, command) + "\n\n";
    for (const OptionText* each : ordered(command))
        out += help_line(*each);
    return out + (command.notes.empty() ? "" : '\n' + flowed("", 0, command.notes));
}

// ---- manual page ----

std::string manual_page(const CommandLine& line, const std::string& version)
{
    const auto plain = [](const std::string& text) {
        const std::string out = escaped(text, "\\-", "\\");
        return out.starts_with('.') || out.starts_with('\'') ? "\\&" + out : out;
    };
    std::string out = ".TH VANTORO 1 \"\" \"vantoro " + version + "\" \"User Commands\"\n.SH NAME\nvantoro \\- " +
                      plain(line.help()) + "\n.SH SYNOPSIS\n.B vantoro\n.I command\n.RI [ arguments ]\n.SH COMMANDS\n";
    for (const CommandText* command : line.commands()) {
        out += ".SS \"" + plain(usage(line, *command)) + "\"\n" + plain(command->help) + ".\n";
        for (const OptionText* each : ordered(*command)) {
            const std::string letter = short_name(*each);
            const std::string names = (letter.empty() ? "" : letter + ", ") + each->long_name();
            const std::string what = each->what.empty() ? "" : "\\fI" + plain(each->what) + "\\fR";
            out += ".TP\n" + (each->is_argument() ? what : "\\fB" + plain(names) + "\\fR " + what) + '\n' +
                   plain(each->help) + '\n';
        }
        if (!command->notes.empty())
            out += ".PP\n" + plain(command->notes) + '\n';
    }
    return out +
           ".SH EXIT STATUS\n0 done; 1 reading, writing or computing failed; 2 something that was given is wrong.\n";
}

// ---- completion ----

namespace {

std::string for_bash(const CommandLine& line)
{
    std::vector<std::string> names;
    std::string cases;
    for (const CommandText* command : line.commands()) {
        names.push_back(command->name);
        std::vector<std::string> options;
        for (const OptionText* each : ordered(*command)) {
            if (!each->is_argument())
                options.push_back(each->long_name());
            if (each->is_argument() && !each->choices.empty())
                options.insert(options.end(), each->choices.begin(), each->choices.end());
            const std::string letter = short_name(*each);
            if (!each->is_argument() && !each->what.empty())
                cases += "        " + (letter.empty() ? "" : command->name + ':' + letter + '|') + command->name + ':' +
                         each->long_name() + ") words=" + quoted(spaced(each->choices)) + " ;;\n";
        }
        cases += "        " + command->name + ":*) words=" + quoted(spaced(options)) + " ;;\n";
    }
    return "_vantoro()\n{\n    local word=${COMP_WORDS[COMP_CWORD]} words=\n    case "
           "${COMP_WORDS[1]}:${COMP_WORDS[COMP_CWORD - 1]} in\n        *:vantoro) words=" +
           quoted(spaced(names)) + " ;;\n" + cases +
           "    esac\n    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n}\n"
           "complete -o default -F _vantoro vantoro\n";
}

std::string for_zsh(const CommandLine& line)
{
    std::string names, cases;
    for (const CommandText* command : line.commands()) {
        names += ' ' + quoted(command->name + ':' + command->help);
        cases += "    " + command->name + ") _arguments -s";
        for (const OptionText* each : ordered(*command)) {
            const std::string action = each->choices.empty() ? "_files" : '(' + spaced(each->choices) + ')';
            const std::string value = each->what.empty() ? "" : ':' + each->what + ':' + action;
            if (each->is_argument()) {
                cases += " \\\n        " + quoted((each->repeated   ? "*:"
                                                   : each->required ? ":"
                                                                    : "::") +
                                                  each->what + ':' + action);
                continue;
            }
            const std::string letter = short_name(*each), help = '[' + escaped(each->help, "[]\\", "\\") + ']' + value;
            for (const std::string& name : {letter, each->long_name()})
                if (!name.empty())
                    cases += " \\\n        " + quoted((each->repeated ? "*" : "") + name + help);
        }
        cases += " ;;\n";
    }
    return "#compdef vantoro\nlocal -a commands=(" + names.substr(1) +
           ")\nif ((CURRENT == 2)); then\n    _describe command commands\n    return\nfi\nshift words\n((CURRENT--))\n"
           "case $words[1] in\n" +
           cases + "esac\n";
}

std::string for_fish(const CommandLine& line)
{
    std::string out;
    const auto text = [](const std::string& words) { return '\'' + escaped(words, "'\\", "\\") + '\''; };
    for (const CommandText* command : line.commands()) {
        out +=
            "complete -c vantoro -f -n __fish_use_subcommand -a " + command->name + " -d " + text(command->help) + '\n';
        for (const OptionText* each : ordered(*command)) {
            const std::string letter = short_name(*each);
            const std::string choices = each->choices.empty() ? "" : " -f -a " + text(spaced(each->choices));
            if (each->is_argument() && choices.empty())
                continue;
            out += "complete -c vantoro -n '__fish_seen_subcommand_from " + command->name + '\'';
            if (!each->is_argument())
                out += (letter.empty() ? "" : " -s " + letter.substr(1)) + " -l " + each->long_name().substr(2) +
                       (each->what.empty() ? "" : " -r") + " -d " + text(each->help);
            out += choices + '\n';
        }
    }
    return out;
}

}  // namespace

std::string completion(const CommandLine& line, const std::string& shell)
{
    return shell == "bash" ? for_bash(line) : shell == "zsh" ? for_zsh(line) : for_fish(line);
}

void add_help_commands(CommandLine& line, const std::string& version)
{
    struct Wanted {
        std::string topic, shell;
        bool manual = false;
    };
    const auto wanted = std::make_shared<Wanted>();
    Command complete = line.add("completion", "Print a script that completes command lines");
    complete.option("shell", wanted->shell, "SHELL", "bash, zsh or fish").required().one_of({"bash", "zsh", "fish"});
    complete.runs([&line, wanted] {
        std::fputs(completion(line, wanted->shell).c_str(), stdout);
        return 0;
    });
    Command help = line.add("help", "Print what a command takes");
    std::vector<std::string> names;
    for (const CommandText* each : line.commands())
        names.push_back(each->name);
    help.option("command", wanted->topic, "COMMAND", "One of the commands").one_of(names);
    help.flag("--man", wanted->manual, "Print the manual page, for man(1)").excludes("command");
    help.runs([&line, wanted, version] {
        std::string text = wanted->manual ? manual_page(line, version) : help_of(line);
        for (const CommandText* each : line.commands())
            if (each->name == wanted->topic)
                text = help_of(line, *each);
        std::fputs(text.c_str(), stdout);
        return 0;
    });
}

}  // namespace vantoro
