#include "tests/faults/link/Conditions.h"

#include <cmath>
#include <map>
#include <sstream>

namespace faults {
namespace {

constexpr double kUsPerMs = 1000.0;
constexpr double kLargest = 1e9;

using Setter = void (*)(Conditions&, double);

struct Setting {
    Setter set;
    double largest;
};

const std::map<std::string, Setting>& Settings() {
    static const std::map<std::string, Setting> settings = {
        {"loss", {[](Conditions& to, double value) { to.lossPercent = value; }, 100}},
        {"delay",
         {[](Conditions& to, double value) { to.delayUs = std::llround(value * kUsPerMs); }, kLargest}},
        {"jitter",
         {[](Conditions& to, double value) { to.jitterUs = std::llround(value * kUsPerMs); }, kLargest}},
        {"reorder", {[](Conditions& to, double value) { to.reorderPercent = value; }, 100}},
        {"duplicate", {[](Conditions& to, double value) { to.duplicatePercent = value; }, 100}},
        {"rate", {[](Conditions& to, double value) { to.rateKbits = std::llround(value); }, kLargest}},
        {"queue",
         {[](Conditions& to, double value) { to.queueBytes = static_cast<std::size_t>(value); }, kLargest}},
    };
    return settings;
}

}  // namespace

bool Apply(const std::string& command, Conditions& conditions) {
    std::istringstream in(command);
    std::string name;
    std::string rest;
    double value = 0;
    in >> name;
    if (name == "up" || name == "down") {
        if (in >> rest) return false;
        conditions.up = name == "up";
        return true;
    }
    const auto found = Settings().find(name);
    if (found == Settings().end() || !(in >> value) || (in >> rest)) return false;
    if (!std::isfinite(value) || value < 0 || value > found->second.largest) return false;
    found->second.set(conditions, value);
    return true;
}

}  // namespace faults
