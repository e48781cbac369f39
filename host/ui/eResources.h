#pragma once

#include "host/core/zRecord.h"
#include "host/core/zStatus.h"

// Files that come with the host and its plug-ins.
class eResources {
public:
    virtual ~eResources() = default;

    // [main-thread] Reads an XML file of a plug-in: its root element becomes the first child of `record`,
    // attributes become texts. The folder separator is one backslash on every system.
    virtual zStatus ReadPluginXMLFile(zRecord& record, const char* fileName, const char* resourceFolder,
                                      const char* bundleIdentifier) = 0;
};
