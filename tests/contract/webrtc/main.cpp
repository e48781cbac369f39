#include "tests/fakes/TestMain.h"
#include "webrtc_gstreamer/LivingObjects.h"

namespace {

// What is released is ended on the library's threads, so the count is only fair once they are done.
std::int64_t LivingObjects() {
    webrtc_gstreamer::WaitUntilIdle(10'000);
    return webrtc_gstreamer::LivingObjects();
}

std::int64_t LivingThreads() {
    webrtc_gstreamer::WaitUntilIdle(10'000);
    return webrtc_gstreamer::LivingThreads();
}

}  // namespace

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv,
                              {{"wrapper objects", LivingObjects}, {"library threads", LivingThreads}});
}
