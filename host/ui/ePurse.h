#pragma once

#include "host/ui/eResources.h"

// What the host hands to everything that builds user interface.
class ePurse {
public:
    virtual ~ePurse() = default;
    virtual eResources* Resources() = 0;  // never null, outlives the purse's users
};
