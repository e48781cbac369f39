#include "apps/halyard/Recorder.h"

#include <pthread.h>

#include <chrono>
#include <utility>

#include "apps/halyard/RecordingFile.h"
#include "apps/halyard/RecordingPipeline.h"
#include "host/media/nxBuffer2.h"

namespace halyard {
namespace {

using host_runtime::HostPointer;

constexpr std::chrono::milliseconds kRoomCheckInterval{5};
constexpr std::chrono::seconds kLongestWaitForRoom{10};
constexpr GstClockTime kLongestCompletion = 10 * GST_SECOND;

}  // namespace

Recorder::Recorder(std::filesystem::path targetDirectory, std::string fileName)
    : directory(std::move(targetDirectory)), name(std::move(fileName)), thread([this] { Run(); }) {}

Recorder::~Recorder() {
    Finish();
}

void Recorder::OnPicture(const host_runtime::PulledPicture& picture) {
    if (!sawPicture && !picture.isPicture) return;
    const bool isDue = picture.presentationTimeUs - lastPictureUs >= kRepeatAfterUs;
    if (sawPicture && !picture.isNew && !isDue) return;
    sawPicture = true;
    lastPictureUs = picture.presentationTimeUs;
    {
        const support::MutexLock lock(mutex);
        if (closing) return;
        if (queuedPictures >= kMostQueuedPictures) {
            droppedPictures.fetch_add(1);
            return;
        }
        ++queuedPictures;
        queue.push_back({true, HostPointer<nxBuffer2>::Share(picture.buffer), picture.presentationTimeUs});
    }
    changed.NotifyAll();
}

void Recorder::OnSound(const host_runtime::PulledSound& sound) {
    {
        const support::MutexLock lock(mutex);
        if (closing) return;
        if (queuedSounds >= kMostQueuedSounds) {
            droppedSounds.fetch_add(1);
            return;
        }
        ++queuedSounds;
        queue.push_back({false, HostPointer<nxBuffer2>::Share(sound.buffer), sound.presentationTimeUs});
    }
    changed.NotifyAll();
}

void Recorder::Close() {
    {
        const support::MutexLock lock(mutex);
        closing = true;
    }
    changed.NotifyAll();
}

void Recorder::Finish() {
    Close();
    if (thread.joinable()) thread.join();
}

void Recorder::Run() {
    pthread_setname_np(pthread_self(), "recorder");
    gst_init(nullptr, nullptr);  // now, so that the first picture does not wait for it
    Item item;
    while (Next(item))
        Write(item);
    item = {};
    std::string reason;
    if (pipeline && !pipeline->Finish(kLongestCompletion, reason)) Fail(reason);
    pipeline.reset();
}

bool Recorder::Next(Item& item) {
    const support::MutexLock lock(mutex);
    while (queue.empty() && !closing)
        changed.Wait(mutex);
    if (queue.empty()) return false;
    item = std::move(queue.front());
    queue.pop_front();
    --(item.isPicture ? queuedPictures : queuedSounds);
    return true;
}

void Recorder::Write(const Item& item) {
    if (!failure.empty()) return;
    if (!pipeline && item.isPicture) Begin(item);
    if (!pipeline || !WaitForRoom()) return;
    if (item.isPicture) {
        pipeline->PushPicture(*item.buffer, item.timeUs);
    } else {
        pipeline->PushSound(*item.buffer, item.timeUs);
    }
}

void Recorder::Begin(const Item& picture) {
    std::string reason;
    file = ReserveRecordingFile(directory, name, reason);
    if (!file.empty()) {
        pipeline = RecordingPipeline::Start(file, picture.buffer->GetDisplayWidth(),
                                            picture.buffer->GetDisplayHeight(), picture.timeUs, reason);
    }
    if (!pipeline) Fail(reason);
}

bool Recorder::WaitForRoom() {
    const auto deadline = std::chrono::steady_clock::now() + kLongestWaitForRoom;
    std::string reason;
    while (pipeline->IsWell(reason)) {
        if (pipeline->HasRoom()) return true;
        if (std::chrono::steady_clock::now() > deadline) {
            reason = "The recording failed: the disk or the encoder stands still.";
            break;
        }
        std::this_thread::sleep_for(kRoomCheckInterval);
    }
    Fail(reason);
    return false;
}

void Recorder::Fail(const std::string& reason) {
    if (failure.empty()) failure = reason;
    pipeline.reset();
}

}  // namespace halyard
