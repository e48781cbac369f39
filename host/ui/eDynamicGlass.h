#pragma once

#include "host/ui/eGlass.h"

// A panel whose views come from a layout.
class eDynamicGlass : public eGlass {
public:
    using eGlass::eGlass;

    virtual void DynGUI_handle_Slider(const char* variable, double value);
};
