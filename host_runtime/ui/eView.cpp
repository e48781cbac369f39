#include "host/ui/eView.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <variant>

#include "host/core/zString.h"

eView::eView(const zRecord& layout) {
    fields.SetElementName(layout.ElementName());
    layout.ForEachField([this](const std::string& name, const zVariable::Value& value) {
        if (const auto* text = std::get_if<std::string>(&value))
            fields.SetCString(std::string_view(name), text->c_str());
    });
}

eView::~eView() = default;

void eView::AddChildView(eView* child, std::int32_t position) {
    if (child == nullptr) return;
    const auto end = static_cast<std::int64_t>(children.size());
    const std::int64_t index = std::clamp<std::int64_t>(position, 0, end);
    children.insert(children.begin() + static_cast<std::ptrdiff_t>(index), std::unique_ptr<eView>(child));
}

void eView::RemoveChildView(eView* child) {
    std::erase_if(children, [child](const auto& view) { return view.get() == child; });
}

eView* eView::FindVariable(const char* variable) {
    if (variable == nullptr || *variable == '\0') return nullptr;
    if (zString::string_equal(fields.AsCString("var", nullptr), variable)) return this;
    for (const auto& child : children) {
        if (eView* found = child->FindVariable(variable)) return found;
    }
    return nullptr;
}

void eView::SetField(zKey key, const char* text) {
    fields.SetCString(key, text);
}
