// The report at the end of a run.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/halyard/SourceMonitor.h"

namespace halyard {

struct ReportedSource {
    std::string identifier;
    std::string name;
    std::string address;
    std::int64_t activatedAtUs = 0;  // steady clock
    SourceMonitor::Counts counts;
    std::optional<std::string> status;  // the panel's words; nothing without a panel
    std::optional<double> megabitsPerSecond;
};

// One JSON object, with a line feed at its end. What was never measured is null.
std::string ReportText(double durationSeconds, const std::vector<ReportedSource>& sources);

}  // namespace halyard
