// How old a picture is when the host pulls it.
#include <iostream>

#include "tests/e2e/camera_page/CameraPageTest.h"
#include "tests/e2e/camera_page/StampedPictures.h"

namespace camera_page {
namespace {

class CameraPageLatency : public CameraPageTest, public testing::WithParamInterface<const char*> {};

// From the painting of the canvas to the pull, through the browser's encoder. Beyond 100 ms, lips and sound
// that somebody hears in the room drift apart.
TEST_P(CameraPageLatency, FromPaintingToThePull) {
    ASSERT_NO_FATAL_FAILURE(StartStampedPhone(GetParam()));
    const auto pictures = std::make_shared<StampedPictures>();
    const auto source = host.Host().Sources().Add(kFirstPhone);
    host.Host().Puller().Add(source, pictures);
    ASSERT_TRUE(host.RunUntil([&] { return pictures->Now().distinct > 90; }, kMediaLimit))
        << phone->Transcript() << gate->Log();
    pictures->BeginAnew();
    ASSERT_TRUE(host.RunUntil([&] { return pictures->Now().distinct >= 300; }, 60s));
    const auto now = pictures->Now();
    const double p50 = Percentile(now.latenciesMs, 0.5);
    const double p99 = Percentile(now.latenciesMs, 0.99);
    std::cout << GetParam() << ": p50 " << p50 << " ms, p99 " << p99 << " ms, " << now.width << "x"
              << now.height << ", longest gap " << now.longestGapUs / 1000 << " ms\n";
    EXPECT_GT(p50, 0) << "the clocks of the page and the host disagree";
    EXPECT_LE(p50, 100);
}

INSTANTIATE_TEST_SUITE_P(OfSize, CameraPageLatency, testing::Values("640x360", "1280x720"),
                         [](const auto& size) { return "P" + std::string(size.param).substr(0, 3); });

}  // namespace
}  // namespace camera_page
