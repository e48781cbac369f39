// A machine as far as the network can tell: a network namespace with a message bus and an Avahi daemon of its
// own, whose files and sockets nobody else sees.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/host/ChildProcess.h"
#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace e2e {

class Machine {
public:
    explicit Machine(std::string hostName);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Joins two machines by a cable. Each end gets its addresses in 10.77.0.0/24.
    static void Connect(const Machine& one, const std::vector<std::string>& addressesOfOne,
                        const Machine& other, const std::vector<std::string>& addressesOfOther);

    void StartBus();
    // The daemon announces what AddService() was told before.
    void StartAvahi();
    void StopAvahi();
    // `textRecords` are lines of XML as in a file of /etc/avahi/services.
    void AddService(const std::string& name, const std::string& textRecords) const;

    // Runs a program on this machine.
    std::unique_ptr<ChildProcess> Run(const std::string& program,
                                      const std::vector<std::string>& arguments) const;

private:
    std::string Script() const;
    void WriteFiles() const;
    void AddAddresses(const std::string& interface, const std::vector<std::string>& addresses) const;
    void WaitUntilUp(const std::string& interface) const;
    // Fails the test when the command fails.
    void Do(const std::string& program, const std::vector<std::string>& arguments) const;

    const std::string name;
    const tests::TemporaryDirectory directory;
    std::unique_ptr<ChildProcess> holder;  // keeps the namespaces
    std::unique_ptr<ChildProcess> bus;
    std::unique_ptr<ChildProcess> avahi;
};

}  // namespace e2e
