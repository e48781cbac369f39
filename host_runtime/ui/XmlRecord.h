// XML as records.
#pragma once

#include <string_view>

#include "host/core/zRecord.h"
#include "host/core/zStatus.h"

namespace host_runtime {

// Elements nested deeper are refused.
inline constexpr int kDeepestXml = 64;

// The root element becomes the one child of `record`: element names, attributes as texts, elements as
// children; anything else is left out. `record` stays as it was when the text is no such document.
zStatus ReadXmlRecord(std::string_view xml, zRecord& record);

}  // namespace host_runtime
