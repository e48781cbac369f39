#include "host/ui/eGlassView.h"

#include <string_view>

#include "host/ui/eGlass.h"
#include "host/ui/eView.h"

namespace {

std::string_view WithoutOuterBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n\v\f";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace

eGlassView::eGlassView(eGlass& owner, const char* shownVariable, zFourCC)
    : glass(owner), variable(shownVariable != nullptr ? shownVariable : "") {}

void eGlassView::SetString(zFourCC field, const char* text, std::uint32_t) {
    if (eView* view = View()) view->SetField(field, text);
}

bool eGlassView::AsString(zFourCC field, zString& out) const {
    out.Clear();
    const eView* view = View();
    if (view == nullptr) return false;
    const std::string_view text = view->Fields().AsCString(field, "");
    out.Assign(field == FourCC("text") ? WithoutOuterBlanks(text) : text);
    return true;
}

// Looked up at each use: the layout may change under the panel.
eView* eGlassView::View() const {
    return glass.RootView() != nullptr ? glass.RootView()->FindVariable(variable.c_str()) : nullptr;
}
