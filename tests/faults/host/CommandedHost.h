// A host with the plug-in as it is shipped, that does what it is told line by line: a story that adds and
// removes thousands of sources needs no start of a program for each.
#pragma once

#include <map>
#include <string>

#include "tests/e2e/host/HostHarness.h"

namespace faults {

class CommandedHost {
public:
    // One line: "add ADDRESS", "remove ADDRESS", "connect ADDRESS" (as the operator's button), "show
    // ADDRESS", "trim" (gives unused memory back) or "quit". Each is answered by one line of JSON.
    std::string Obey(const std::string& line);
    bool HasEnded() const { return ended; }

    e2e::HostHarness harness;

private:
    std::map<std::string, e2e::HostHarness::Pulled> sources;
    bool ended = false;
};

}  // namespace faults
