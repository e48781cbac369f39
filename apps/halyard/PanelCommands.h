// The operator's lines to the settings panels: what can be typed and pressed follows from the panel's views.
// [main-thread] throughout.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host_runtime/ui/Form.h"

class eDynamicGlass;
class eView;

namespace halyard {

// The panel of one source; `glass` and `views` are null when the plug-in offers none. For one turn only.
struct ShownPanel {
    std::string address;  // of the source
    eDynamicGlass* glass = nullptr;
    eView* views = nullptr;
    std::function<void(bool isOnAir)> setOnAir;  // the phone is told
};

// Asks for the panels of all sources, in the order in which the operator counts them.
using ShownPanels = std::function<std::vector<ShownPanel>()>;

// A part of a panel that the operator can change, with its word: the first one of its caption, else the
// panel's name for it. No two have the same.
struct NamedRow {
    std::string word;
    host_runtime::FormRow row;
};
std::vector<NamedRow> NameRows(const std::vector<host_runtime::FormRow>& rows);

class PanelCommands {
public:
    static constexpr std::size_t kLongestLine = 1024;

    struct Reply {
        std::vector<std::string> lines;
        bool draws = false;  // the chosen panel is to be shown
        bool quits = false;
    };

    explicit PanelCommands(ShownPanels panelsToDrive);

    // One line, without its line feed.
    Reply Run(std::string_view line);

    std::size_t Chosen() const { return chosen; }  // counts from 0; may lie behind the last source
    // The chosen panel, with its heading.
    std::vector<std::string> Draw() const;

private:
    Reply ChooseSource(const std::string& number);
    Reply SetOnAir(const std::string& onOrOff) const;
    Reply Help() const;
    Reply Change(const std::string& word, const std::string& text);
    Reply Apply(const NamedRow& target, eDynamicGlass& glass, const std::string& text) const;

    const ShownPanels panels;
    std::size_t chosen = 0;
};

}  // namespace halyard
