#include "apps/petrel/serve/RefusalLog.h"

namespace petrel {

void RefusalLog::Add(const std::string& address, const std::string& reason, Time now) {
    Tick(now);
    if (lines == 0) begin = now;
    if (lines >= kLinesInAPeriod) {
        ++leftOut;
        return;
    }
    ++lines;
    write(address + ": refused: " + reason);
}

void RefusalLog::Tick(Time now) {
    if (lines == 0 || now - begin < kPeriod) return;
    if (leftOut > 0) write("and " + std::to_string(leftOut) + " more requests were refused");
    lines = 0;
    leftOut = 0;
}

}  // namespace petrel
