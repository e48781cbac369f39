#include "apps/halyard/PanelConsole.h"

#include <unistd.h>

#include <utility>

#include "apps/halyard/PanelText.h"
#include "host/core/zThread.h"
#include "host/ui/eDynamicGlass.h"
#include "host_runtime/core/Printable.h"

namespace halyard {
namespace {

// A longer one is not needed: the commands tell that it is too long.
constexpr std::size_t kMostBytes = PanelCommands::kLongestLine + 1;

std::string Clean(const std::string& text) {
    return host_runtime::Printable(text, host_runtime::LineFeeds::Replace);
}

// Before what a panel says, so that it can be told from the progress.
std::string Mark(std::size_t index) {
    return "panel " + std::to_string(index + 1) + ": ";
}

}  // namespace

PanelConsole::PanelConsole(ShownPanels shownPanels, Progress& shownProgress, Progress::Style outputStyle,
                           int outputDescriptor, std::function<void(End)> endListener)
    : panels(std::move(shownPanels)),
      progress(shownProgress),
      style(outputStyle),
      output(outputDescriptor),
      onEnd(std::move(endListener)),
      commands(panels),
      splitter(kMostBytes),
      lifetime(std::make_shared<zObject>()) {}

PanelConsole::~PanelConsole() {
    progress.ShowPrompt(std::nullopt);
}

void PanelConsole::Start() {
    Draw();
    Look();
    ScheduleLook();
}

void PanelConsole::ReadFrom(int inputDescriptor) {
    if (style == Progress::Style::Redrawn && isatty(inputDescriptor) != 0) Prompt();
    if (editor) terminal = std::make_unique<TerminalMode>(inputDescriptor);
    reader = std::make_unique<InputReader>(
        inputDescriptor, [this, token = std::weak_ptr<zObject>(lifetime)](std::string piece) {
            zThread::ExecuteOnMainThread(token.lock(), 0, {}, [this, piece = std::move(piece)] {
                OnInput(piece);
                if (!piece.empty()) reader->ReadOn();
            });
        });
}

void PanelConsole::Prompt() {
    editor.emplace(kMostBytes);
    Print({"Type \"help\" for the commands."});
    progress.ShowPrompt(PromptText());
}

void PanelConsole::OnInput(std::string_view bytes) {
    std::vector<std::string> lines;
    if (editor) {
        lines = editor->Feed(bytes);
    } else {
        lines = bytes.empty() ? splitter.Finish() : splitter.Feed(bytes);
    }
    for (const std::string& line : lines)
        Execute(line);
    if (ended) return;
    if (bytes.empty() || (editor && editor->HasEnded())) {
        EndInput();
        onEnd(End::Input);
    } else if (editor) {
        progress.ShowPrompt(PromptText() + Clean(editor->Text()));
    }
}

void PanelConsole::EndInput() {
    ended = true;
    editor.reset();
    terminal.reset();
    progress.ShowPrompt(std::nullopt);
}

void PanelConsole::Execute(const std::string& line) {
    if (ended) return;
    if (editor) {
        progress.ShowPrompt(PromptText());
        Print({PromptText() + Clean(line)});
    }
    const PanelCommands::Reply reply = commands.Run(line);
    Print(reply.lines);
    if (reply.draws) Draw();
    if (!reply.quits) return Look();
    EndInput();
    onEnd(End::Command);
}

void PanelConsole::ScheduleLook() {
    zThread::ExecuteOnMainThread(lifetime, kLookPeriodUs, {}, [this] {
        Look();
        ScheduleLook();
    });
}

void PanelConsole::Look() {
    ShowAlerts();
    if (style == Progress::Style::Redrawn) {
        ShowPanel();
    } else {
        PrintChanges();
    }
}

void PanelConsole::ShowAlerts() {
    const std::vector<ShownPanel> all = panels();
    for (std::size_t index = 0; index < all.size(); ++index) {
        if (all[index].glass == nullptr) continue;
        for (const eDialogOptions& alert : all[index].glass->TakeAlerts())
            Print({Mark(index) + "Alert: " + AlertText(alert)});
    }
}

void PanelConsole::Draw() {
    if (style == Progress::Style::Redrawn) return;  // it stands there
    Print(commands.Draw());
    shown = RowTexts();
}

void PanelConsole::ShowPanel() {
    std::vector<std::string> lines = commands.Draw();
    if (lines == shown) return;
    shown = std::move(lines);
    progress.ShowPanel(shown);
}

void PanelConsole::PrintChanges() {
    const std::vector<std::string> now = RowTexts();
    if (now.size() != shown.size()) return Draw();  // another layout
    for (std::size_t index = 0; index < now.size(); ++index) {
        if (now[index] != shown[index]) Print({Mark(commands.Chosen()) + now[index]});
    }
    shown = now;
}

std::vector<std::string> PanelConsole::RowTexts() const {
    const std::vector<ShownPanel> all = panels();
    std::vector<std::string> texts;
    if (commands.Chosen() >= all.size() || all[commands.Chosen()].views == nullptr) return texts;
    for (const host_runtime::FormRow& row : host_runtime::ReadForm(*all[commands.Chosen()].views))
        texts.push_back(RowText(row));
    return texts;
}

void PanelConsole::Print(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    if (!text.empty()) progress.Write(output, text);
}

std::string PanelConsole::PromptText() const {
    return "panel " + std::to_string(commands.Chosen() + 1) + "> ";
}

}  // namespace halyard
