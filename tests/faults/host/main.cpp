// Reads commands for a host from standard input until "quit" or its end.
#include <malloc.h>

#include <chrono>
#include <iostream>
#include <string>
#include <thread>

#include "host/core/zThread.h"
#include "tests/faults/host/CommandedHost.h"

int main() {
    // Memory that threads leave behind in arenas of their own would hide what is really kept.
    mallopt(M_ARENA_MAX, 1);
    faults::CommandedHost host;
    std::thread reader([&host] {
        for (std::string line; std::getline(std::cin, line);) {
            zThread::ExecuteOnMainThread([&host, line] { std::cout << host.Obey(line) << std::endl; });
            if (line == "quit") return;
        }
        zThread::ExecuteOnMainThread([&host] { host.Obey("quit"); });
    });
    constexpr std::chrono::hours kLongEnough{24};
    host.harness.RunUntil([&host] { return host.HasEnded(); }, kLongEnough);
    reader.join();
    return 0;
}
