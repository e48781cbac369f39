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

constexpr std::chrono::seconds kLongestStandstill{10};

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
    if (pipeline) pipeline->End();
    if (pipeline && !Await(Awaited::Completion, reason)) Fail(reason);
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
    if (!pipeline) return;
    std::string reason;
    if (!Await(Awaited::Room, reason)) {
        Fail(reason);
    } else if (item.isPicture) {
        pipeline->PushPicture(*item.buffer, item.timeUs);
    } else {
        pipeline->PushSound(*item.buffer, item.timeUs);
    }
}

void Recorder::Begin(const Item& picture) {
    std::string reason;
    file = ReserveRecordingFile(directory, name, reason);
    if (!file.empty()) {
        const auto onProgress = [this] {
            // Not between the writing thread's look and its wait, which would miss it.
            { const support::MutexLock lock(mutex); }
            changed.NotifyAll();
        };
        pipeline =
            RecordingPipeline::Start(file, picture.buffer->GetDisplayWidth(),
                                     picture.buffer->GetDisplayHeight(), picture.timeUs, onProgress, reason);
    }
    if (!pipeline) Fail(reason);
}

bool Recorder::Await(Awaited what, std::string& reason) {
    const support::MutexLock lock(mutex);
    std::uint64_t taken = pipeline->Taken();
    auto deadline = std::chrono::steady_clock::now() + kLongestStandstill;
    while (pipeline->IsWell(reason)) {
        if (IsReached(what)) return true;
        const auto now = std::chrono::steady_clock::now();
        if (taken != pipeline->Taken()) {
            taken = pipeline->Taken();
            deadline = now + kLongestStandstill;
        } else if (now >= deadline) {
            reason = what == Awaited::Room ? "The recording failed: the disk or the encoder stands still."
                                           : "The recording could not be completed in time.";
            return false;
        }
        changed.WaitUntil(mutex, deadline);
    }
    return false;
}

bool Recorder::IsReached(Awaited what) const {
    return what == Awaited::Room ? closing || pipeline->HasRoom() : pipeline->IsComplete();
}

void Recorder::Fail(const std::string& reason) {
    if (failure.empty()) failure = reason;
    pipeline.reset();
}

}  // namespace halyard
