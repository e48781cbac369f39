#pragma once

#include "host/core/zRecord.h"
#include "host/core/zStatus.h"

class ePurse;
class eView;

// Builds views from layouts.
class ePhoenix {
public:
    // [main-thread] Makes the view tree of one layout element. On success `*outView` is owned by the
    // caller until it is added to a parent.
    static zStatus NewGUIFromXMLRecord(ePurse* purse, const zRecord& layout, eView** outView);
};
