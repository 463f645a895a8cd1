// SPDX-License-Identifier: Apache-2.0
// Serves a schematic without audio: serve SCHEMATIC [PORT [token | ADDRESS]]. Prints the address and the token, and
// ends with its standard input. VANTORO_PAGE names a folder with the page's files, to use instead of those built in.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "control/document.h"
#include "fake_player.h"
#include "server/server.h"

int main(int argc, char** argv)
try {
    if (argc < 2) {
        std::fputs("usage: serve SCHEMATIC [PORT [token | ADDRESS]]\n", stderr);
        return 2;
    }
    vantoro::Folder folder(argv[1]);
    vantoro::Document document(folder, {});
    FakePlayer player(document.heard(), document.rate());
    vantoro::ServerOptions options;
    options.program = "test";
    if (const char* page = std::getenv("VANTORO_PAGE"))
        options.page_folder = page;
    if (argc > 2)
        options.port = std::atoi(argv[2]);
    options.ask_token = argc > 3 && argv[3] == std::string_view("token");
    if (argc > 3 && !options.ask_token)
        options.listen = argv[3];
    vantoro::Server server(player, document, options);
    server.start();
    std::printf("%s %s\n", server.address().c_str(), server.token().c_str());
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "serve: %s\n", error.what());
    return 1;
}
