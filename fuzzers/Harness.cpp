#include "fuzzers/Harness.h"

#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "host_runtime/core/TraceOutput.h"

namespace fuzzing {

void Require(bool holds, const char* rule) {
    if (holds) return;
    std::fprintf(stderr, "BROKEN RULE: %s\n", rule);
    std::abort();
}

void RequireNoneAlive(std::initializer_list<LivingCount> counts) {
    for (const LivingCount& count : counts) {
        const std::int64_t alive = count.alive();
        if (alive == 0) continue;
        std::fprintf(stderr, "BROKEN RULE: %lld left behind: %s\n", static_cast<long long>(alive),
                     count.name);
        std::abort();
    }
}

bool WithoutJsonError(const std::function<void()>& action) {
    try {
        action();
    } catch (const nlohmann::json::exception&) {
        return false;
    }
    return true;
}

QuietTrace::QuietTrace() {
    host_runtime::SetTraceSink([](zFourCC, const std::string& text) {
        const bool failed = text.starts_with("zTrace ") || text.starts_with("zUserLog ");
        if (failed) std::fputs(text.c_str(), stderr);
        Require(!failed, "every line of the trace and the user log can be formatted");
    });
}

QuietTrace::~QuietTrace() {
    host_runtime::SetTraceSink({});
}

}  // namespace fuzzing
