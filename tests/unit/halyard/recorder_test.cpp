// The recorder before an encoder that stands still for as long as a test wants.
#include "apps/halyard/Recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include "support/annotated_mutex.h"
#include "tests/fakes/BufferDouble.h"
#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace tests {
namespace {

using host_runtime::HostPointer;

constexpr int kWidth = 64;
constexpr int kHeight = 36;
// One in the encoder, the others before it.
constexpr int kMostInTheEncoder = 5;

// The encoder keeps the pictures that it has finished until the gate is opened.
class Gate {
public:
    void Open() EXCLUDES(mutex) {
        const support::MutexLock lock(mutex);
        isOpen = true;
        changed.NotifyAll();
    }
    void Take() EXCLUDES(mutex) {
        const support::MutexLock lock(mutex);
        ++taken;
        most = std::max(most, taken - left);
        changed.NotifyAll();
    }
    void Leave() EXCLUDES(mutex) {
        const support::MutexLock lock(mutex);
        while (!isOpen)
            changed.Wait(mutex);
        ++left;
    }

    // Whether the encoder was given so many in time.
    bool WaitForTaken(int count) EXCLUDES(mutex) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        const support::MutexLock lock(mutex);
        while (taken < count) {
            if (!changed.WaitUntil(mutex, deadline)) break;
        }
        return taken >= count;
    }
    // How many it had at the most at the same time.
    int Most() EXCLUDES(mutex) {
        const support::MutexLock lock(mutex);
        return most;
    }

private:
    support::Mutex mutex;
    support::Condition changed;
    bool isOpen GUARDED_BY(mutex) = false;
    int taken GUARDED_BY(mutex) = 0;
    int left GUARDED_BY(mutex) = 0;
    int most GUARDED_BY(mutex) = 0;
};

// A grey picture. Whoever refers to it on another thread than the test's is the recorder that hands it to the
// encoder, and whoever lets it go on a third one is the encoder.
class GatedPicture final : public BufferDouble {
public:
    explicit GatedPicture(Gate& before)
        : BufferDouble(kMediaTypeVideo), gate(before), pixels(std::size_t{kWidth} * 2 * kHeight, 128) {
        SetInt32(FourCC("mwid"), kWidth);
        SetInt32(FourCC("mhei"), kHeight);
        SetInt32(FourCC("mbpr"), kWidth * 2);
        SetInt32(FourCC("mcol"), static_cast<std::int32_t>(kPixelFormatUYVY));
    }

    std::uint32_t AddRef() override {
        if (std::this_thread::get_id() != maker) {
            recorder = std::this_thread::get_id();
            gate.Take();
        }
        return BufferDouble::AddRef();
    }
    std::uint32_t Release() override {
        const auto self = std::this_thread::get_id();
        if (self != maker && self != recorder) gate.Leave();
        return BufferDouble::Release();
    }
    std::uint8_t* Data() override { return pixels.data(); }
    std::size_t DataSize() const override { return pixels.size(); }

private:
    ~GatedPicture() override = default;

    Gate& gate;
    std::vector<std::uint8_t> pixels;
    const std::thread::id maker = std::this_thread::get_id();
    std::thread::id recorder;
};

class GatedRecorder : public testing::Test {
protected:
    ~GatedRecorder() override { gate.Open(); }

    void Send(int count) {
        for (; count > 0; --count) {
            const auto picture = HostPointer<nxBuffer2>::Adopt(new GatedPicture(gate));
            timeUs += 33'333;
            recorder.OnPicture({picture.Get(), timeUs, true, true});
        }
    }

    const TemporaryDirectory directory;
    Gate gate;
    std::int64_t timeUs = 1'000'000;
    halyard::Recorder recorder{directory.Path(), "gated"};
};

TEST_F(GatedRecorder, WaitsForAFullEncoderAndGoesOn) {
    Send(kMostInTheEncoder + 1);
    ASSERT_TRUE(gate.WaitForTaken(kMostInTheEncoder));
    constexpr int kMore = 44;
    Send(kMore);
    // The one that waits for the encoder may still be in the queue.
    constexpr int kLeftOut = kMore - static_cast<int>(halyard::Recorder::kMostQueuedPictures);
    const auto dropped = static_cast<int>(recorder.DroppedPictures());
    EXPECT_GE(dropped, kLeftOut);
    EXPECT_LE(dropped, kLeftOut + 1);
    gate.Open();
    EXPECT_TRUE(gate.WaitForTaken(kMostInTheEncoder + 1 + kMore - dropped));
    EXPECT_LE(gate.Most(), kMostInTheEncoder);
    recorder.Finish();
    EXPECT_EQ(recorder.Failure(), "");
    EXPECT_GT(std::filesystem::file_size(recorder.File()), 0U);
}

TEST_F(GatedRecorder, WaitsNoMoreWhenItIsClosed) {
    Send(2 * kMostInTheEncoder);
    ASSERT_TRUE(gate.WaitForTaken(kMostInTheEncoder));
    recorder.Close();
    EXPECT_TRUE(gate.WaitForTaken(2 * kMostInTheEncoder)) << "the encoder still stands";
    gate.Open();
    recorder.Finish();
    EXPECT_EQ(recorder.Failure(), "");
    EXPECT_EQ(recorder.DroppedPictures(), 0);
}

}  // namespace
}  // namespace tests
