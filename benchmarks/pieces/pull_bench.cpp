// What pulling costs, beside the bare operations that it is divided by.
#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <memory>

#include "benchmarks/pieces/PictureSizes.h"
#include "benchmarks/pieces/RealRenderers.h"
#include "benchmarks/pieces/SecondThread.h"
#include "host/media/nxBuffer2.h"
#include "renderers/SampleRing.h"

namespace benchmarks {
namespace {

constexpr std::size_t kBlockBytes = 6400;  // 1600 frames of stereo sound

void PullOfAHeldPicture(benchmark::State& state) {
    const SecondThread second;
    RealRenderers renderers(SizeOfHeight(720));
    PlanarPictures pictures(SizeOfHeight(720));
    renderers.Video().OnVideoFrame(pictures.Next());
    for (auto _ : state) {
        nxBuffer2* buffer = nullptr;
        renderers.Video().BufferForParameters(&buffer, {1000, 1});
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
}  // namespace benchmarks
