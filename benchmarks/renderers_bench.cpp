// What pulling costs, beside the bare operations that tools/bench divides it by.
#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <memory>
#include <thread>

#include "tests/unit/renderers/AudioRendererTest.h"

namespace {

constexpr std::size_t kBlockBytes = 6400;  // 1600 frames of stereo sound

// Locks and counts are cheaper in a process of one thread, which no host is: a second one waits meanwhile.
class SecondThread {
public:
    SecondThread() { done.Lock(); }
    ~SecondThread() {
        done.Unlock();
        other.join();
    }

private:
    support::Mutex done;  // guards no field: held until the measuring ends
    std::thread other{[this] { const support::MutexLock lock(done); }};
};

// The renderers as their tests set them up.
class Setup : public tests::AudioRendererTest {
public:
    using AudioRendererTest::MakeVideoRenderer;

private:
    void TestBody() override {}
};

void PullOfAHeldPicture(benchmark::State& state) {
    const SecondThread second;
    Setup setup;
    const auto renderer = setup.MakeVideoRenderer();
    const tests::Picture picture(1280, 720, 50);
    renderer->OnVideoFrame(picture.frame);
    for (auto _ : state) {
        nxBuffer2* buffer = nullptr;
        renderer->BufferForParameters(&buffer, {1000, 1});
        benchmark::DoNotOptimize(buffer);
        buffer->Release();
    }
}
BENCHMARK(PullOfAHeldPicture);

void MutexPair(benchmark::State& state) {
    const SecondThread second;
    support::Mutex mutex;  // guards no field: its cost is the measure
    for (auto _ : state) {
        mutex.Lock();
        benchmark::DoNotOptimize(mutex);
        mutex.Unlock();
    }
}
BENCHMARK(MutexPair);

// Both walk over one second of sound, so that both find their source in the same cache.
void RingReadOf1600Frames(benchmark::State& state) {
    SampleRing ring;
    alignas(64) std::array<std::uint8_t, kBlockBytes> block{};  // as in the host's buffers
    std::uint64_t position = 0;
    for (auto _ : state) {
        ring.Read(position, block.data(), kBlockBytes);
        benchmark::DoNotOptimize(block);
        position += kBlockBytes;
    }
}
BENCHMARK(RingReadOf1600Frames);

void CopyOf6400Bytes(benchmark::State& state) {
    struct alignas(64) Second {
        std::uint8_t bytes[SampleRing::kSize] = {1};
    };
    const auto second = std::make_unique<Second>();
    alignas(64) std::array<std::uint8_t, kBlockBytes> block{};
    std::uint64_t position = 0;
    for (auto _ : state) {
        std::memcpy(block.data(), second->bytes + position % SampleRing::kSize, kBlockBytes);
        benchmark::DoNotOptimize(block);
        position += kBlockBytes;
    }
}
BENCHMARK(CopyOf6400Bytes);

}  // namespace

BENCHMARK_MAIN();
