#include "apps/halyard/LineEditor.h"

#include <utility>

namespace halyard {
namespace {

constexpr char kCtrlD = 0x04;
constexpr char kBackspace = 0x08;
constexpr char kCtrlU = 0x15;
constexpr char kCtrlW = 0x17;
constexpr char kEscape = 0x1B;
constexpr char kDelete = 0x7F;

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

}  // namespace

std::vector<std::string> LineEditor::Feed(std::string_view bytes) {
    std::vector<std::string> lines;
    for (const char byte : bytes) {
        if (ended) break;
        if (state != State::Plain) {
            FollowSequence(byte);
        } else if (byte == '\n' || byte == '\r') {
            lines.push_back(Enter());
        } else {
            Type(byte);
        }
    }
    return lines;
}

void LineEditor::Type(char byte) {
    switch (byte) {
        case kCtrlD:
            ended = text.empty();
            break;
        case kBackspace:
        case kDelete:
            EraseCharacter();
            break;
        case kCtrlU:
            text.clear();
            break;
        case kCtrlW:
            EraseWord();
            break;
        case kEscape:
            state = State::Escape;
            break;
        default:
            if (static_cast<unsigned char>(byte) >= 0x20 && text.size() < longest) text += byte;
    }
}

// Keys that are no characters begin with an escape; all but the two arrows are ignored.
void LineEditor::FollowSequence(char byte) {
    if (state == State::Escape) {
        state = byte == '[' || byte == 'O' ? State::Sequence : State::Plain;
        return;
    }
    if (byte < 0x40 || byte > 0x7E) return;  // parameters
    state = State::Plain;
    if (byte == 'A' && recalled > 0) Recall(recalled - 1);
    if (byte == 'B' && recalled < earlier.size()) Recall(recalled + 1);
}

void LineEditor::EraseCharacter() {
    while (!text.empty() && IsContinuation(text.back()))
        text.pop_back();
    if (!text.empty()) text.pop_back();
}

void LineEditor::EraseWord() {
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    while (!text.empty() && text.back() != ' ')
        text.pop_back();
}

void LineEditor::Recall(std::size_t index) {
    recalled = index;
    text = index < earlier.size() ? earlier[index] : std::string();
}

std::string LineEditor::Enter() {
    std::string line = std::exchange(text, {});
    if (!line.empty() && (earlier.empty() || earlier.back() != line)) earlier.push_back(line);
    if (earlier.size() > kMostRemembered) earlier.erase(earlier.begin());
    recalled = earlier.size();
    return line;
}

}  // namespace halyard
