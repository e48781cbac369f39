#include "apps/halyard/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace halyard {
namespace {

struct Room {
    std::size_t columns = 80;
    std::size_t rows = 24;
};

Room RoomOf(int descriptor) {
    winsize size{};
    Room room;
    if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 1 && size.ws_row > 1)
        room = {size.ws_col, size.ws_row};
    return room;
}

// A line that wraps would put the cursor in another place than counted.
std::string Shortened(std::string_view line, std::size_t columns) {
    if (line.size() < columns) return std::string(line);
    std::size_t end = columns - 1;
    while (end > 0 && (static_cast<unsigned char>(line[end]) & 0xC0U) == 0x80)
        --end;
    return std::string(line.substr(0, end));
}

// What is being typed matters more than what stands before it.
std::string LastPart(std::string_view line, std::size_t columns) {
    if (line.size() < columns) return std::string(line);
    std::size_t begin = line.size() - columns + 1;
    while (begin < line.size() && (static_cast<unsigned char>(line[begin]) & 0xC0U) == 0x80)
        ++begin;
    return std::string(line.substr(begin));
}

void WriteAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;  // nobody reads any more
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

template <class... Values>
std::string Format(const char* format, Values... values) {
    char text[64];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string Padded(std::string text, std::size_t width) {
    if (text.size() < width) text.append(width - text.size(), ' ');
    return text;
}

}  // namespace

std::string FormatProgressLine(const ProgressLine& line) {
    const std::string size =
        line.width > 0 ? std::to_string(line.width) + "x" + std::to_string(line.height) : "-";
    const std::string level = line.soundLevel ? Format("%6.1f dBFS", *line.soundLevel) : "     - dBFS";
    std::string text = Padded(line.address.empty() ? "-" : line.address, 15) + "  " + Padded(line.state, 8) +
                       "  " + Padded(size, 9) + "  " + Format("%5.1f pictures/s", line.picturesPerSecond) +
                       "  " + level;
    if (line.latencyMs) text += "  " + Format("%5.1f ms", *line.latencyMs);
    text += "  " + Padded(line.status.value_or("-"), 13) + "  ";
    return text + (line.megabitsPerSecond ? Format("%5.1f Mbit/s", *line.megabitsPerSecond) : "    - Mbit/s");
}

Progress::Style Progress::StyleFor(int descriptor, bool quiet) {
    if (quiet) return Style::None;
    const char* terminal = std::getenv("TERM");
    const bool plain = terminal == nullptr || std::string_view(terminal) == "dumb";
    return isatty(descriptor) != 0 && !plain ? Style::Redrawn : Style::PlainLines;
}

Progress::Progress(int outputDescriptor, Style outputStyle) : output(outputDescriptor), style(outputStyle) {}

void Progress::Show(const std::vector<std::string>& lines) {
    if (style == Style::None) return;
    const support::MutexLock lock(mutex);
    if (style == Style::PlainLines) {
        std::string text;
        for (const std::string& line : lines)
            text += line + "\n";
        WriteAll(output, text);
        return;
    }
    progressLines = lines;
    Redraw();
}

void Progress::ShowPanel(const std::vector<std::string>& lines) {
    if (style != Style::Redrawn) return;
    const support::MutexLock lock(mutex);
    panelLines = lines;
    Redraw();
}

void Progress::ShowPrompt(const std::optional<std::string>& text) {
    if (style != Style::Redrawn) return;
    const support::MutexLock lock(mutex);
    prompt = text;
    Redraw();
}

void Progress::Write(int toDescriptor, const std::string& text) {
    const support::MutexLock lock(mutex);
    const bool meets = (drawnLines > 0 || promptDrawn) && isatty(toDescriptor) != 0;
    if (meets) WriteAll(output, Erasure());
    WriteAll(toDescriptor, text);
    if (meets) WriteAll(output, Drawing());
}

// In one piece, so that the terminal never shows half of it.
void Progress::Redraw() {
    const std::string erasure = Erasure();
    WriteAll(output, erasure + Drawing());
}

std::string Progress::Erasure() const {
    if (drawnLines == 0 && !promptDrawn) return {};
    const std::string up = drawnLines > 0 ? "\x1b[" + std::to_string(drawnLines) + "A" : std::string();
    return "\r" + up + "\x1b[J";
}

// What does not fit into the terminal is left out: at the end of the progress, then of the panel.
std::string Progress::Drawing() {
    const Room room = RoomOf(output);
    const std::size_t rows = room.rows - 1;  // the last one is the cursor's
    const std::size_t panelCount = std::min(panelLines.size(), rows);
    const std::size_t progressCount = std::min(progressLines.size(), rows - panelCount);
    std::string text;
    for (std::size_t index = 0; index < progressCount; ++index)
        text += Shortened(progressLines[index], room.columns) + "\n";
    for (std::size_t index = 0; index < panelCount; ++index)
        text += Shortened(panelLines[index], room.columns) + "\n";
    if (prompt) text += LastPart(*prompt, room.columns);
    drawnLines = progressCount + panelCount;
    promptDrawn = prompt.has_value();
    return text;
}

}  // namespace halyard
