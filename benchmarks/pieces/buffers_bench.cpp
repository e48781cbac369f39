// Where a frame's memory comes from: the host's pool, beside a mapping of its own for every frame; and the
// page faults that a frame costs the thread that brings it.
#include <benchmark/benchmark.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <atomic>
#include <thread>

#include "benchmarks/pieces/HostBuffers.h"
#include "benchmarks/pieces/RealRenderers.h"
#include "webrtc/voColorspaceConverter.h"

namespace benchmarks {
namespace {

constexpr PictureSize kSize = SizeOfHeight(1080);
constexpr std::size_t kPageBytes = 4096;

void Convert(const vo_webrtc::voI420Frame& frame, std::uint8_t* memory) {
    vo_webrtc::voVideoFrame target{memory, frame.width, frame.height, frame.width * 2};
    vo_webrtc::voColorspaceConverter::I420ToUYVY(target, frame);
}

std::uint8_t* MapMemory() {
    void* const memory =
        mmap(nullptr, kSize.PackedBytes(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(memory);
}

void TouchEveryPage(std::uint8_t* memory) {
    for (std::size_t offset = 0; offset < kSize.PackedBytes(); offset += kPageBytes)
        static_cast<volatile std::uint8_t*>(memory)[offset] = 1;
}

void FrameIntoPooledBuffer(benchmark::State& state) {
    RealRenderers renderers(kSize);
    PlanarPictures pictures(kSize);
    for (auto _ : state) {
        const BufferPointer buffer = MakePictureBuffer(renderers.Buffers(), kSize);
        Convert(pictures.Next(), buffer->LockPixelsForWriting().baseAddress);
    }
}
BENCHMARK(FrameIntoPooledBuffer)->Unit(benchmark::kMicrosecond);

void FrameIntoMappedBuffer(benchmark::State& state) {
    PlanarPictures pictures(kSize);
    for (auto _ : state) {
        std::uint8_t* const memory = MapMemory();
        if (memory == nullptr) return state.SkipWithError("no memory");
        Convert(pictures.Next(), memory);
        munmap(memory, kSize.PackedBytes());
    }
}
BENCHMARK(FrameIntoMappedBuffer)->Unit(benchmark::kMicrosecond);

// The memory alone, without the picture that goes into it.
void PooledBufferAlone(benchmark::State& state) {
    RealRenderers renderers(kSize);
    for (auto _ : state) {
        const BufferPointer buffer = MakePictureBuffer(renderers.Buffers(), kSize);
        TouchEveryPage(buffer->LockPixelsForWriting().baseAddress);
    }
}
BENCHMARK(PooledBufferAlone)->Unit(benchmark::kMicrosecond);

void MappedBufferAlone(benchmark::State& state) {
    for (auto _ : state) {
        std::uint8_t* const memory = MapMemory();
        if (memory == nullptr) return state.SkipWithError("no memory");
        TouchEveryPage(memory);
        munmap(memory, kSize.PackedBytes());
    }
}
BENCHMARK(MappedBufferAlone)->Unit(benchmark::kMicrosecond);

std::int64_t FaultsOfThisThread() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_minflt + usage.ru_majflt;
}

// A host that pulls as fast as it can and keeps the last picture, as a mixer does.
class PullingHost {
public:
    explicit PullingHost(nxWebRtcVideoRenderer& toPull) : renderer(toPull) {}
    ~PullingHost() {
        ending = true;
        thread.join();
    }
    PullingHost(const PullingHost&) = delete;
    PullingHost& operator=(const PullingHost&) = delete;

private:
    void Run() {
        BufferPointer kept;
        while (!ending) {
            nxBuffer2* buffer = nullptr;
            renderer.BufferForParameters(&buffer, {1000, 1});
            kept = BufferPointer::Adopt(buffer);
            std::this_thread::yield();
        }
    }

    nxWebRtcVideoRenderer& renderer;
    std::atomic<bool> ending{false};
    std::thread thread{[this] { Run(); }};
};

void PageFaultsOfAFrame(benchmark::State& state) {
    constexpr int kWarmUpFrames = 100;
    const PictureSize size = SizeOfHeight(state.range(0));
    RealRenderers renderers(size);
    PlanarPictures pictures(size);
    const PullingHost host(renderers.Video());
    for (int frame = 0; frame < kWarmUpFrames; ++frame)
        renderers.Video().OnVideoFrame(pictures.Next());
    const std::int64_t before = FaultsOfThisThread();
    for (auto _ : state)
        renderers.Video().OnVideoFrame(pictures.Next());
    const auto faults = static_cast<double>(FaultsOfThisThread() - before);
    state.counters["pageFaultsPerFrame"] = faults / static_cast<double>(state.iterations());
}
BENCHMARK(PageFaultsOfAFrame)->Arg(720)->Arg(1080)->Arg(2160)->Iterations(500);

}  // namespace
}  // namespace benchmarks
