// `petrel simulate` as a child process.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/host/ChildProcess.h"

namespace e2e {

class SimulatedPhone {
public:
    // Returns once the phone listens at `listenAddress`. The arguments are added to the command line.
    SimulatedPhone(std::string listenAddress, std::vector<std::string> arguments);

    const std::string& Address() const { return address; }
    ChildProcess& Process() { return *process; }

    void Kill();   // at once, without a goodbye
    void Start();  // again, as it was

private:
    const std::string address;
    const std::vector<std::string> words;
    std::unique_ptr<ChildProcess> process;
};

}  // namespace e2e
