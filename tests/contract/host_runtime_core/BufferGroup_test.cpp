// What every maker of host buffers keeps to.
#include "host_runtime/media/BufferGroup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

#include "host/media/nxBuffer2.h"
#include "host/media/nxBufferGroup2.h"

namespace {

struct Releaser {
    template <class T>
    void operator()(T* object) const {
        object->Release();
    }
};
using BufferPointer = std::unique_ptr<nxBuffer2, Releaser>;
using GroupPointer = std::unique_ptr<nxBufferGroup2, Releaser>;

class BufferGroupContract : public testing::Test {
protected:
    GroupPointer group{host_runtime::BufferGroup::Make()};

    static mdMediaRecord PictureRecord(std::int32_t width, std::int32_t height) {
        mdMediaRecord record(kMediaTypeVideo);
        record.SetInt32("mwid", width);
        record.SetInt32("mhei", height);
        record.SetInt32("mcol", static_cast<std::int32_t>(kPixelFormatUYVY));
        record.SetBytesPerRowBasedOnFormat();
        return record;
    }
    static mdMediaRecord SoundRecord() {
        mdMediaRecord record(kMediaTypeAudio);
        record.SetInt32("msmr", 48000);
        record.SetInt32("mcbu", 1);
        record.SetInt32("mcha", 2);
        record.SetInt32("mbps", 16);
        return record;
    }
    BufferPointer Picture(const mdMediaRecord& record) {
        nxBuffer2* buffer = nullptr;
        const zStatus status = group->CreateBuffer(record, &buffer);
        EXPECT_EQ(status == kStatusOk, buffer != nullptr);
        return BufferPointer(buffer);
    }
    BufferPointer Picture(std::int32_t width, std::int32_t height) {
        return Picture(PictureRecord(width, height));
    }
    BufferPointer Sound(const mdMediaRecord& record, std::int32_t frames) {
        nxBuffer2* buffer = nullptr;
        const zStatus status = group->CreateBuffer(record, frames, 0, &buffer);
        EXPECT_EQ(status == kStatusOk, buffer != nullptr);
        return BufferPointer(buffer);
    }
    BufferPointer Coloured(std::int32_t width, std::int32_t height, std::uint32_t colour) {
        return BufferPointer(group->CreateColoredBuffer(width, height, colour));
    }
};

TEST_F(BufferGroupContract, PictureHasTheSizeAndFormatOfItsRecord) {
    const BufferPointer buffer = Picture(640, 360);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->AsInt32("type", 0), static_cast<std::int32_t>(kMediaTypeVideo));
    EXPECT_EQ(buffer->AsInt32("mwid", 0), 640);
    EXPECT_EQ(buffer->AsInt32("mhei", 0), 360);
    EXPECT_EQ(buffer->AsInt32("mcol", 0), static_cast<std::int32_t>(kPixelFormatUYVY));
    const nxPixelStore store = buffer->LockPixelsForWriting();
    EXPECT_EQ(store.bytesPerRow, 1280);
    EXPECT_EQ(store.baseAddress, buffer->Data());
    EXPECT_EQ(buffer->DataSize(), 1280U * 360U);
    buffer->UnlockPixels();
}

TEST_F(BufferGroupContract, FreshPictureIsZeroedWritableAndWithoutTimestamp) {
    const BufferPointer buffer = Picture(64, 48);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->Timestamp(), nxBuffer2::kTimestampUnset);
    const std::uint8_t* bytes = buffer->Data();
    EXPECT_TRUE(std::all_of(bytes, bytes + buffer->DataSize(), [](std::uint8_t byte) { return byte == 0; }));
    std::memset(buffer->LockPixelsForWriting().baseAddress, 0x55, buffer->DataSize());
    EXPECT_EQ(buffer->Data()[buffer->DataSize() - 1], 0x55);
}

TEST_F(BufferGroupContract, OddWidthsRoundUpToWholePixelPairs) {
    const BufferPointer buffer = Picture(639, 359);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->LockPixelsForWriting().bytesPerRow, 1280);
    EXPECT_EQ(buffer->DataSize(), 1280U * 359U);
    const BufferPointer smallest = Picture(1, 1);
    ASSERT_NE(smallest, nullptr);
    EXPECT_EQ(smallest->DataSize(), 4U);
}

TEST_F(BufferGroupContract, WiderRowsOfTheRecordAreKept) {
    mdMediaRecord record = PictureRecord(640, 2);
    record.SetInt32("mbpr", 2048);
    const BufferPointer buffer = Picture(record);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->LockPixelsForWriting().bytesPerRow, 2048);
    EXPECT_EQ(buffer->DataSize(), 4096U);
}

TEST_F(BufferGroupContract, MissingBytesPerRowAreFilledIn) {
    mdMediaRecord record = PictureRecord(320, 200);
    record.Erase("mbpr");
    const BufferPointer buffer = Picture(record);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->AsInt32("mbpr", 0), 640);
}

TEST_F(BufferGroupContract, UnusableRecordsMakeNoBuffer) {
    EXPECT_EQ(Picture(0, 100), nullptr);
    EXPECT_EQ(Picture(100, 0), nullptr);
    EXPECT_EQ(Picture(-1, 100), nullptr);
    EXPECT_EQ(Picture(100, std::numeric_limits<std::int32_t>::min()), nullptr);
    EXPECT_EQ(Picture(std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::max()),
              nullptr);
    EXPECT_EQ(Picture(32768, 32768), nullptr);  // 2 GiB
    EXPECT_EQ(Picture(mdMediaRecord(kMediaTypeVideo)), nullptr);
    EXPECT_EQ(Picture(SoundRecord()), nullptr);
    mdMediaRecord narrow = PictureRecord(640, 360);
    narrow.SetInt32("mbpr", 1279);
    EXPECT_EQ(Picture(narrow), nullptr);
    EXPECT_NE(group->CreateBuffer(PictureRecord(16, 16), nullptr), kStatusOk);
}

TEST_F(BufferGroupContract, DisplaySizeIsItsOwnElseThePictures) {
    const BufferPointer buffer = Picture(640, 360);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->GetDisplayWidth(), 640);
    EXPECT_EQ(buffer->GetDisplayHeight(), 360);
    buffer->SetInt32("mdSQ", 1280);
    buffer->SetInt32("mdSH", 720);
    EXPECT_EQ(buffer->GetDisplayWidth(), 1280);
    EXPECT_EQ(buffer->GetDisplayHeight(), 720);
}

TEST_F(BufferGroupContract, SoundHoldsItsFramesAndHasNoPixels) {
    const BufferPointer buffer = Sound(SoundRecord(), 1600);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->DataSize(), 6400U);
    EXPECT_EQ(buffer->AsInt32("msmr", 0), 48000);
    EXPECT_EQ(buffer->Timestamp(), nxBuffer2::kTimestampUnset);
    EXPECT_EQ(buffer->LockPixelsForWriting().baseAddress, nullptr);
    buffer->UnlockPixels();
}

TEST_F(BufferGroupContract, SoundIsZeroedAlsoWhenItsMemoryWasUsedBefore) {
    const std::uint8_t* before = nullptr;
    {
        const BufferPointer used = Sound(SoundRecord(), 1600);
        before = used->Data();
        std::memset(used->Data(), 0x7F, used->DataSize());
    }
    const BufferPointer buffer = Sound(SoundRecord(), 1600);
    EXPECT_EQ(buffer->Data(), before) << "memory is expected to be reused";
    const std::uint8_t* bytes = buffer->Data();
    EXPECT_TRUE(std::all_of(bytes, bytes + buffer->DataSize(), [](std::uint8_t byte) { return byte == 0; }));
}

TEST_F(BufferGroupContract, UnusableSoundMakesNoBuffer) {
    EXPECT_EQ(Sound(SoundRecord(), 0), nullptr);
    EXPECT_EQ(Sound(SoundRecord(), -1600), nullptr);
    EXPECT_EQ(Sound(SoundRecord(), std::numeric_limits<std::int32_t>::max()), nullptr);
    EXPECT_EQ(Sound(mdMediaRecord(kMediaTypeAudio), 1600), nullptr);
    EXPECT_EQ(Sound(PictureRecord(16, 16), 1600), nullptr);
    mdMediaRecord odd = SoundRecord();
    odd.SetInt32("mbps", 12);
    EXPECT_EQ(Sound(odd, 1600), nullptr);
    EXPECT_NE(group->CreateBuffer(SoundRecord(), 1600, 0, nullptr), kStatusOk);
}

TEST_F(BufferGroupContract, ReferencesAreCounted) {
    nxBuffer2* buffer = Picture(16, 16).release();
    EXPECT_EQ(buffer->AddRef(), 2U);
    EXPECT_EQ(buffer->Release(), 1U);
    EXPECT_EQ(host_runtime::BufferGroup::BuffersAlive(), 1);
    EXPECT_EQ(buffer->Release(), 0U);
    EXPECT_EQ(host_runtime::BufferGroup::BuffersAlive(), 0);
    EXPECT_EQ(group->AddRef(), 2U);
    EXPECT_EQ(group->Release(), 1U);
}

TEST_F(BufferGroupContract, BuffersOutliveTheirGroup) {
    const BufferPointer picture = Picture(320, 240);
    const BufferPointer sound = Sound(SoundRecord(), 1600);
    const BufferPointer plain = Coloured(320, 240, 0);
    group.reset();
    EXPECT_EQ(host_runtime::BufferGroup::Alive(), 0);
    std::memset(picture->Data(), 1, picture->DataSize());
    std::memset(sound->Data(), 2, sound->DataSize());
    EXPECT_EQ(plain->Data()[1], 16);
    std::memset(plain->LockPixelsForWriting().baseAddress, 3, plain->DataSize());
    EXPECT_EQ(plain->Data()[0], 3);
}

TEST_F(BufferGroupContract, ReusedBufferStartsWithAFreshRecordAndTimestamp) {
    {
        const BufferPointer used = Picture(64, 64);
        used->SetTimestamp(5);
        used->SetBool("vidI", true);
        used->SetCString("a name", "a text");
    }
    const BufferPointer buffer = Picture(64, 64);
    EXPECT_EQ(buffer->Timestamp(), nxBuffer2::kTimestampUnset);
    EXPECT_FALSE(buffer->Has("vidI"));
    EXPECT_FALSE(buffer->Has("a name"));
}

TEST_F(BufferGroupContract, LastReleasedMemoryIsUsedFirst) {
    BufferPointer first = Picture(64, 64);
    BufferPointer second = Picture(64, 64);
    const std::uint8_t* secondMemory = second->Data();
    first.reset();
    second.reset();
    EXPECT_EQ(Picture(64, 64)->Data(), secondMemory);
}

TEST_F(BufferGroupContract, ColourZeroIsBlackInUyvy) {
    const BufferPointer buffer = Coloured(721, 3, 0);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->AsInt32("mcol", 0), static_cast<std::int32_t>(kPixelFormatUYVY));
    EXPECT_EQ(buffer->GetDisplayWidth(), 721);
    EXPECT_EQ(buffer->GetDisplayHeight(), 3);
    EXPECT_FALSE(buffer->Has("vidI"));
    EXPECT_EQ(buffer->DataSize(), 1444U * 3U);
    EXPECT_EQ(buffer->AsInt32("mbpr", 0), 1444);
    for (std::size_t index = 0; index < buffer->DataSize(); ++index)
        ASSERT_EQ(buffer->Data()[index], index % 2 == 0 ? 128 : 16) << "byte " << index;
}

TEST_F(BufferGroupContract, ColoursAreRedGreenBlue) {
    const auto bytesOf = [this](std::uint32_t colour) {
        const BufferPointer buffer = Coloured(2, 1, colour);
        return std::vector<int>(buffer->Data(), buffer->Data() + 4);
    };
    EXPECT_EQ(bytesOf(0xFF000000), (std::vector<int>{128, 16, 128, 16}));
    EXPECT_EQ(bytesOf(0xFFFFFFFF), (std::vector<int>{128, 235, 128, 235}));
    EXPECT_EQ(bytesOf(0xFFFF0000), (std::vector<int>{90, 82, 240, 82}));
    EXPECT_EQ(bytesOf(0xFF00FF00), (std::vector<int>{54, 144, 34, 144}));
    EXPECT_EQ(bytesOf(0xFF0000FF), (std::vector<int>{240, 41, 110, 41}));
}

TEST_F(BufferGroupContract, UnusableColouredSizesMakeNoBuffer) {
    EXPECT_EQ(Coloured(0, 480, 0), nullptr);
    EXPECT_EQ(Coloured(720, -480, 0), nullptr);
    EXPECT_EQ(Coloured(32768, 32768, 0), nullptr);
}

TEST_F(BufferGroupContract, RepeatedColouredPullsPaintNothing) {
    const BufferPointer large = Coloured(1920, 1080, 0);
    const BufferPointer again = Coloured(1920, 1080, 0);
    const BufferPointer smaller = Coloured(640, 360, 0);
    EXPECT_EQ(large->Data(), again->Data());
    EXPECT_EQ(large->Data(), smaller->Data());
    EXPECT_NE(large.get(), again.get());
    large->SetTimestamp(1);
    EXPECT_EQ(again->Timestamp(), nxBuffer2::kTimestampUnset);
}

TEST_F(BufferGroupContract, WritingOneColouredPictureLeavesTheOthers) {
    const BufferPointer written = Coloured(16, 16, 0);
    const BufferPointer other = Coloured(16, 16, 0);
    const nxPixelStore store = written->LockPixelsForWriting();
    ASSERT_NE(store.baseAddress, nullptr);
    EXPECT_EQ(store.bytesPerRow, 32);
    EXPECT_EQ(store.baseAddress[1], 16) << "starts as the colour";
    std::memset(store.baseAddress, 0xEE, written->DataSize());
    written->UnlockPixels();
    EXPECT_EQ(written->Data()[0], 0xEE);
    EXPECT_EQ(written->LockPixelsForWriting().baseAddress, written->Data());
    EXPECT_EQ(other->Data()[0], 128);
    EXPECT_EQ(Coloured(16, 16, 0)->Data()[0], 128);
}

TEST_F(BufferGroupContract, ManyColoursKeepTheirOwnPixels) {
    std::vector<BufferPointer> buffers;
    for (std::uint32_t blue = 0; blue < 256; blue += 16)
        buffers.push_back(Coloured(32, 32, 0xFF000000 | blue));
    int lastU = 0;
    for (const BufferPointer& buffer : buffers) {
        EXPECT_GT(buffer->Data()[0], lastU);
        lastU = buffer->Data()[0];
    }
}

TEST_F(BufferGroupContract, BuffersAreMadeAndReleasedOnAnyThread) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 500;
    const BufferPointer shared = Picture(64, 64);
    std::atomic<int> corrupted{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            const auto mark = static_cast<std::uint8_t>(number + 1);
            for (int round = 0; round < kRounds; ++round) {
                const BufferPointer picture = Picture(64 + round % 3 * 64, 64);
                std::memset(picture->Data(), mark, picture->DataSize());
                const BufferPointer sound = Sound(SoundRecord(), 1600);
                const BufferPointer plain = Coloured(64, 64, static_cast<std::uint32_t>(round % 7));
                shared->AddRef();
                const BufferPointer second(shared.get());
                const auto marked = [mark](std::uint8_t byte) { return byte == mark; };
                if (!std::all_of(picture->Data(), picture->Data() + picture->DataSize(), marked)) ++corrupted;
                if (sound->Data()[0] != 0 || sound->Data()[6399] != 0) ++corrupted;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(corrupted.load(), 0);
}

}  // namespace
