#include "apps/halyard/PanelText.h"

#include <algorithm>

#include "host_runtime/core/Printable.h"
#include "host_runtime/ui/Localisation.h"

namespace halyard {
namespace {

using host_runtime::FormPart;
using host_runtime::FormRow;

std::string Clean(const std::string& text) {
    return host_runtime::Printable(text, host_runtime::LineFeeds::Replace);
}

std::size_t Characters(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char character) {
        return (static_cast<unsigned char>(character) & 0xC0U) != 0x80;
    }));
}

bool HasValue(const FormRow& row) {
    return row.part == FormPart::Value || row.part == FormPart::Field || row.part == FormPart::Slider;
}

std::string Indentation(const FormRow& row) {
    return std::string(static_cast<std::size_t>(row.depth) * 2, ' ');
}

std::string Caption(const FormRow& row) {
    return Indentation(row) + Clean(row.caption);
}

std::string WithoutTrailingBlanks(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

}  // namespace

std::vector<std::string> PanelLines(const std::vector<FormRow>& rows) {
    std::size_t column = 0;
    for (const FormRow& row : rows) {
        if (HasValue(row) && !row.caption.empty()) column = std::max(column, Characters(Caption(row)) + 2);
    }
    std::vector<std::string> lines;
    for (const FormRow& row : rows) {
        std::string line = Caption(row);
        const std::string value = Clean(row.value);
        if (HasValue(row)) {
            line.append(column - std::min(column, Characters(line)), ' ');
            line += row.part == FormPart::Field ? "[" + value + "]" : value;
        } else if (row.part == FormPart::Button) {
            line = Indentation(row) + "[ " + Clean(row.caption) + " ]";
        } else {
            line += value;
        }
        lines.push_back(WithoutTrailingBlanks(std::move(line)));
    }
    return lines;
}

std::string RowText(const FormRow& row) {
    const std::string caption = Clean(row.caption);
    const std::string value = Clean(row.value);
    if (caption.empty()) return value;
    return HasValue(row) ? WithoutTrailingBlanks(caption + ": " + value) : caption;
}

std::string AlertText(const eDialogOptions& alert) {
    const std::string message = host_runtime::TextToShow(alert.messageKey.c_str());
    const std::string detail = host_runtime::TextToShow(alert.detailKey.c_str());
    return Clean(detail.empty() ? message : message + " " + detail);
}

}  // namespace halyard
