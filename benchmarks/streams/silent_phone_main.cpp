// A phone that takes the call and says nothing: silent_phone ADDRESS. Ends with its standard input.
#include <signal.h>

#include <cstdio>
#include <string>

#include "benchmarks/streams/Commands.h"
#include "web_server/WebSocketServer.h"

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);
    if (argc != 2) {
        std::fputs("silent_phone ADDRESS\n", stderr);
        return 2;
    }
    web_server::WebSocketServerOptions options;
    options.address = argv[1];
    options.port = 9001;
    web_server::WebSocketHandlers handlers;
    handlers.onOpen = [](const auto&) { benchmarks::Say("{\"event\":\"opened\"}\n"); };
    handlers.onMessage = [](const auto&, const std::string&) {};
    handlers.onClose = [](const auto&) {};
    std::string error;
    const auto server = web_server::WebSocketServer::Listen(options, std::move(handlers), error);
    if (!server) {
        std::fprintf(stderr, "silent_phone: %s\n", error.c_str());
        return 1;
    }
    benchmarks::Say("{\"event\":\"ready\"}\n");
    benchmarks::ReadCommands({[](bool) {}, [] { return std::string(); }});
    return 0;
}
