// Reads class declarations as text. The order in which virtual operations and bases are declared is the
// order of the slots in the binary interface, so it is part of the contract.
#pragma once

#include <string>
#include <vector>

namespace tests {

struct DeclaredClass {
    std::vector<std::string> bases;       // in order, without access and qualification
    std::vector<std::string> operations;  // declared virtual here, in order; the destructor as "~"
};

// `header` is relative to the repository; `className` may be nested ("Outer::Inner"). Operations that
// override are only counted when they are declared with the word virtual.
DeclaredClass ReadDeclaredClass(const std::string& header, const std::string& className);

}  // namespace tests
