#include "tests/unit/panel/RecordingGlassView.h"

#include "host/ui/eGlass.h"
#include "host/ui/eGlassView.h"

namespace tests {

ViewLog& Views() {
    static ViewLog log;
    return log;
}

}  // namespace tests

eGlassView::eGlassView(eGlass& owner, const char* shownVariable, zFourCC identifier)
    : glass(owner), variable(shownVariable) {
    tests::Views().made.push_back({shownVariable, identifier});
}

void eGlassView::SetString(zFourCC field, const char* text, std::uint32_t flags) {
    tests::Views().written.push_back({variable, field, text, flags});
}

bool eGlassView::AsString(zFourCC field, zString& out) const {
    tests::Views().fieldsRead.push_back(field);
    out.Assign(tests::Views().typed);
    return true;
}

eView* eGlassView::View() const {
    static_cast<void>(glass);  // it has no views
    return nullptr;
}

// The linker gives calls of eGlass::WindowModalAlert to the first (--wrap), which hands them on to the
// second. NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void __real__ZN6eGlass16WindowModalAlertERK14eDialogOptions(eGlass*, const eDialogOptions&);
extern "C" void __wrap__ZN6eGlass16WindowModalAlertERK14eDialogOptions(eGlass* glass,
                                                                       const eDialogOptions& options) {
    if (tests::Views().onAlert) tests::Views().onAlert();
    __real__ZN6eGlass16WindowModalAlertERK14eDialogOptions(glass, options);
}
// NOLINTEND(bugprone-reserved-identifier)
