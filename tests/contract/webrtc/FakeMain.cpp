// The wrapper that the unit tests use keeps the same rules for its objects.
#include "tests/fakes/TestMain.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv, {{"wrapper objects", &fakes::FakeWebRtc::LivingObjects}});
}
