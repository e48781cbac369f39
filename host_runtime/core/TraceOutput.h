// Where the host trace goes.
#pragma once

#include <functional>
#include <string>

#include "host/core/zFourCC.h"

namespace host_runtime {

// [any-thread] Gets each traced text as formatted; called by one thread at a time.
using TraceSink = std::function<void(zFourCC kind, const std::string& text)>;

// [any-thread] Replaces the sink; an empty one writes to standard error.
void SetTraceSink(TraceSink sink);

}  // namespace host_runtime
