#include "tests/e2e/rendezvous/TurnServer.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>

#include "tests/e2e/rendezvous/NetworkNamespace.h"

namespace rendezvous {

TurnServer::TurnServer(const std::string& listenAddress, const std::string& relayAddress) {
    const std::string program = FindProgram("turnserver");
    if (program.empty()) {
        problem = "There is no program \"turnserver\" (Debian's coturn).";
        return;
    }
    directory = testing::TempDir() + "turn-XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) {
        problem = "There is no place for the TURN server's files.";
        return;
    }
    process = std::make_unique<e2e::ChildProcess>(
        program, std::vector<std::string>{"-n",
                                          "--listening-ip",
                                          listenAddress,
                                          "--relay-ip",
                                          relayAddress,
                                          "--listening-port",
                                          std::to_string(kPort),
                                          "--min-port",
                                          "49160",
                                          "--max-port",
                                          "49260",
                                          "--lt-cred-mech",
                                          "--realm",
                                          "rendezvous.test",
                                          "--user",
                                          std::string(kUser) + ":" + kPassword,
                                          "--no-cli",
                                          "--no-tls",
                                          "--no-dtls",
                                          "--log-file",
                                          "stdout",
                                          "--simple-log",
                                          "--verbose",
                                          "--userdb",
                                          directory + "/users",
                                          "--pidfile",
                                          directory + "/pid"});
    if (!process->WaitForOutput("SQLite DB connection success", std::chrono::seconds(20)))
        problem = "The TURN server does not start: " + process->Output() + process->Errors();
}

TurnServer::~TurnServer() {
    process.reset();
    if (!directory.empty()) std::filesystem::remove_all(directory);
}

void TurnServer::Kill() {
    process->Signal(SIGKILL);
    EXPECT_TRUE(process->WaitForEnd(std::chrono::seconds(20)));
}

}  // namespace rendezvous
