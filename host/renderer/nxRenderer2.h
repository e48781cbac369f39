// A source of pictures or sound that the host pulls. Slot order is declaration order.
#pragma once

#include <cstdint>

#include "host/core/xCUnknown.h"
#include "host/core/zRecord.h"
#include "host/media/mdMediaRecord.h"
#include "host/renderer/nx_renderer_params.h"

class nxBuffer2;
class nxBufferGroup2;

struct nxRendererTimes {
    std::int64_t words[3] = {0, 0, 0};
};

class nxRenderer2 : public xCUnknown {
public:
    // Keeps a reference to `bufferGroup`, which must not be null, for its whole life.
    explicit nxRenderer2(nxBufferGroup2* bufferGroup);
    ~nxRenderer2() override;

    // [any-thread] Writes the format of the source into `record`.
    virtual zStatus OutputFormat(mdMediaType type, mdMediaRecord& record, std::int32_t index) = 0;
    virtual mdMediaType MediaType() = 0;
    virtual std::int32_t Priority() { return 0; }
    virtual void PrepareToRender() {}
    virtual void FinishedRendering() {}

    // [render-thread] Stores the buffer for the given time in `*out` with a reference for the caller;
    // `*out` is null when none could be made.
    virtual zStatus BufferForParameters(nxBuffer2** out, const nx_renderer_params& params);
    virtual std::int64_t CueTimestampForParameters(const nx_renderer_params& params) const;

    // [main-thread]
    virtual zStatus ApplySettings(zRecord& settings);
    virtual nxRendererTimes Times() { return {}; }
    virtual void Suspend() {}
    virtual void Resume() {}

protected:
    nxBufferGroup2* const bufferGroup;
};
