// The host's buffers for all inputs of a fuzz target.
#pragma once

#include "host_runtime/media/BufferGroup.h"

namespace fuzzing {

inline host_runtime::BufferGroup* Buffers() {
    static host_runtime::BufferGroup* const group = host_runtime::BufferGroup::Make();
    return group;
}

}  // namespace fuzzing
