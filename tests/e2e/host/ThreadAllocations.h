// Counts what each thread of the program that it is linked to allocates in C++, in all its libraries. What C
// libraries take for themselves is not counted.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>

namespace e2e {

struct ThreadUse {
    std::string name;
    std::int64_t allocations = 0;  // since the thread began
    std::int64_t pageFaults = 0;
};

// The living threads by their identifiers.
std::map<pid_t, ThreadUse> UseByThread();

}  // namespace e2e
