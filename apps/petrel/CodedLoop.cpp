#include "apps/petrel/CodedLoop.h"

#include <chrono>
#include <utility>

#include "apps/petrel/EncoderPipeline.h"
#include "support/annotated_mutex.h"

namespace petrel {
namespace {

// For one picture, on the slowest of machines.
constexpr auto kPatience = std::chrono::seconds(10);

class Collector : public CodedMediaSink {
public:
    explicit Collector(std::size_t count) { pictures.reserve(count); }

    void PushVideo(GstBuffer* unit, GstCaps* caps) override {
        const support::MutexLock lock(mutex);
        // Equal ones are one, so that whoever sends the pictures sees a change only where there is one.
        const bool same = !pictures.empty() && gst_caps_is_equal(pictures.back().caps.get(), caps) != FALSE;
        GstCaps* const shared = same ? pictures.back().caps.get() : caps;
        pictures.push_back(
            {GstHandle<GstBuffer>(gst_buffer_ref(unit)), GstHandle<GstCaps>(gst_caps_ref(shared))});
        changed.NotifyAll();
    }
    void PushAudio(GstBuffer*, GstCaps*) override {}

    bool WaitForPictures(std::size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + kPatience;
        const support::MutexLock lock(mutex);
        while (pictures.size() < count) {
            if (!changed.WaitUntil(mutex, deadline)) break;
        }
        return pictures.size() >= count;
    }
    std::vector<CodedLoop::Picture> Take() {
        const support::MutexLock lock(mutex);
        return std::move(pictures);
    }

private:
    support::Mutex mutex;
    support::Condition changed;
    std::vector<CodedLoop::Picture> pictures GUARDED_BY(mutex);
};

}  // namespace

std::unique_ptr<CodedLoop> CodedLoop::Encode(const SimulateOptions& options, VideoSource& video,
                                             std::string& error) {
    const int count = kSeconds * options.framesPerSecond;
    Collector collector(static_cast<std::size_t>(count));
    std::unique_ptr<EncoderPipeline> encoder = EncoderPipeline::Make(options, false, collector, error);
    if (encoder == nullptr) return nullptr;
    for (int number = 0; number < count; ++number) {
        const auto time = std::chrono::nanoseconds(std::chrono::seconds(number)) / options.framesPerSecond;
        GstHandle<GstBuffer> picture = video.NextPicture(time.count() / 1000);
        if (picture == nullptr) {
            error = "there is no picture to be coded";
            return nullptr;
        }
        encoder->PushPicture(std::move(picture), video.LatestPosture(),
                             static_cast<GstClockTime>(time.count()));
        // The encoder's queue would leave out what comes faster than it codes.
        if (!collector.WaitForPictures(static_cast<std::size_t>(number) + 1)) {
            error = "the encoder left a picture out";
            return nullptr;
        }
    }
    encoder.reset();
    return std::unique_ptr<CodedLoop>(new CodedLoop(collector.Take()));
}

}  // namespace petrel
