// What a 64-bit ELF library shows to others: the symbols that it defines and the libraries that it needs.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace tests {

struct DynamicTables {
    std::set<std::string> exports;    // demangled; constructors and destructors once, whatever their variants
    std::vector<std::string> needed;  // in link order
    std::uint64_t stateFlags = 0;     // DT_FLAGS_1
};

// Throws std::runtime_error when the file is no such library.
DynamicTables ReadDynamicTables(const std::string& path);

}  // namespace tests
