#include "apps/halyard/PanelCommands.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

#include "apps/halyard/PanelText.h"
#include "host_runtime/core/Printable.h"

namespace halyard {
namespace {

using host_runtime::FormPart;
using host_runtime::FormRow;

constexpr std::array<std::string_view, 6> kOwnWords = {"show", "source", "air", "help", "quit", "exit"};
constexpr std::string_view kBlanks = " \t\r";

std::string Lowered(std::string_view text) {
    std::string lowered(text);
    for (char& character : lowered) {
        if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
    }
    return lowered;
}

std::string_view Trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string_view FirstWord(std::string_view text) {
    const std::string_view trimmed = Trimmed(text);
    return trimmed.substr(0, trimmed.find_first_of(" \t\r:"));
}

// A pair of quotes keeps blanks, and makes the empty text.
std::string Unquoted(std::string_view text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') text = text.substr(1, text.size() - 2);
    return std::string(text);
}

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    quoted += host_runtime::Printable(text, host_runtime::LineFeeds::Replace);
    quoted += '"';
    return quoted;
}

PanelCommands::Reply Say(std::string sentence) {
    return {{std::move(sentence)}, false, false};
}

bool IsTaken(const std::vector<NamedRow>& named, const std::string& word) {
    return std::find(kOwnWords.begin(), kOwnWords.end(), word) != kOwnWords.end() ||
           std::any_of(named.begin(), named.end(), [&](const NamedRow& other) { return other.word == word; });
}

std::string FreeWord(const std::vector<NamedRow>& named, const FormRow& row) {
    const std::string first = Lowered(FirstWord(row.caption));
    for (const std::string& word : {first, Lowered(row.variable), Lowered(row.command)}) {
        if (!word.empty() && !IsTaken(named, word)) return word;
    }
    const std::string stem = first.empty() ? "part" : first;
    int number = 2;
    while (IsTaken(named, stem + std::to_string(number)))
        ++number;
    return stem + std::to_string(number);
}

// Scripts may use the panel's own names, which no translation changes.
const NamedRow* FindRow(const std::vector<NamedRow>& named, const std::string& word) {
    const auto find = [&](auto matches) {
        const auto found = std::find_if(named.begin(), named.end(), matches);
        return found != named.end() ? &*found : nullptr;
    };
    const NamedRow* row = find([&](const NamedRow& one) { return one.word == word; });
    if (row == nullptr) row = find([&](const NamedRow& one) { return Lowered(one.row.variable) == word; });
    if (row != nullptr) return row;
    return find([&](const NamedRow& one) {
        return one.row.part == FormPart::Button && Lowered(one.row.command) == word;
    });
}

std::optional<std::size_t> ParseCount(const std::string& text) {
    std::size_t number = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
    return code == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

std::string SourceText(const ShownPanel& panel) {
    return panel.address.empty() ? "no address yet"
                                 : host_runtime::Printable(panel.address, host_runtime::LineFeeds::Replace);
}

std::string HelpLine(const std::string& usage, const std::string& meaning) {
    return usage + std::string(usage.size() < 18 ? 18 - usage.size() : 1, ' ') + meaning;
}

}  // namespace

std::vector<NamedRow> NameRows(const std::vector<FormRow>& rows) {
    std::vector<NamedRow> named;
    for (const FormRow& row : rows) {
        if (row.part == FormPart::Field || row.part == FormPart::Slider || row.part == FormPart::Button)
            named.push_back({FreeWord(named, row), row});
    }
    return named;
}

PanelCommands::PanelCommands(ShownPanels panelsToDrive) : panels(std::move(panelsToDrive)) {}

PanelCommands::Reply PanelCommands::Run(std::string_view line) {
    if (line.size() > kLongestLine) return Say("That line is too long.");
    std::string clean(line);
    std::replace(clean.begin(), clean.end(), '\t', ' ');
    clean = std::string(Trimmed(clean));
    if (host_runtime::Printable(clean, host_runtime::LineFeeds::Replace) != clean)
        return Say("That line holds characters that are no text.");
    if (clean.empty()) return {};
    const std::string word = Lowered(clean.substr(0, clean.find(' ')));
    const std::string rest(Trimmed(std::string_view(clean).substr(word.size())));
    if (word == "source") return ChooseSource(rest);
    if (word == "air") return SetOnAir(rest);
    if (std::find(kOwnWords.begin(), kOwnWords.end(), word) == kOwnWords.end()) return Change(word, rest);
    if (!rest.empty()) return Say("Nothing can stand behind " + Quoted(word) + ".");
    if (word == "show") return {{}, true, false};
    if (word == "help") return Help();
    return {{}, false, true};
}

std::vector<std::string> PanelCommands::Draw() const {
    const std::vector<ShownPanel> all = panels();
    if (chosen >= all.size()) return {"There is no source yet."};
    const ShownPanel& panel = all[chosen];
    std::string heading = "Source " + std::to_string(chosen + 1);
    if (all.size() > 1) heading += " of " + std::to_string(all.size());
    std::vector<std::string> lines = {heading + ": " + SourceText(panel)};
    if (panel.views == nullptr) {
        lines.push_back("  This source has no panel.");
        return lines;
    }
    for (const std::string& line : PanelLines(host_runtime::ReadForm(*panel.views)))
        lines.push_back("  " + line);
    return lines;
}

PanelCommands::Reply PanelCommands::ChooseSource(const std::string& number) {
    const std::vector<ShownPanel> all = panels();
    if (number.empty()) {
        Reply reply;
        for (std::size_t index = 0; index < all.size(); ++index) {
            reply.lines.push_back(std::string(index == chosen ? "* " : "  ") + std::to_string(index + 1) +
                                  "  " + SourceText(all[index]));
        }
        if (all.empty()) reply.lines.emplace_back("There is no source yet.");
        return reply;
    }
    const std::optional<std::size_t> wanted = ParseCount(number);
    if (!wanted) return Say("\"source\" takes the number of a source, not " + Quoted(number) + ".");
    if (*wanted < 1 || *wanted > all.size()) {
        return Say("There is no source " + number + "; \"source\" alone lists the " +
                   std::to_string(all.size()) + " there are.");
    }
    chosen = *wanted - 1;
    return {{}, true, false};
}

PanelCommands::Reply PanelCommands::SetOnAir(const std::string& onOrOff) const {
    const std::string wanted = Lowered(onOrOff);
    if (wanted != "on" && wanted != "off") return Say("\"air\" takes on or off.");
    const std::vector<ShownPanel> all = panels();
    if (chosen >= all.size()) return Say("There is no source yet.");
    all[chosen].setOnAir(wanted == "on");
    return Say("Source " + std::to_string(chosen + 1) + " is " + wanted + " air.");
}

PanelCommands::Reply PanelCommands::Help() const {
    Reply reply;
    const std::vector<ShownPanel> all = panels();
    if (chosen < all.size() && all[chosen].views != nullptr) {
        for (const NamedRow& named : NameRows(host_runtime::ReadForm(*all[chosen].views))) {
            const std::string what = Quoted(named.row.caption.empty() ? named.word : named.row.caption);
            if (named.row.part == FormPart::Field) {
                reply.lines.push_back(HelpLine(named.word + " TEXT", "types into " + what));
            } else if (named.row.part == FormPart::Slider) {
                reply.lines.push_back(HelpLine(named.word + " NUMBER", "sets " + what));
            } else {
                reply.lines.push_back(HelpLine(named.word, "presses " + what));
            }
        }
    }
    reply.lines.push_back(HelpLine("source [NUMBER]", "lists the sources, or goes to the panel of one"));
    reply.lines.push_back(HelpLine("air on|off", "tells the phone that it is on air, or not"));
    reply.lines.push_back(HelpLine("show", "shows the panel"));
    reply.lines.push_back(HelpLine("help", "shows this"));
    reply.lines.push_back(HelpLine("quit", "ends the program"));
    return reply;
}

PanelCommands::Reply PanelCommands::Change(const std::string& word, const std::string& text) {
    const std::vector<ShownPanel> all = panels();
    std::vector<NamedRow> named;
    if (chosen < all.size() && all[chosen].views != nullptr)
        named = NameRows(host_runtime::ReadForm(*all[chosen].views));
    const NamedRow* target = FindRow(named, word);
    if (target == nullptr) return Say("There is no command " + Quoted(word) + "; \"help\" lists them.");
    return Apply(*target, *all[chosen].glass, text);
}

PanelCommands::Reply PanelCommands::Apply(const NamedRow& target, eDynamicGlass& glass,
                                          const std::string& text) const {
    const std::string word = Quoted(target.word);
    if (target.row.part == FormPart::Button) {
        if (!text.empty()) return Say("Nothing can stand behind " + word + ".");
        if (!host_runtime::SendCommand(target.row, glass))
            return Say("The panel does not answer to " + word + ".");
        return {};
    }
    if (text.empty()) return Say(word + " takes what to enter; \"\" empties it.");
    if (target.row.part == FormPart::Field) {
        host_runtime::TypeInto(target.row, Unquoted(text));
    } else if (!host_runtime::MoveSlider(target.row, glass, text)) {
        return Say(word + " takes a number, not " + Quoted(text) + ".");
    }
    return {};
}

}  // namespace halyard
