#pragma once

#include <utility>

namespace support {

// Runs a function at the end of a scope.
template <class Function>
class ScopeGuard {
public:
    explicit ScopeGuard(Function atExit) : function(std::move(atExit)) {}
    ~ScopeGuard() { function(); }
    ScopeGuard(const ScopeGuard&) = delete;
    ScopeGuard& operator=(const ScopeGuard&) = delete;

private:
    Function function;
};

}  // namespace support
