#include "tests/contract/webrtc/LeakCounts.h"

#include "webrtc_gstreamer/LivingObjects.h"

namespace contract {

std::vector<tests::LivingCount> LeakCounts() {
    // What is released ends on the library's threads, so the counts are only fair once they are done.
    return {{"wrapper objects",
             [] {
                 webrtc_gstreamer::WaitUntilIdle(10'000);
                 return webrtc_gstreamer::LivingObjects();
             }},
            {"library threads", [] { return webrtc_gstreamer::LivingThreads(); }}};
}

}  // namespace contract
