// What this process holds of the system.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace e2e {

struct ProcessResources {
    std::int64_t threads = 0;
    std::int64_t descriptors = 0;
    std::int64_t sockets = 0;
    std::int64_t residentKib = 0;
    std::map<std::string, std::int64_t> threadNames;
};

ProcessResources OwnResources();
std::string Text(const ProcessResources& resources);

}  // namespace e2e
