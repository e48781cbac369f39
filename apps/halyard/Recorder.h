// Records one source into a file of its own, from its first picture on. Pulling never waits for it: what the
// encoders or the disk cannot take is left out and counted.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "host_runtime/sources/HostPointer.h"
#include "host_runtime/sources/PullConsumer.h"
#include "support/annotated_mutex.h"

class nxBuffer2;

namespace halyard {

class RecordingPipeline;

class Recorder final : public host_runtime::PullConsumer {
public:
    static constexpr std::size_t kMostQueuedPictures = 30;
    static constexpr std::size_t kMostQueuedSounds = 300;
    // A picture that stands still is written again this often, or the sound would wait for it.
    static constexpr std::int64_t kRepeatAfterUs = 250'000;

    // `name` becomes the name of the file in `targetDirectory`.
    Recorder(std::filesystem::path targetDirectory, std::string fileName);
    ~Recorder() override;

    void OnPicture(const host_runtime::PulledPicture& picture) override;
    void OnSound(const host_runtime::PulledSound& sound) override;

    // Begins to complete the file; Finish() waits for that. Nothing is taken afterwards. What waits is handed
    // to the encoders at once, whether they keep up or not.
    void Close();
    void Finish();

    // After Finish(): empty when nothing was recorded.
    const std::filesystem::path& File() const { return file; }
    // After Finish(): one sentence; empty when all went well.
    const std::string& Failure() const { return failure; }
    std::int64_t DroppedPictures() const { return droppedPictures.load(); }
    std::int64_t DroppedSounds() const { return droppedSounds.load(); }

private:
    struct Item {
        bool isPicture = false;
        host_runtime::HostPointer<nxBuffer2> buffer;
        std::int64_t timeUs = 0;
    };

    void Run();
    bool Next(Item& item) EXCLUDES(mutex);
    // False, with one sentence, once the pipeline fails or stands still for too long.
    enum class Awaited { Room, Completion };
    bool Await(Awaited what, std::string& reason) EXCLUDES(mutex);
    bool IsReached(Awaited what) const REQUIRES(mutex);
    void Write(const Item& item);
    void Begin(const Item& picture);
    void Fail(const std::string& reason);

    const std::filesystem::path directory;
    const std::string name;
    std::atomic<std::int64_t> droppedPictures{0};
    std::atomic<std::int64_t> droppedSounds{0};

    // Of the picture thread.
    bool sawPicture = false;
    std::int64_t lastPictureUs = 0;

    support::Mutex mutex;
    support::Condition changed;
    std::deque<Item> queue GUARDED_BY(mutex);
    std::size_t queuedPictures GUARDED_BY(mutex) = 0;
    std::size_t queuedSounds GUARDED_BY(mutex) = 0;
    bool closing GUARDED_BY(mutex) = false;

    // Of the writing thread, and after its end of everyone.
    std::unique_ptr<RecordingPipeline> pipeline;
    std::filesystem::path file;
    std::string failure;
    std::thread thread;
};

}  // namespace halyard
