// Stands in for the host's view handle and writes down how it is used; tells of each alert as well.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tests {

struct MadeView {
    std::string variable;
    std::uint32_t identifier = 0;
    friend bool operator==(const MadeView&, const MadeView&) = default;
};

struct WrittenText {
    std::string variable;
    std::uint32_t field = 0;
    std::string text;
    std::uint32_t flags = 0;
    friend bool operator==(const WrittenText&, const WrittenText&) = default;
};

struct ViewLog {
    std::vector<MadeView> made;
    std::vector<WrittenText> written;
    std::vector<std::uint32_t> fieldsRead;
    std::string typed;              // what every view holds
    std::function<void()> onAlert;  // before the panel's alert is queued
};

ViewLog& Views();

}  // namespace tests
