// What the fuzz targets share: rules that must hold, and objects that must be gone after each input.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>

namespace fuzzing {

// Ends the process, which is a find, when a rule does not hold.
void Require(bool holds, const char* rule);

struct LivingCount {
    const char* name;
    std::int64_t (*alive)();
};
void RequireNoneAlive(std::initializer_list<LivingCount> counts);

// Runs what may let errors of the JSON library out, as the boundary to the main thread does. False when one
// came. Nothing else is caught.
bool WithoutJsonError(const std::function<void()>& action);

// The host trace while it lives: silent, but no line may have failed to be formatted.
class QuietTrace {
public:
    QuietTrace();
    ~QuietTrace();
    QuietTrace(const QuietTrace&) = delete;
    QuietTrace& operator=(const QuietTrace&) = delete;
};

}  // namespace fuzzing
