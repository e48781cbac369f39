#include "host/ui/eDynamicGlass.h"

#include <array>
#include <charconv>
#include <string>

#include "host/ui/eView.h"

void eDynamicGlass::DynGUI_handle_Slider(const char* variable, double value) {
    eView* view = RootView() != nullptr ? RootView()->FindVariable(variable) : nullptr;
    if (view == nullptr) return;
    std::array<char, 32> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value);
    view->SetField("valu", std::string(text.data(), written.ptr).c_str());
}
