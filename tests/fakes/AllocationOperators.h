// The operators new and delete of a program that wants to know of every allocation in C++, in all its
// libraries. What C libraries take for themselves is not seen.
#pragma once

namespace tests {

// Defined by the program, called before each allocation on its thread. It may throw std::bad_alloc, and must
// not allocate itself.
void BeforeAllocation();

}  // namespace tests
