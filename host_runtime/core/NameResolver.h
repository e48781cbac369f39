// Turns host names into addresses within a bounded time, with a short-lived cache.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace host_runtime {

class NameResolver {
public:
    // Blocks as long as it likes; runs on a thread of its own.
    using Resolve = std::function<std::optional<std::string>(const std::string& name)>;

    struct Limits {
        std::chrono::milliseconds timeout{1000};  // of one look-up, from its start
        std::chrono::milliseconds keepFound{30'000};
        std::chrono::milliseconds keepMissing{5'000};
        std::size_t cachedNames = 64;
        std::size_t runningLookups = 8;
    };

    NameResolver(Resolve resolveFunction, Limits resolverLimits);
    // Look-ups still running are left to themselves: a system resolver cannot be interrupted.
    ~NameResolver();
    NameResolver(const NameResolver&) = delete;
    NameResolver& operator=(const NameResolver&) = delete;

    // [any-thread] Callers that ask for the same name share one look-up; one that overran its time answers
    // "none" at once until it ends.
    std::optional<std::string> Lookup(const std::string& name);

private:
    struct State;
    std::shared_ptr<State> state;
};

// The numeric text of an address literal; nothing for names.
std::optional<std::string> AddressLiteral(const std::string& host);

// The system's answer for a name: its first address.
std::optional<std::string> ResolveWithSystem(const std::string& name);

}  // namespace host_runtime
