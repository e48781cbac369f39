// A frame in, a picture out and sound in and out allocate nothing once they are warm. This program counts
// every allocation, so it is one of its own.
#include <atomic>
#include <cstdlib>
#include <new>

#include "tests/unit/renderers/AudioRendererTest.h"

namespace {

std::atomic<std::int64_t> allocations{0};

void* Allocate(std::size_t size, std::size_t alignment) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    const std::size_t rounded = (size + alignment - 1) / alignment * alignment;
    void* const memory = std::aligned_alloc(alignment, rounded == 0 ? alignment : rounded);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

void* operator new(std::size_t size) {
    return Allocate(size, alignof(std::max_align_t));
}
void* operator new[](std::size_t size) {
    return Allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return Allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return Allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

namespace {

using tests::BufferPointer;
using tests::Picture;

class HotPath : public tests::AudioRendererTest {
protected:
    // Runs the step until it is warm, then counts over many more.
    template <class Step>
    static std::int64_t AllocationsOf(Step step) {
        for (int warmUp = 0; warmUp < 20; ++warmUp)
            step();
        const std::int64_t before = allocations.load();
        for (int repeat = 0; repeat < 1000; ++repeat)
            step();
        return allocations.load() - before;
    }
};

TEST_F(HotPath, CounterSeesAllocations) {
    EXPECT_EQ(AllocationsOf([] { std::vector<int>(10).front() = 1; }), 1000);
}

TEST_F(HotPath, FrameInAllocatesNothing) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    EXPECT_EQ(AllocationsOf([&] { renderer->OnVideoFrame(picture.frame); }), 0);
}

TEST_F(HotPath, FrameInWhileTheHostHoldsPicturesAllocatesNothing) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    BufferPointer held;
    EXPECT_EQ(AllocationsOf([&] {
                  renderer->OnVideoFrame(picture.frame);
                  held = Pull(*renderer, 0);
              }),
              0);
}

TEST_F(HotPath, PullOfAHeldPictureAllocatesNothing) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    EXPECT_EQ(AllocationsOf([&] { Pull(*renderer, 0); }), 0);
}

TEST_F(HotPath, SoundInAndOutAllocatesNothing) {
    const auto renderer = MakeAudioRenderer();
    renderer->SetCbsValue(0, 1);
    renderer->SetCbsValue(1, 2);
    renderer->SetCbsValue(2, 3);
    renderer->SetCbsValue(3, 4);
    const std::vector<std::int16_t> samples(960, 5);
    std::int64_t timeUs = kStart;
    EXPECT_EQ(AllocationsOf([&] {
                  for (const std::uint64_t channels : {1U, 2U, 2U})
                      renderer->OnAudioData({samples.data(), 16, 48000, channels, 480});
                  for (std::uint64_t key = 1; key <= 3; ++key)
                      Pull(*renderer, timeUs, key);
                  timeUs += 30'000;
              }),
              0);
}

}  // namespace
