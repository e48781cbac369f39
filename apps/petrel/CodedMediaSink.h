// Where coded pictures and sound go.
#pragma once

#include "apps/petrel/GstHandles.h"

namespace petrel {

class CodedMediaSink {
public:
    virtual ~CodedMediaSink() = default;
    // [any-thread] One access unit or packet, with its running time.
    virtual void PushVideo(GstBuffer* unit, GstCaps* caps) = 0;
    virtual void PushAudio(GstBuffer* packet, GstCaps* caps) = 0;
};

}  // namespace petrel
