// A panel's view tree as the rows of a form, for front ends: whatever the layout, in its order, with the
// texts translated. [main-thread] throughout.
//
// Elements of a layout: "label", "edit", "button" and "slider"; every other one groups its children. A label
// without a variable names the edit field, slider or changing label that follows it in the same group.
#pragma once

#include <string>
#include <string_view>
#include <vector>

class eDynamicGlass;
class eView;

namespace host_runtime {

enum class FormPart {
    Text,    // a text that names nothing
    Value,   // a text that the panel changes
    Field,   // a text that the operator types
    Slider,  // a number that the operator sets
    Button,
    Group,  // the heading of the rows below it that are deeper
};

struct FormRow {
    FormPart part = FormPart::Text;
    int depth = 0;         // 0 is the outermost
    std::string caption;   // empty when nothing names the row
    std::string value;     // what is shown beside the caption
    std::string variable;  // the panel's name for the view; may be empty
    std::string command;   // what a button sends, or a field when its text is committed; may be empty
    eView* view = nullptr;
};

std::vector<FormRow> ReadForm(eView& root);

// The operator typed a text. It is the panel's when the row's command is sent.
void TypeInto(const FormRow& field, const std::string& text);
// False when the text is no finite number.
bool MoveSlider(const FormRow& slider, eDynamicGlass& panel, std::string_view number);
// Sends the row's command; false when the panel knows no such command. The panel may have changed or ended.
bool SendCommand(const FormRow& row, eDynamicGlass& panel);

}  // namespace host_runtime
