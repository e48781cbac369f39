// What the hot paths cost, as ratios measured in one run. The best of many rounds counts, so that other work
// on the machine does not.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <limits>
#include <thread>

#include "tests/unit/renderers/AudioRendererTest.h"

namespace {

using tests::Picture;

// Keeps the compiler from leaving work out.
template <class Value>
void Use(Value& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

struct Timing {
    double best = std::numeric_limits<double>::max();

    template <class Step>
    void Round(Step step) {
        constexpr int kSteps = 500;
        const auto begin = std::chrono::steady_clock::now();
        for (int index = 0; index < kSteps; ++index)
            step();
        const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - begin;
        best = std::min(best, spent.count() / kSteps);
    }
};

constexpr int kRounds = 400;

// Locks and counts are cheaper in a process of one thread, which no host is: a second one waits meanwhile.
class Figures : public tests::AudioRendererTest {
protected:
    Figures() { done.Lock(); }
    ~Figures() override {
        done.Unlock();
        other.join();
    }

private:
    support::Mutex done;
    std::thread other{[this] { const support::MutexLock lock(done); }};
};

TEST_F(Figures, PullOfAHeldPictureCostsAtMostSixMutexPairs) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(1280, 720, 50);
    renderer->OnVideoFrame(picture.frame);
    support::Mutex mutex;
    Timing pull, pair;
    for (int round = 0; round < kRounds; ++round) {
        pull.Round([&] {
            nxBuffer2* buffer = nullptr;
            renderer->BufferForParameters(&buffer, {1000, 1});
            Use(buffer);
            buffer->Release();
        });
        pair.Round([&] {
            mutex.Lock();
            Use(mutex);
            mutex.Unlock();
        });
    }
    RecordProperty("pull_ns", std::to_string(pull.best));
    RecordProperty("mutex_pair_ns", std::to_string(pair.best));
    std::printf("pull %.1f ns, mutex pair %.1f ns, ratio %.2f\n", pull.best, pair.best,
                pull.best / pair.best);
    EXPECT_LE(pull.best, 6 * pair.best);
}

TEST_F(Figures, RingReadOf1600FramesCostsAtMost1Point6Copies) {
    SampleRing ring;
    alignas(64) std::array<std::uint8_t, 6400> block{};  // as in the host's buffers
    struct alignas(64) Plain {
        std::uint8_t at[SampleRing::kSize] = {1};
    };
    const auto plain = std::make_unique<Plain>();
    std::uint64_t position = 0;
    Timing read, copy;
    // Both walk over one second, so that both find their source in the same cache.
    for (int round = 0; round < kRounds; ++round) {
        read.Round([&] {
            ring.Read(position, block.data(), 6400);
            Use(block);
            position += 6400;
        });
        copy.Round([&] {
            std::memcpy(block.data(), plain->at + position % SampleRing::kSize, block.size());
            Use(block);
            position += 6400;
        });
    }
    std::printf("ring read %.1f ns, copy %.1f ns, ratio %.2f\n", read.best, copy.best, read.best / copy.best);
    EXPECT_LE(read.best, 1.6 * copy.best);
}

}  // namespace
