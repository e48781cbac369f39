// A phone whose pictures tell their number and when they were painted, watched by the host.
#pragma once

#include "tests/e2e/camera_page/CameraPageTest.h"
#include "tests/e2e/camera_page/StampedPictures.h"

namespace camera_page {

class StampedPageTest : public CameraPageTest {
protected:
    void StartAndWatch() {
        ASSERT_NO_FATAL_FAILURE(StartStampedPhone("640x360"));
        source = host.Host().Sources().Add(kFirstPhone);
        ASSERT_TRUE(source);
        host.Host().Puller().Add(source, pictures);
        ASSERT_TRUE(PicturesMove()) << Logs();
        ASSERT_TRUE(Shows("live")) << Logs();
    }

    bool PicturesMove(std::chrono::seconds limit = kMediaLimit) {
        const std::int64_t before = pictures->Now().distinct;
        return host.RunUntil([&] { return pictures->Now().distinct > before + 15; }, limit);
    }

    void SetTally(host_runtime::TallyState tally) {
        host.Host().Sources().SetTally(source->Identifier(), tally);
    }

    std::shared_ptr<StampedPictures> pictures = std::make_shared<StampedPictures>();
    std::shared_ptr<host_runtime::Source> source;
};

}  // namespace camera_page
