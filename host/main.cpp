// SPDX-License-Identifier: Apache-2.0
// vantoro: runs audio through a schematic of libvantoro's blocks, checks it, draws it, exports it, and lists the
// blocks.
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "commands/commands.h"
#include "commands/manual.h"
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
    try {
        vantoro::CommandLine line("vantoro", "Audio through a schematic of signal-processing blocks",
                                  "vantoro " VANTORO_VERSION "\nlive audio: " + vantoro::backend_names());
        vantoro::add_run_command(line);
        vantoro::add_live_command(line);
        vantoro::add_devices_command(line);
        vantoro::add_check_command(line);
        vantoro::add_blocks_command(line);
        vantoro::add_graph_command(line);
        vantoro::add_response_command(line);
        vantoro::add_measure_command(line);
        vantoro::add_export_command(line);
        vantoro::add_import_command(line);
        vantoro::add_diff_command(line);
        vantoro::add_remote_commands(line);
        vantoro::add_help_commands(line, VANTORO_VERSION);
        const int status = line.run(argc, argv);
        vantoro::finish_standard_output();
        return status;
    } catch (const vantoro::UserError& error) {
        vantoro::print_problems(error.problems());
        return vantoro::kUsageError;
    } catch (const std::bad_alloc&) {
        return complain("out of memory", vantoro::kFailure);
    } catch (const std::exception& error) {
        return complain(error.what(), vantoro::kFailure);
    }
}
