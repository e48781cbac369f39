#include <algorithm>
#include <cctype>
#include <iterator>

#include "tests/faults/sdpabort/Descriptions.h"
#include "tests/faults/sdpabort/Vocabulary.h"

namespace sdpabort {
namespace {

using Lines = std::vector<std::string>;

Lines Split(const std::string& text) {
    Lines lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find("\r\n", begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 2;
    }
    return lines;
}

std::string Join(const Lines& lines, const char* ending = "\r\n") {
    std::string text;
    for (const std::string& line : lines)
        text += line + ending;
    return text;
}

std::vector<std::pair<std::size_t, std::size_t>> Runs(const std::string& line, bool (*belongs)(char)) {
    std::vector<std::pair<std::size_t, std::size_t>> runs;
    for (std::size_t at = 0; at < line.size(); ++at) {
        if (!belongs(line[at])) continue;
        std::size_t end = at;
        while (end < line.size() && belongs(line[end]))
            ++end;
        runs.emplace_back(at, end - at);
        at = end;
    }
    return runs;
}

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsWordCharacter(char character) {
    return character != ' ' && character != ':' && character != '=' && character != ';' && character != ',';
}

void ReplaceRun(std::string& line, bool (*belongs)(char), const std::string& with, Dice& dice) {
    const auto runs = Runs(line, belongs);
    if (runs.empty()) return;
    const auto [begin, size] = dice.Of(runs);
    line.replace(begin, size, with);
}

// The same word everywhere, so that the parts still agree with each other.
void ReplaceEverywhere(Lines& lines, Dice& dice) {
    const std::string& line = dice.Of(lines);
    const auto runs = Runs(line, dice.OneIn(2) ? IsDigit : IsWordCharacter);
    if (runs.empty()) return;
    const auto [begin, size] = dice.Of(runs);
    const std::string from = line.substr(begin, size);
    const std::string to = dice.OneIn(2) ? dice.Of(kNumbers) : dice.Of(kWords);
    for (std::string& each : lines) {
        for (std::size_t at = each.find(from); at != std::string::npos; at = each.find(from, at + to.size()))
            each.replace(at, from.size(), to);
    }
}

std::vector<std::size_t> SectionBegins(const Lines& lines) {
    std::vector<std::size_t> begins;
    for (std::size_t index = 0; index < lines.size(); ++index) {
        if (lines[index].starts_with("m=")) begins.push_back(index);
    }
    begins.push_back(lines.size());
    return begins;
}

void ChangeSections(Lines& lines, Dice& dice) {
    const auto begins = SectionBegins(lines);
    if (begins.size() < 2) return;
    const std::size_t which = dice.Below(begins.size() - 1);
    const auto from = lines.begin() + static_cast<std::ptrdiff_t>(begins[which]);
    const auto to = lines.begin() + static_cast<std::ptrdiff_t>(begins[which + 1]);
    const Lines section(from, to);
    const std::size_t kind = dice.Below(3);
    if (kind != 0) lines.erase(from, to);
    if (kind == 1) return;
    const std::size_t place = dice.Of(SectionBegins(lines));
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(place), section.begin(), section.end());
}

void RefuseSection(Lines& lines, Dice& dice) {
    const auto begins = SectionBegins(lines);
    if (begins.size() < 2) return;
    std::string& line = lines[begins[dice.Below(begins.size() - 1)]];
    const std::size_t begin = std::min(line.find(' '), line.size());
    const std::size_t end = std::min(line.find(' ', begin + 1), line.size());
    line = line.substr(0, begin).append(" 0").append(line.substr(end));
}

void ChangePayloads(Lines& lines, Dice& dice) {
    const auto begins = SectionBegins(lines);
    if (begins.size() < 2) return;
    std::string& line = lines[begins[dice.Below(begins.size() - 1)]];
    const auto runs = Runs(line, IsWordCharacter);
    if (runs.size() < 5) return;
    const std::size_t kind = dice.Below(3);
    const auto [begin, size] = runs[4 + dice.Below(runs.size() - 4)];
    if (kind == 0) line.append(1, ' ').append(std::string(line, begin, size));
    if (kind == 1) line.replace(begin, size, dice.Of(kNumbers));
    if (kind == 2) line.erase(begin - 1);
}

void ChangeBytes(std::string& line, Dice& dice) {
    if (line.empty()) return;
    const std::size_t at = dice.Below(line.size());
    const auto byte = static_cast<char>(1 + dice.Below(255));
    const std::size_t kind = dice.Below(4);
    if (kind == 0) line[at] = byte;
    if (kind == 1) line.insert(at, 1, byte);
    if (kind == 2) line.erase(at, 1 + dice.Below(4));
    if (kind == 3) {
        std::transform(line.begin() + static_cast<std::ptrdiff_t>(at), line.end(),
                       line.begin() + static_cast<std::ptrdiff_t>(at), [](char character) {
                           const auto letter = static_cast<unsigned char>(character);
                           return static_cast<char>(std::islower(letter) != 0 ? std::toupper(letter)
                                                                              : std::tolower(letter));
                       });
    }
}

void InsertAt(Lines& lines, const std::string& line, Dice& dice, std::size_t times = 1) {
    const std::size_t place = dice.Below(lines.size() + 1);
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(place), times, line);
}

void Change(Lines& lines, const Lines& others, Dice& dice) {
    if (lines.empty()) return InsertAt(lines, dice.Of(kLines), dice);
    const std::size_t which = dice.Below(lines.size());
    switch (dice.Below(18)) {
        case 0:
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(which));
            break;
        case 1:
            InsertAt(lines, std::string(lines[which]), dice);
            break;
        case 2:
            std::swap(lines[which], lines[dice.Below(lines.size())]);
            break;
        case 3:
            lines[which] = dice.Of(others);
            break;
        case 4:
        case 5:
            ReplaceRun(lines[which], IsDigit, dice.Of(kNumbers), dice);
            break;
        case 6:
            ReplaceRun(lines[which], IsWordCharacter, dice.Of(kWords), dice);
            break;
        case 7:
        case 8:
        case 9:
            InsertAt(lines, dice.Of(kLines), dice);
            break;
        case 10:
        case 11:
            ReplaceEverywhere(lines, dice);
            break;
        case 12:
            ChangeSections(lines, dice);
            break;
        case 13:
            RefuseSection(lines, dice);
            break;
        case 14:
            ChangePayloads(lines, dice);
            break;
        case 15:
            ChangeBytes(lines[which], dice);
            break;
        case 16:
            InsertAt(lines, dice.Of(others), dice);
            break;
        default:
            if (dice.OneIn(4)) {
                InsertAt(lines, dice.OneIn(2) ? std::string(lines[which]) : dice.Of(kLines), dice,
                         1 + dice.Below(2000));
            } else {
                lines[which] += std::string(dice.Below(3000), static_cast<char>('!' + dice.Below(90)));
            }
    }
}

bool IsOfMedia(const std::string& line) {
    return line.starts_with("a=fmtp") || line.starts_with("a=rtcp-fb") || line.starts_with("a=extmap") ||
           line.starts_with("a=ssrc") || line.starts_with("a=msid") || line.starts_with("b=");
}

}  // namespace

std::string Mutated(const std::string& description, const std::string& offer, Dice& dice) {
    Lines lines = Split(description);
    const Lines others = Split(offer);
    const std::size_t changes = 1 + dice.Below(dice.OneIn(2) ? 2 : 6);
    for (std::size_t change = 0; change < changes; ++change)
        Change(lines, others, dice);
    std::string text = Join(lines, dice.OneIn(50) ? "\n" : "\r\n");
    if (dice.OneIn(50) && !text.empty()) text.resize(dice.Below(text.size()));
    return text;
}

std::string MutatedMedia(const std::string& description, Dice& dice) {
    Lines lines = Split(description);
    const std::size_t changes = 1 + dice.Below(4);
    for (std::size_t change = 0; change < changes; ++change) {
        Lines candidates;
        std::copy_if(kLines.begin(), kLines.end(), std::back_inserter(candidates), IsOfMedia);
        if (dice.OneIn(2)) {
            const std::size_t behind = SectionBegins(lines)[dice.Below(2)] + 1;
            lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(std::min(behind, lines.size())),
                         dice.Of(candidates));
            continue;
        }
        std::string& line = lines[dice.Below(lines.size())];
        if (!IsOfMedia(line)) continue;
        if (dice.OneIn(3))
            line = dice.Of(candidates);
        else if (dice.OneIn(2))
            ReplaceRun(line, IsWordCharacter, dice.Of(kWords), dice);
        else
            ReplaceRun(line, IsDigit, dice.Of(kNumbers), dice);
    }
    return Join(lines);
}

}  // namespace sdpabort
