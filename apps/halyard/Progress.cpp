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
    std::string text = Padded(line.address, 15) + "  " + Padded(line.state, 8) + "  " + Padded(size, 9) +
                       "  " + Format("%5.1f pictures/s", line.picturesPerSecond) + "  " + level;
    if (line.latencyMs) text += "  " + Format("%5.1f ms", *line.latencyMs);
    return text;
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
    const std::string erasure = Erasure();
    const Room room = RoomOf(output);
    const std::size_t count = std::min(lines.size(), room.rows - 1);
    shown.clear();
    for (std::size_t index = 0; index < count; ++index)
        shown.push_back(Shortened(lines[index], room.columns));
    WriteAll(output, erasure + Drawing());
}

void Progress::Write(int toDescriptor, const std::string& text) {
    const support::MutexLock lock(mutex);
    const bool meets = style == Style::Redrawn && !shown.empty() && isatty(toDescriptor) != 0;
    if (meets) WriteAll(output, Erasure());
    WriteAll(toDescriptor, text);
    if (meets) WriteAll(output, Drawing());
}

std::string Progress::Erasure() const {
    return shown.empty() ? std::string() : "\r\x1b[" + std::to_string(shown.size()) + "A\x1b[J";
}

std::string Progress::Drawing() const {
    std::string text;
    for (const std::string& line : shown)
        text += line + "\n";
    return text;
}

}  // namespace halyard
