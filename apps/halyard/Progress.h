// The lines that tell how the sources do: drawn over each other on a terminal, plain lines elsewhere. Other
// texts for the same terminal go through here too, so that they never end up inside a line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "support/annotated_mutex.h"

namespace halyard {

struct ProgressLine {
    std::string address;
    std::string state;
    int width = 0;
    int height = 0;
    double picturesPerSecond = 0;
    std::optional<double> soundLevel;  // dB of full scale
    std::optional<double> latencyMs;
    std::optional<std::string> status;  // as the panel says it, like the data rate
    std::optional<double> megabitsPerSecond;
};

std::string FormatProgressLine(const ProgressLine& line);

class Progress {
public:
    enum class Style { None, PlainLines, Redrawn };

    // Redrawn on a terminal that can move its cursor.
    static Style StyleFor(int descriptor, bool quiet);

    Progress(int outputDescriptor, Style outputStyle);

    // [any-thread] One round of lines, one per source.
    void Show(const std::vector<std::string>& lines);
    // [any-thread] What stands below those lines on a terminal that is redrawn; elsewhere nothing is shown.
    void ShowPanel(const std::vector<std::string>& lines);
    // [any-thread] The last line of such a terminal, with the cursor behind it; nothing takes it away.
    void ShowPrompt(const std::optional<std::string>& text);
    // [any-thread] A text of whole lines for `toDescriptor`, which may be the same terminal.
    void Write(int toDescriptor, const std::string& text);

private:
    void Redraw() REQUIRES(mutex);
    std::string Erasure() const REQUIRES(mutex);
    std::string Drawing() REQUIRES(mutex);

    const int output;
    const Style style;
    support::Mutex mutex;
    std::vector<std::string> progressLines GUARDED_BY(mutex);
    std::vector<std::string> panelLines GUARDED_BY(mutex);
    std::optional<std::string> prompt GUARDED_BY(mutex);
    std::size_t drawnLines GUARDED_BY(mutex) = 0;  // above the cursor
    bool promptDrawn GUARDED_BY(mutex) = false;
};

}  // namespace halyard
