// The line that an operator types at a terminal that neither echoes nor edits: backspace, Ctrl-U and Ctrl-W
// erase, the arrows up and down bring earlier lines back.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace halyard {

class LineEditor {
public:
    static constexpr std::size_t kMostRemembered = 100;

    explicit LineEditor(std::size_t mostBytes) : longest(mostBytes) {}

    // The lines that were entered; what is typed since then stays as Text().
    std::vector<std::string> Feed(std::string_view bytes);
    const std::string& Text() const { return text; }
    // Ctrl-D was typed on an empty line.
    bool HasEnded() const { return ended; }

private:
    enum class State { Plain, Escape, Sequence };

    void Type(char byte);
    void FollowSequence(char byte);
    void EraseCharacter();
    void EraseWord();
    void Recall(std::size_t index);
    std::string Enter();

    const std::size_t longest;
    State state = State::Plain;
    std::string text;
    std::vector<std::string> earlier;
    std::size_t recalled = 0;  // which of the earlier lines is shown; their number when none is
    bool ended = false;
};

}  // namespace halyard
