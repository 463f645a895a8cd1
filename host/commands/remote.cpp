// SPDX-License-Identifier: Apache-2.0
// vantoro set ADDRESS BLOCK.PARAM=VALUE ... and vantoro get ADDRESS [PATH ...]: values of a schematic that plays.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <nlohmann/json.hpp>

#include "catalog/path.h"
#include "commands/commands.h"
#include "server/client.h"
#include "support/json_lines.h"

namespace vantoro {

namespace {

using nlohmann::ordered_json;

struct Options {
    std::string address, token_file;
    std::vector<std::string> arguments;
};

// Never an argument: those are seen by all users of a machine.
std::string token_of(const Options& options)
{
    std::string token;
    if (!options.token_file.empty())
        token = read_file(options.token_file);
    else if (const char* given = std::getenv("VANTORO_TOKEN"))
        token = given;
    token.erase(token.find_last_not_of(" \r\n") + 1);
    return token;
}

std::vector<Problem> warnings_of(const ordered_json& answer)
{
    std::vector<Problem> warnings;
    for (const ordered_json& w : answer.value("warnings", ordered_json::array()))
        warnings.push_back({w.value("where", ""), w.value("value", ""), w.value("wanted", ""), true});
    return warnings;
}

void set_values(const Options& options)
{
    ordered_json values = ordered_json::object();
    for (const std::string& text : options.arguments) {
        const Setting setting = parse_setting(text);
        if (setting.seconds > 0)
            throw UserError(text + ": it is set at once; leave out @ and the seconds");
        values[setting.block + '.' + setting.path] = value_of(setting.value);
    }
    Client client(options.address, token_of(options));
    print_problems(warnings_of(client.ask({{"set", values}})));
}

// One value is printed by itself, several as an object.
void get_values(const Options& options)
{
    Client client(options.address, token_of(options));
    const ordered_json values = client.ask({{"get", options.arguments}})["values"];
    const ordered_json& shown = options.arguments.size() == 1 ? values.front() : values;
    std::fputs(shown.is_string() ? (shown.get<std::string>() + '\n').c_str() : json_lines(shown).c_str(), stdout);
}

using Run = void (*)(const Options&);

Command add(CommandLine& line, const char* name, const char* help, const std::shared_ptr<Options>& options, Run run)
{
    Command command = line.add(name, help);
    command.option("address", options->address, "ADDRESS", "As 'vantoro live' prints it: http://127.0.0.1:7420/")
        .required();
    command.option("--token-file", options->token_file, "FILE",
                   "Where the server's token is [the variable VANTORO_TOKEN]");
    command.runs([options, run] {
        run(*options);
        return 0;
    });
    return command;
}

}  // namespace

void add_remote_commands(CommandLine& line)
{
    auto set = std::make_shared<Options>(), get = std::make_shared<Options>();
    add(line, "set", "Change values of a schematic that 'vantoro live' plays", set, set_values)
        .option("values", set->arguments, "BLOCK.PARAM=VALUE", "What to change")
        .required();
    add(line, "get", "Print values of a schematic that 'vantoro live' plays", get, get_values)
        .option("values", get->arguments, "PATH", "A block or a value: eq, eq.fc [all]");
}

}  // namespace vantoro
