#include "host_runtime/sources/SourcePuller.h"

#include <gtest/gtest.h>

#include <chrono>
#include <set>

#include "host/media/nxBuffer2.h"
#include "host/media/nxBufferGroup2.h"
#include "host/renderer/nxRenderer2.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/Source.h"
#include "tests/fakes/plugin/PatternRenderers.h"

namespace host_runtime {
namespace {

class Recorder final : public PullConsumer {
public:
    struct Pulls {
        std::vector<std::int64_t> pictureTimes;
        std::vector<std::int64_t> soundTimes;
        int pictures = 0;
        int newPictures = 0;
    };

    void OnPicture(const PulledPicture& picture) override {
        const support::MutexLock lock(mutex);
        seen.pictureTimes.push_back(picture.presentationTimeUs);
        if (picture.isPicture) ++seen.pictures;
        if (picture.isNew) ++seen.newPictures;
        changed.NotifyAll();
    }
    void OnSound(const PulledSound& sound) override {
        EXPECT_EQ(sound.buffer->DataSize(), 6400U);
        const support::MutexLock lock(mutex);
        seen.soundTimes.push_back(sound.presentationTimeUs);
        changed.NotifyAll();
    }

    bool WaitForSounds(std::size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        const support::MutexLock lock(mutex);
        while (seen.soundTimes.size() < count) {
            if (!changed.WaitUntil(mutex, deadline)) return false;
        }
        return true;
    }

    Pulls Seen() const {
        const support::MutexLock lock(mutex);
        return seen;
    }

private:
    mutable support::Mutex mutex;
    support::Condition changed;
    Pulls seen GUARDED_BY(mutex);
};

class SourcePullerTest : public testing::Test {
protected:
    std::shared_ptr<Source> MakeSource(const std::string& address) {
        auto source = std::make_shared<Source>(address, false);
        source->SetRenderers(fakes::MakePatternRenderer(address, kMediaTypeVideo, group.Get()),
                             fakes::MakePatternRenderer(address, kMediaTypeAudio, group.Get()));
        return source;
    }

    const HostPointer<nxBufferGroup2> group = HostPointer<nxBufferGroup2>::Adopt(BufferGroup::Make());
};

TEST_F(SourcePullerTest, TellsNewPicturesFromRepeatedOnes) {
    SourcePuller puller({30, 1});
    const auto source = MakeSource("pattern");
    const auto recorder = std::make_shared<Recorder>();
    puller.Add(source, recorder);
    for (const std::int64_t timeUs : {0, 10'000, 20'000, 40'000, 50'000, 70'000})
        puller.PullPictures(timeUs);
    EXPECT_EQ(recorder->Seen().pictures, 6);
    EXPECT_EQ(recorder->Seen().newPictures, 3);
    EXPECT_GT(source->LastPictureAtUs(), 0);
}

TEST_F(SourcePullerTest, APlainColourIsNoPicture) {
    SourcePuller puller({30, 1});
    const auto source = MakeSource("black");
    const auto recorder = std::make_shared<Recorder>();
    puller.Add(source, recorder);
    puller.PullPictures(0);
    puller.PullPictures(40'000);
    EXPECT_EQ(recorder->Seen().pictureTimes.size(), 2U);
    EXPECT_EQ(recorder->Seen().pictures, 0);
    EXPECT_EQ(recorder->Seen().newPictures, 0);
    EXPECT_EQ(source->LastPictureAtUs(), 0);
}

TEST_F(SourcePullerTest, ANewPictureNeverComesInTheMemoryOfTheLast) {
    SourcePuller puller({30, 1});
    const auto source = MakeSource("pattern");
    const auto recorder = std::make_shared<Recorder>();
    puller.Add(source, recorder);
    for (int k = 0; k < 300; ++k)
        puller.PullPictures(k * 40'000);
    EXPECT_EQ(recorder->Seen().newPictures, 300) << "each pull had another frame";
}

TEST_F(SourcePullerTest, PullsNothingWhileASourceHasNoRenderers) {
    SourcePuller puller({30, 1});
    const auto source = std::make_shared<Source>("empty", false);
    const auto recorder = std::make_shared<Recorder>();
    puller.Add(source, recorder);
    puller.PullPictures(0);
    puller.PullSound(0);
    EXPECT_TRUE(recorder->Seen().pictureTimes.empty());
    EXPECT_TRUE(recorder->Seen().soundTimes.empty());
}

TEST_F(SourcePullerTest, SwappedRenderersArePulledFromTheNextTurnOn) {
    SourcePuller puller({30, 1});
    const auto source = MakeSource("black");
    const auto recorder = std::make_shared<Recorder>();
    puller.Add(source, recorder);
    puller.PullPictures(0);
    source->SetRenderers(fakes::MakePatternRenderer("pattern", kMediaTypeVideo, group.Get()), nullptr);
    puller.PullPictures(40'000);
    EXPECT_EQ(recorder->Seen().newPictures, 1);
}

TEST_F(SourcePullerTest, ARemovedSourceIsNotPulledAnyMore) {
    SourcePuller puller({30, 1});
    const auto kept = MakeSource("pattern");
    const auto removed = MakeSource("pattern");
    const auto keptRecorder = std::make_shared<Recorder>();
    const auto removedRecorder = std::make_shared<Recorder>();
    puller.Add(kept, keptRecorder);
    puller.Add(removed, removedRecorder);
    puller.PullPictures(0);
    puller.Remove(*removed);
    puller.PullPictures(40'000);
    puller.PullSound(40'000);
    EXPECT_EQ(keptRecorder->Seen().pictureTimes.size(), 2U);
    EXPECT_EQ(removedRecorder->Seen().pictureTimes.size(), 1U);
    EXPECT_TRUE(removedRecorder->Seen().soundTimes.empty());
}

TEST_F(SourcePullerTest, EachPullerHasAKeyOfItsOwn) {
    const SourcePuller first({30, 1});
    const SourcePuller second({25, 1});
    EXPECT_NE(first.ConsumerKey(), second.ConsumerKey());
}

TEST_F(SourcePullerTest, RunsBothGridsOnOneTimeline) {
    SourcePuller puller({60, 1});
    const auto source = MakeSource("pattern");
    const auto recorder = std::make_shared<Recorder>();
    puller.Add(source, recorder);
    puller.Start();
    puller.Start();
    ASSERT_TRUE(recorder->WaitForSounds(30));
    puller.Stop();

    const Recorder::Pulls pulls = recorder->Seen();
    const std::int64_t originUs = pulls.soundTimes.front();
    EXPECT_EQ(pulls.pictureTimes.front(), originUs);
    for (std::size_t k = 0; k < pulls.soundTimes.size(); ++k) {
        const std::int64_t block = (pulls.soundTimes[k] - originUs + 10) * 3 / 100'000;
        EXPECT_EQ(pulls.soundTimes[k], SoundPullTimeUs(originUs, block)) << "exactly on the grid";
    }
    const std::set<std::int64_t> unique(pulls.soundTimes.begin(), pulls.soundTimes.end());
    EXPECT_EQ(unique.size(), pulls.soundTimes.size()) << "no block twice";
}

TEST_F(SourcePullerTest, StopsAtOnceAndCallsNobodyAfterwards) {
    SourcePuller puller({1, 60});  // the next picture is due in a minute
    const auto source = MakeSource("pattern");
    const auto recorder = std::make_shared<Recorder>();
    puller.Add(source, recorder);
    puller.Start();
    ASSERT_TRUE(recorder->WaitForSounds(1));
    const auto before = std::chrono::steady_clock::now();
    puller.Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
    const std::size_t sounds = recorder->Seen().soundTimes.size();
    puller.Stop();
    EXPECT_EQ(recorder->Seen().soundTimes.size(), sounds);
}

}  // namespace
}  // namespace host_runtime
