// A real TURN server as a child process.
#pragma once

#include <memory>
#include <string>

#include "tests/e2e/host/ChildProcess.h"

namespace rendezvous {

class TurnServer {
public:
    static constexpr int kPort = 3478;
    static constexpr const char* kUser = "halyard";
    static constexpr const char* kPassword = "s3cr@t/%1";  // with signs that mean something in a URL

    // Takes requests at one address and relays from the other, both of the namespace of the calling thread.
    TurnServer(const std::string& listenAddress, const std::string& relayAddress);
    ~TurnServer();
    TurnServer(const TurnServer&) = delete;
    TurnServer& operator=(const TurnServer&) = delete;

    // Empty when it runs.
    const std::string& Problem() const { return problem; }
    std::string Output() const { return process ? process->Output() : std::string(); }
    void Kill();

private:
    std::string directory;
    std::string problem;
    std::unique_ptr<e2e::ChildProcess> process;
};

}  // namespace rendezvous
