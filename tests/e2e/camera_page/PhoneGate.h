// `petrel serve` as a child process, with a state folder of its own.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/host/ChildProcess.h"
#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace camera_page {

class PhoneGate {
public:
    PhoneGate() { Start(); }

    void Start();  // until it has shown its address and code
    void Stop();   // with SIGTERM; it must end with 0
    void Kill();   // at once

    // "https://10.78.0.1:9443/#pair=XXXX-XXXX": of the newest code.
    std::string PairUrl() const;
    std::string Url() const;          // without a code
    std::string OperatorUrl() const;  // for a browser that is not on this machine
    // The output of another command of the program, on the same state.
    std::string Run(std::vector<std::string> words) const;
    std::string Log() const { return process->Output() + process->Errors(); }

private:
    const tests::TemporaryDirectory state;
    std::unique_ptr<e2e::ChildProcess> process;
};

}  // namespace camera_page
