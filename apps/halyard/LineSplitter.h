// Bytes that come in pieces, cut into lines.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace halyard {

class LineSplitter {
public:
    // A longer line loses what is beyond, so that a stream without line feeds needs no memory.
    explicit LineSplitter(std::size_t mostBytes) : longest(mostBytes) {}

    // The lines that are complete now, without their ends.
    std::vector<std::string> Feed(std::string_view bytes);
    // At the end of the stream: a last line that has no end; none when it is empty.
    std::vector<std::string> Finish();

private:
    const std::size_t longest;
    std::string open;
};

}  // namespace halyard
