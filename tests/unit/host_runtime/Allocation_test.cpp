// The way of a frame through the host allocates nothing and touches no fresh page once it is warm.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include "host/media/nxBuffer2.h"
#include "host_runtime/media/BufferGroup.h"
#include "tests/unit/host_runtime/CountedAllocations.h"

namespace {

std::int64_t PageFaultsOfThisThread() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_minflt + usage.ru_majflt;
}

constexpr int kWarmUpRounds = 10;
constexpr int kRounds = 200;

// The address sanitizer moves stack frames to pages of its own, less than one of them per picture.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr std::int64_t kPagesOfTheSanitizer = kRounds;
#else
constexpr std::int64_t kPagesOfTheSanitizer = 0;
#endif
#else
constexpr std::int64_t kPagesOfTheSanitizer = 0;
#endif

template <class Work>
std::int64_t AllocationsAfterWarmUp(Work work) {
    for (int round = 0; round < kWarmUpRounds; ++round)
        work();
    const std::int64_t before = tests::Allocations();
    for (int round = 0; round < kRounds; ++round)
        work();
    return tests::Allocations() - before;
}

mdMediaRecord FrameRecord() {
    mdMediaRecord record(kMediaTypeVideo);
    record.SetInt32(FourCC("mwid"), 1920);
    record.SetInt32(FourCC("mhei"), 1080);
    record.SetInt32(FourCC("mcol"), static_cast<std::int32_t>(kPixelFormatUYVY));
    record.SetBytesPerRowBasedOnFormat();
    return record;
}

mdMediaRecord SoundRecord() {
    mdMediaRecord record(kMediaTypeAudio);
    record.SetInt32(FourCC("msmr"), 48000);
    record.SetInt32(FourCC("mcbu"), 1);
    record.SetInt32(FourCC("mcha"), 2);
    record.SetInt32(FourCC("mbps"), 16);
    return record;
}

class Allocation : public testing::Test {
protected:
    void TearDown() override { group->Release(); }

    // As a renderer does for each frame: make, describe, fill, hold until the next one.
    void MakeFrame() {
        nxBuffer2* fresh = nullptr;
        group->CreateBuffer(FrameRecord(), &fresh);
        fresh->SetBool(FourCC("vidI"), true);
        fresh->SetInt32(FourCC("mdSQ"), 1920);
        fresh->SetInt32(FourCC("mdSH"), 1080);
        std::memset(fresh->LockPixelsForWriting().baseAddress, 0x40, fresh->DataSize());
        fresh->UnlockPixels();
        if (latest != nullptr) latest->Release();
        latest = fresh;
    }
    void DropLatest() {
        latest->Release();
        latest = nullptr;
    }

    host_runtime::BufferGroup* group = host_runtime::BufferGroup::Make();
    nxBuffer2* latest = nullptr;
};

TEST_F(Allocation, IsCounted) {
    const std::int64_t before = tests::Allocations();
    delete new int(1);
    const std::string longText(100, 'x');
    EXPECT_GE(tests::Allocations() - before, 1);
}

TEST_F(Allocation, NoneForAMediaRecord) {
    EXPECT_EQ(AllocationsAfterWarmUp([] {
                  mdMediaRecord record = FrameRecord();
                  record.SetBool(FourCC("vidI"), true);
                  const mdMediaRecord copy = record;
                  ASSERT_EQ(copy.AsInt32(FourCC("mbpr"), 0), 3840);
              }),
              0);
}

TEST_F(Allocation, NoneForAPicture) {
    EXPECT_EQ(AllocationsAfterWarmUp([this] { MakeFrame(); }), 0);
    DropLatest();
}

TEST_F(Allocation, NoneForASoundBufferWithItsMarks) {
    EXPECT_EQ(AllocationsAfterWarmUp([this] {
                  nxBuffer2* sound = nullptr;
                  group->CreateBuffer(SoundRecord(), 1600, 0, &sound);
                  sound->SetInt32(FourCC("rams"), 1);
                  for (zFourCC index = 0; index < 4; ++index)
                      sound->SetUInt64(FourCC("cBs0") + index, 5);
                  sound->Release();
              }),
              0);
}

TEST_F(Allocation, NoneForARepeatedColouredPicture) {
    EXPECT_EQ(AllocationsAfterWarmUp([this] { group->CreateColoredBuffer(1920, 1080, 0)->Release(); }), 0);
}

TEST_F(Allocation, NoFreshPageForAPictureOnceWarm) {
    for (int round = 0; round < kWarmUpRounds; ++round)
        MakeFrame();
    // The kernel may move pages at any time, which counts as faults; a fresh page per picture would fault in
    // every series.
    std::int64_t fewest = std::numeric_limits<std::int64_t>::max();
    for (int series = 0; series < 5; ++series) {
        const std::int64_t before = PageFaultsOfThisThread();
        for (int round = 0; round < kRounds; ++round)
            MakeFrame();
        fewest = std::min(fewest, PageFaultsOfThisThread() - before);
    }
    EXPECT_LE(fewest, kPagesOfTheSanitizer);
    DropLatest();
}

}  // namespace
