// One kind of stream of a file, decoded by GStreamer and started again at will.
#pragma once

#include <gst/app/app.h>

#include <cstdint>
#include <memory>
#include <string>

#include "apps/petrel/GstHandles.h"

namespace petrel {

class LoopedFile {
public:
    // `kind` is "video" or "audio", `conversion` the elements that bring it into the wished form. Null with a
    // sentence in `error` when the file cannot be read or has no such stream.
    static std::unique_ptr<LoopedFile> Open(const std::string& path, const std::string& kind,
                                            const std::string& conversion, std::string& error);
    ~LoopedFile();
    LoopedFile(const LoopedFile&) = delete;
    LoopedFile& operator=(const LoopedFile&) = delete;

    // What is decoded next; null at the end, or when it is not there in time.
    GstHandle<GstSample> Next(std::int64_t maximumWaitNs);
    bool AtEnd() const;
    void Rewind();
    std::int64_t DurationNs() const { return durationNs; }  // 0 when unknown

private:
    LoopedFile() = default;
    bool Build(const std::string& path, const std::string& kind, const std::string& conversion,
               std::string& error);
    bool WaitForFirst(const std::string& path, const std::string& kind, std::string& error);

    GstHandle<GstElement> pipeline;
    GstHandle<GstAppSink> sink;
    std::int64_t durationNs = 0;
};

}  // namespace petrel
