#pragma once

#include <cstdint>
#include <string>

#include "host/core/zFourCC.h"
#include "host/core/zString.h"

class eGlass;
class eView;

// A panel's handle on the view that shows a variable. Harmless when the layout has no such view.
// [main-thread]
class eGlassView {
public:
    // `identifier` names a part of a view that has several; 0 is the view itself. This host's views have
    // one part.
    eGlassView(eGlass& owner, const char* shownVariable, zFourCC identifier);

    // `field` is "titl" for a label's text and "text" for an editable text.
    void SetString(zFourCC field, const char* text, std::uint32_t flags);
    // False with `out` empty when there is no view. The text of an edit field comes without blanks at its
    // ends.
    bool AsString(zFourCC field, zString& out) const;

private:
    eView* View() const;

    eGlass& glass;
    std::string variable;
};
