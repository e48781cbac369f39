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
    // [any-thread] A text of whole lines for `toDescriptor`, which may be the same terminal.
    void Write(int toDescriptor, const std::string& text);

private:
    std::string Erasure() const REQUIRES(mutex);
    std::string Drawing() const REQUIRES(mutex);

    const int output;
    const Style style;
    support::Mutex mutex;
    std::vector<std::string> shown GUARDED_BY(mutex);
};

}  // namespace halyard
