// SPDX-License-Identifier: Apache-2.0
// What people and shells read about the command line.
#pragma once

#include <string>

namespace vantoro {

class CommandLine;
struct CommandText;

std::string help_of(const CommandLine& line);
std::string help_of(const CommandLine& line, const CommandText& command);

// The manual page, for man(1), in the language of groff's man macros.
std::string manual_page(const CommandLine& line, const std::string& version);

// A script that completes commands, options, their choices and files; for "bash", "zsh" or "fish".
std::string completion(const CommandLine& line, const std::string& shell);

void add_help_commands(CommandLine& line, const std::string& version);  // help, completion

}  // namespace vantoro
