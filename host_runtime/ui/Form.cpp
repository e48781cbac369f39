#include "host_runtime/ui/Form.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <utility>

#include "host/ui/eDynamicGlass.h"
#include "host/ui/eView.h"
#include "host_runtime/ui/Localisation.h"

namespace host_runtime {
namespace {

class FormReader {
public:
    std::vector<FormRow> Read(eView& root) {
        Add(root, 0);
        Flush();
        return std::move(rows);
    }

private:
    void Add(eView& view, int depth) {
        const std::string& element = view.ElementName();
        if (element == "label") {
            AddLabel(view, depth);
        } else if (element == "edit") {
            AddNamed(FormPart::Field, view, depth, FourCC("text"), TextToShow(view, FourCC("titl")));
        } else if (element == "slider") {
            AddNamed(FormPart::Slider, view, depth, FourCC("valu"), TextToShow(view, FourCC("titl")));
        } else if (element == "button") {
            Flush();
            FormRow row = Row(FormPart::Button, view, depth);
            row.caption = TextToShow(view, FourCC("titl"));
            rows.push_back(std::move(row));
        } else {
            AddGroup(view, depth);
        }
    }

    void AddLabel(eView& view, int depth) {
        if (*view.Fields().AsCString("var", "") != '\0') {
            AddNamed(FormPart::Value, view, depth, FourCC("titl"), {});
            return;
        }
        Flush();
        FormRow row = Row(FormPart::Text, view, depth);
        row.value = TextToShow(view, FourCC("titl"));
        if (!row.value.empty()) name = std::move(row);
    }

    void AddNamed(FormPart part, eView& view, int depth, zFourCC shownField, std::string ownCaption) {
        FormRow row = Row(part, view, depth);
        row.value = TextToShow(view, shownField);
        if (!ownCaption.empty()) {
            Flush();
            row.caption = std::move(ownCaption);
        } else if (name) {
            row.caption = std::move(name->value);
            name.reset();
        }
        rows.push_back(std::move(row));
    }

    void AddGroup(eView& view, int depth) {
        Flush();
        FormRow heading = Row(FormPart::Group, view, depth);
        heading.caption = TextToShow(view, FourCC("titl"));
        const int childDepth = heading.caption.empty() ? depth : depth + 1;
        if (!heading.caption.empty()) rows.push_back(std::move(heading));
        for (const auto& child : view.Children())
            Add(*child, childDepth);
        Flush();
    }

    // A label that turned out to name nothing.
    void Flush() {
        if (name) rows.push_back(*std::exchange(name, std::nullopt));
    }

    static FormRow Row(FormPart part, eView& view, int depth) {
        FormRow row;
        row.part = part;
        row.depth = depth;
        row.variable = view.Fields().AsCString("var", "");
        row.command = view.Fields().AsCString("command", "");
        row.view = &view;
        return row;
    }

    std::vector<FormRow> rows;
    std::optional<FormRow> name;  // the label that the next view may take as its caption
};

}  // namespace

std::vector<FormRow> ReadForm(eView& root) {
    return FormReader().Read(root);
}

void TypeInto(const FormRow& field, const std::string& text) {
    field.view->SetField(FourCC("text"), text.c_str());
}

bool MoveSlider(const FormRow& slider, eDynamicGlass& panel, std::string_view number) {
    double value = 0;
    const auto [end, code] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (code != std::errc() || end != number.data() + number.size() || !std::isfinite(value)) return false;
    panel.DynGUI_handle_Slider(slider.variable.c_str(), value);
    return true;
}

bool SendCommand(const FormRow& row, eDynamicGlass& panel) {
    const std::string command = row.command;  // the row's view may end with the panel
    return !command.empty() && panel.HandleCommand(command.c_str());
}

}  // namespace host_runtime
