// The host's texts for people. Views and alerts hold keys; translation happens where they are shown.
#pragma once

#include <string>

#include "host/core/zFourCC.h"

class eView;

namespace host_runtime {

// [any-thread] The text to show for a key or for a text that is none.
std::string TextToShow(const char* keyOrText);

// [main-thread] The text to show for a field of a view. What the operator typed ("text") stays as it is.
std::string TextToShow(const eView& view, zFourCC field);

}  // namespace host_runtime
