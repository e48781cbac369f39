// Loopback addresses of this process alone: every phone listens on the same port, and tests may run side by
// side.
#pragma once

#include <unistd.h>

#include <string>

namespace e2e {

// `number` is 0 to 2.
inline std::string OwnAddress(int number) {
    const int process = getpid();
    return "127." + std::to_string(64 + ((process >> 14) & 0x3F)) + "." +
           std::to_string((process >> 6) & 0xFF) + "." + std::to_string((process & 0x3F) * 4 + 1 + number);
}

}  // namespace e2e
