// Answers that the host of this system would not give, but another one may. The linker gives the plug-in's
// calls to these in place of the host's (--wrap).
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/core/zStatus.h"

class eView;
class zRecord;

namespace tests {

struct PlayedHost {
    struct Answer {
        bool succeeded = false;
        std::string text;
    };
    struct AddedView {
        const eView* child = nullptr;
        std::int32_t position = 0;
    };

    std::map<std::string, std::string> translations;
    std::optional<Answer> lookUp;     // of every host name
    std::optional<Answer> hostOfUrl;  // of every URL
    std::function<zStatus(const zRecord& layout, eView** views)> makeViews;
    std::vector<AddedView> addedViews;
};

// What is left empty is answered by the real host.
PlayedHost& ThePlayedHost();

}  // namespace tests
