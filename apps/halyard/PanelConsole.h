// The settings panels in a terminal: the operator types commands; on a terminal that is redrawn the panel
// stands above the prompt, elsewhere each line of it is printed when it changes. Alerts are printed always.
// [main-thread] throughout.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/halyard/InputReader.h"
#include "apps/halyard/LineEditor.h"
#include "apps/halyard/LineSplitter.h"
#include "apps/halyard/PanelCommands.h"
#include "apps/halyard/Progress.h"
#include "apps/halyard/TerminalMode.h"
#include "host/core/zObject.h"

namespace halyard {

class PanelConsole {
public:
    static constexpr std::int64_t kLookPeriodUs = 100'000;

    enum class End { Command, Input };  // "quit", or the end of what the operator types

    // `shownProgress` draws on `outputDescriptor`, in `outputStyle`, and outlives the console.
    PanelConsole(ShownPanels shownPanels, Progress& shownProgress, Progress::Style outputStyle,
                 int outputDescriptor, std::function<void(End)> endListener);
    PanelConsole(const PanelConsole&) = delete;
    PanelConsole& operator=(const PanelConsole&) = delete;
    // Leaves the terminal as it was found.
    ~PanelConsole();

    // Shows the panel, and from now on looks after it.
    void Start();
    // Takes commands from a descriptor: with a prompt when both it and the output are terminals.
    void ReadFrom(int inputDescriptor);

    // What ReadFrom() does with a piece of input; an empty piece is the end.
    void OnInput(std::string_view bytes);

private:
    void Prompt();
    void Execute(const std::string& line);
    void EndInput();
    void ScheduleLook();
    void Look();
    void ShowAlerts();
    void ShowPanel();
    void PrintChanges();
    void Draw();
    void Print(const std::vector<std::string>& lines);
    std::vector<std::string> RowTexts() const;
    std::string PromptText() const;

    const ShownPanels panels;
    Progress& progress;
    const Progress::Style style;
    const int output;
    const std::function<void(End)> onEnd;
    PanelCommands commands;
    LineSplitter splitter;
    std::optional<LineEditor> editor;   // only at a terminal
    bool ended = false;                 // the input
    std::vector<std::string> shown;     // rows that were printed, or the lines that are drawn
    std::shared_ptr<zObject> lifetime;  // cancels the jobs of this console
    std::unique_ptr<TerminalMode> terminal;
    std::unique_ptr<InputReader> reader;  // its thread ends first
};

}  // namespace halyard
