// Handles, counts and callbacks of the wrapper: the same for every library behind it.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "webrtc/voDebug.h"
#include "webrtc/voPeerConnectionFactoryInterface.h"

namespace contract {
namespace {

using vo_webrtc::voAudioTrackInterface;
using vo_webrtc::voCallback;
using vo_webrtc::voCustomAudioDevice;
using vo_webrtc::voDebug;
using vo_webrtc::voIceCandidateInterface;
using vo_webrtc::voMediaStreamInterface;
using vo_webrtc::voObject;
using vo_webrtc::voPeerConnectionInterface;
using vo_webrtc::voPointer;
using vo_webrtc::voStats;
using vo_webrtc::voVideoTrackInterface;

class Implemented : public voCallback {
public:
    explicit Implemented(std::atomic<int>& count, DestroyFunction destroy = Delete)
        : voCallback(destroy), ended(count) {}
    ~Implemented() override { ++ended; }

private:
    std::atomic<int>& ended;
};

class WrapperHandle : public testing::Test {
protected:
    voPointer<Implemented> Make() { return voPointer<Implemented>(new Implemented(ended)); }

    std::atomic<int> ended{0};
};

TEST_F(WrapperHandle, HoldsItsObjectUntilTheLastCopyGoes) {
    auto first = Make();
    {
        const voPointer<Implemented> second(first);
        EXPECT_EQ(second, first);
        first = nullptr;
        EXPECT_EQ(ended, 0);
    }
    EXPECT_EQ(ended, 1);
}

TEST_F(WrapperHandle, LetsTheOldObjectGoWhenItIsOverwritten) {
    auto first = Make();
    const auto second = Make();
    first = second;
    EXPECT_EQ(ended, 1);
    first = voPointer<Implemented>(first.Get());  // its own
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(first, second);
}

TEST_F(WrapperHandle, MovesWithoutCounting) {
    auto first = Make();
    voPointer<Implemented> second(std::move(first));
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): it is null
    first = std::move(second);
    EXPECT_EQ(ended, 0);
    first = nullptr;
    EXPECT_EQ(ended, 1);
}

TEST_F(WrapperHandle, MayBeNull) {
    voPointer<Implemented> null;
    voPointer<Implemented> copy(null);
    copy = nullptr;
    copy = null;
    EXPECT_FALSE(copy);
    EXPECT_EQ(copy.Get(), nullptr);
    EXPECT_EQ(voPointer<voObject>(null).Get(), nullptr);
    EXPECT_TRUE(Make());
}

TEST_F(WrapperHandle, OfABaseCountsToo) {
    auto derived = Make();
    voPointer<voObject> base(derived);
    derived = nullptr;
    EXPECT_EQ(ended, 0);
    base = nullptr;
    EXPECT_EQ(ended, 1);
}

TEST_F(WrapperHandle, MayBeCopiedOnAnyThread) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    auto shared = Make();
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([own = shared] {
            for (int round = 0; round < kRounds; ++round)
                const voPointer<Implemented> copy(own);
        });
    }
    shared = nullptr;
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();
    EXPECT_EQ(ended, 1);
}

using WrapperObject = WrapperHandle;

TEST_F(WrapperObject, StartsWithoutAReference) {
    auto* const object = new Implemented(ended);
    object->AddRef();
    object->Release();
    EXPECT_EQ(ended, 1);
}

TEST_F(WrapperObject, CopiesShareTheBodyAndCountNothing) {
    auto held = Make();
    const voPointer<voCustomAudioDevice> device = voCustomAudioDevice::Create();
    ASSERT_TRUE(device);
    voObject copy(*held);
    voObject assigned(*device);
    assigned = *held;
    copy.AddRef();
    assigned.Release();
    EXPECT_EQ(ended, 0);
    held = nullptr;
    EXPECT_EQ(ended, 1);
}

std::atomic<int> destroyed{0};

void CountAndDelete(voObject* object) {
    ++destroyed;
    voCallback::Delete(object);
}

TEST_F(WrapperObject, IsDestroyedOnceByItsOwnFunction) {
    destroyed = 0;
    voPointer<Implemented> object(new Implemented(ended, &CountAndDelete));
    voPointer<Implemented> copy(object);
    object = nullptr;
    EXPECT_EQ(destroyed, 0);
    copy = nullptr;
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(ended, 1);
}

TEST_F(WrapperObject, DeletingNullIsHarmless) {
    voCallback::Delete(nullptr);
    EXPECT_EQ(ended, 0);
}

// Implements what an observer must, and nothing else.
class LeastObserver : public voPeerConnectionInterface::Observer {
public:
    LeastObserver() : Observer(Delete) {}
    void OnAddStream(voPointer<voMediaStreamInterface>) override {}
    void OnIceCandidate(voPointer<voIceCandidateInterface>) override {}
    void OnOfferCreated(const char*, const char*) override {}
    void OnAnswerCreated(const char*, const char*) override {}
};

class WithoutStream : public voPeerConnectionInterface::Observer {
    void OnIceCandidate(voPointer<voIceCandidateInterface>) override {}
    void OnOfferCreated(const char*, const char*) override {}
    void OnAnswerCreated(const char*, const char*) override {}
};

class WithoutCandidate : public voPeerConnectionInterface::Observer {
    void OnAddStream(voPointer<voMediaStreamInterface>) override {}
    void OnOfferCreated(const char*, const char*) override {}
    void OnAnswerCreated(const char*, const char*) override {}
};

class WithoutOffer : public voPeerConnectionInterface::Observer {
    void OnAddStream(voPointer<voMediaStreamInterface>) override {}
    void OnIceCandidate(voPointer<voIceCandidateInterface>) override {}
    void OnAnswerCreated(const char*, const char*) override {}
};

class WithoutAnswer : public voPeerConnectionInterface::Observer {
    void OnAddStream(voPointer<voMediaStreamInterface>) override {}
    void OnIceCandidate(voPointer<voIceCandidateInterface>) override {}
    void OnOfferCreated(const char*, const char*) override {}
};

TEST(WrapperCallbacks, MustBeImplementedWhereTheyCannotBeIgnored) {
    EXPECT_FALSE(std::is_abstract_v<LeastObserver>);
    EXPECT_TRUE(std::is_abstract_v<WithoutStream>);
    EXPECT_TRUE(std::is_abstract_v<WithoutCandidate>);
    EXPECT_TRUE(std::is_abstract_v<WithoutOffer>);
    EXPECT_TRUE(std::is_abstract_v<WithoutAnswer>);
    EXPECT_TRUE(std::is_abstract_v<voVideoTrackInterface::Sink>);
    EXPECT_TRUE(std::is_abstract_v<voAudioTrackInterface::Sink>);
    EXPECT_TRUE(std::is_abstract_v<voDebug::Logging>);
    EXPECT_FALSE(std::is_abstract_v<voPeerConnectionInterface::StatsObserver>);
}

TEST(WrapperCallbacks, AreIgnoredElsewhere) {
    const voPointer<voPeerConnectionInterface::Observer> observer(new LeastObserver);
    observer->OnRemoveStream(nullptr);
    observer->OnRenegotiationNeeded();
    observer->OnFailure("text");
    observer->OnFailure(nullptr);
    for (const std::uint32_t state : {0U, 7U, 0xFFFFFFFFU}) {
        observer->OnIceConnectionChange(state);
        observer->OnIceGatheringChange(state);
        observer->OnSignalingChange(state);
    }
    const voPointer<voPeerConnectionInterface::StatsObserver> statistics(
        new voPeerConnectionInterface::StatsObserver(&voCallback::Delete));
    statistics->OnStatsDelivered(voStats());
}

}  // namespace
}  // namespace contract
