// SPDX-License-Identifier: Apache-2.0
// vantoro: runs audio through a schematic of libvantoro's blocks, checks it, draws it, exports it, and lists the
// blocks.
#include <cstdio>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <string_view>

#include "commands/commands.h"
#include "io/standard_streams.h"
#include "io/unfinished.h"
#include "support/printable.h"

namespace {

int complain(std::string_view text, int status)
{
    std::fprintf(stderr, "vantoro: %s\n", vantoro::printable(text).c_str());
    return status;
}

}  // namespace

int main(int argc, char** argv)
{
    vantoro::open_standard_streams();
    vantoro::watch_signals();
    int status = 0;
    try {
        CLI::App app{"Audio through a schematic of signal-processing blocks", "vantoro"};
        app.require_subcommand(1);
        app.set_version_flag("--version", "vantoro " VANTORO_VERSION "\nlive audio: " + vantoro::backend_names());
        vantoro::add_run_command(app, status);
        vantoro::add_live_command(app, status);
        vantoro::add_devices_command(app, status);
        vantoro::add_check_command(app, status);
        vantoro::add_blocks_command(app, status);
        vantoro::add_graph_command(app, status);
        vantoro::add_response_command(app, status);
        vantoro::add_export_command(app, status);
        vantoro::add_import_command(app, status);
        vantoro::add_diff_command(app, status);
        vantoro::add_remote_commands(app, status);
        try {
            app.parse(argc, argv);
        } catch (const CLI::Success& asked) {  // --help
            std::ostringstream text;
            status = app.exit(asked, text);
            std::fputs(text.str().c_str(), stdout);
        } catch (const CLI::ParseError& error) {
            complain(error.what(), vantoro::kUsageError);
            return complain("see 'vantoro --help' and 'vantoro COMMAND --help'", vantoro::kUsageError);
        }
        vantoro::finish_standard_output();
    } catch (const vantoro::UserError& error) {
        vantoro::print_problems(error.problems());
        return vantoro::kUsageError;
    } catch (const std::bad_alloc&) {
        return complain("out of memory", vantoro::kFailure);
    } catch (const std::exception& error) {
        return complain(error.what(), vantoro::kFailure);
    }
    return status;
}
