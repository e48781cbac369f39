#pragma once

#include <exception>
#include <string_view>

#include "connection/trace_note.h"

// Runs one job at the edge of the main thread. What it throws, mostly because a phone sent nonsense, ends the
// job, is traced and goes no further.
template <class Job>
void RunGuarded(const char* name, const Job& job) noexcept {
    constexpr std::size_t kLongestReason = 200;  // the JSON library quotes what it read
    try {
        job();
    } catch (const std::exception& error) {
        const std::string_view reason = error.what();
        TraceNote("{} failed: {}\n", name, reason.substr(0, kLongestReason));
    } catch (...) {
        TraceNote("{} failed\n", name);
    }
}
