// A phone whose pictures tell their number and when they were painted, watched by the host.
#pragma once

#include "tests/e2e/camera_page/CameraPageTest.h"
#include "tests/e2e/camera_page/StampedPictures.h"

namespace camera_page {

class StampedPageTest : public CameraPageTest {
protected:
    void StartAndWatch(bool canBeLocked = false) {
        ASSERT_NO_FATAL_FAILURE(StartStampedPhone("640x360", canBeLocked));
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

    // Until no picture has come for a while.
    bool PicturesEnd(std::chrono::microseconds silence, std::chrono::seconds limit) {
        return host.RunUntil([&] { return SteadyNowUs() - pictures->Now().lastAtUs > silence.count(); },
                             limit);
    }

    // How long the next picture takes from now on; nothing when none comes in time.
    std::optional<std::chrono::milliseconds> TimeToPicture(std::chrono::seconds limit) {
        const std::int64_t since = SteadyNowUs();
        const std::int64_t before = pictures->Now().distinct;
        if (!host.RunUntil([&] { return pictures->Now().distinct > before; }, limit)) return std::nullopt;
        return std::chrono::milliseconds((pictures->Now().lastAtUs - since) / 1000);
    }

    void SetTally(host_runtime::TallyState tally) {
        host.Host().Sources().SetTally(source->Identifier(), tally);
    }

    std::shared_ptr<StampedPictures> pictures = std::make_shared<StampedPictures>();
    std::shared_ptr<host_runtime::Source> source;
};

}  // namespace camera_page
