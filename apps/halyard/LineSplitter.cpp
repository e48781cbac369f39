#include "apps/halyard/LineSplitter.h"

#include <utility>

namespace halyard {

std::vector<std::string> LineSplitter::Feed(std::string_view bytes) {
    std::vector<std::string> lines;
    for (const char byte : bytes) {
        if (byte == '\n') {
            lines.push_back(std::exchange(open, {}));
        } else if (open.size() < longest) {
            open += byte;
        }
    }
    return lines;
}

std::vector<std::string> LineSplitter::Finish() {
    if (open.empty()) return {};
    return {std::exchange(open, {})};
}

}  // namespace halyard
