#include "host_runtime/sources/SourcePuller.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <utility>

#include "host/core/zTraceManager.h"
#include "host/media/nxBuffer2.h"
#include "host/renderer/nxRenderer2.h"
#include "host_runtime/sources/Source.h"
#include "host_runtime/sources/SteadyClock.h"

namespace host_runtime {

// The mutexes are held while the source is pulled and the consumer called, so that Remove() returns only
// when neither runs any more. Picture and sound do not wait for each other.
struct SourcePuller::Entry {
    Entry(std::shared_ptr<Source> sourceToPull, std::shared_ptr<PullConsumer> toTell)
        : source(std::move(sourceToPull)), consumer(std::move(toTell)) {}

    const std::shared_ptr<Source> source;
    const std::shared_ptr<PullConsumer> consumer;

    support::Mutex pictureMutex;
    bool pictureEnded GUARDED_BY(pictureMutex) = false;
    // Held, so that a new picture cannot come in the memory of the last one.
    HostPointer<nxBuffer2> lastPicture GUARDED_BY(pictureMutex);

    support::Mutex soundMutex;
    bool soundEnded GUARDED_BY(soundMutex) = false;

    void End() {
        {
            const support::MutexLock lock(pictureMutex);
            pictureEnded = true;
            lastPicture.Reset();
        }
        const support::MutexLock lock(soundMutex);
        soundEnded = true;
    }
};

namespace {

std::uint64_t NextConsumerKey() {
    static std::atomic<std::uint64_t> next{1};
    return next.fetch_add(1);
}

HostPointer<nxBuffer2> Pull(nxRenderer2& renderer, const nx_renderer_params& params) {
    nxBuffer2* buffer = nullptr;
    try {
        renderer.BufferForParameters(&buffer, params);
    } catch (const std::exception& failure) {
        zTraceManager::Default()->TraceMessage(FourCC("note"), "halyard: a source failed while pulled: %s\n",
                                               failure.what());
    }
    return HostPointer<nxBuffer2>::Adopt(buffer);
}

}  // namespace

SourcePuller::SourcePuller(FrameRate pullRate) : frameRate(pullRate), consumerKey(NextConsumerKey()) {}

SourcePuller::~SourcePuller() {
    Stop();
    for (const EntryPointer& entry : entries)
        entry->End();
}

void SourcePuller::Add(std::shared_ptr<Source> source, std::shared_ptr<PullConsumer> consumer) {
    auto entry = std::make_shared<Entry>(std::move(source), std::move(consumer));
    const support::MutexLock lock(mutex);
    entries.push_back(std::move(entry));
}

void SourcePuller::Remove(const Source& source) {
    std::vector<EntryPointer> removed;
    {
        const support::MutexLock lock(mutex);
        const auto kept = std::stable_partition(
            entries.begin(), entries.end(),
            [&source](const EntryPointer& entry) { return entry->source.get() != &source; });
        removed.assign(kept, entries.end());
        entries.erase(kept, entries.end());
    }
    for (const EntryPointer& entry : removed)
        entry->End();
}

void SourcePuller::Start() {
    {
        const support::MutexLock lock(mutex);
        if (running) return;
        running = true;
    }
    // Never back, also over a stop: a consumer's time only grows.
    const std::int64_t originUs = SteadyNowUs();
    pictureThread = std::thread([this, originUs] {
        pthread_setname_np(pthread_self(), "pull-picture");
        RunGrid([this, originUs](std::int64_t k) { return PicturePullTimeUs(originUs, k, frameRate); }, 0,
                [this](std::int64_t timeUs) { PullPictures(timeUs); });
    });
    soundThread = std::thread([this, originUs] {
        pthread_setname_np(pthread_self(), "pull-sound");
        RunGrid([originUs](std::int64_t k) { return SoundPullTimeUs(originUs, k); }, kGiveUpAfterUs,
                [this](std::int64_t timeUs) { PullSound(timeUs); });
    });
}

void SourcePuller::Stop() {
    {
        const support::MutexLock lock(mutex);
        running = false;
    }
    stopRequested.NotifyAll();
    if (pictureThread.joinable()) pictureThread.join();
    if (soundThread.joinable()) soundThread.join();
    pictureEntries.clear();
    soundEntries.clear();
}

void SourcePuller::RunGrid(const GridTime& timeOf, std::int64_t allowedLatenessUs,
                           const std::function<void(std::int64_t)>& pull) {
    for (std::int64_t next = 0; WaitUntil(timeOf(next)); ++next) {
        const std::int64_t nowUs = SteadyNowUs();
        if (nowUs - timeOf(next) > allowedLatenessUs) next = LatestDue(next, nowUs, timeOf);
        pull(timeOf(next));
    }
}

bool SourcePuller::WaitUntil(std::int64_t timeUs) {
    const std::chrono::steady_clock::time_point deadline{std::chrono::microseconds(timeUs)};
    const support::MutexLock lock(mutex);
    while (running) {
        if (!stopRequested.WaitUntil(mutex, deadline)) return running;
    }
    return false;
}

void SourcePuller::CopyEntries(std::vector<EntryPointer>& copy) const {
    const support::MutexLock lock(mutex);
    copy.assign(entries.begin(), entries.end());
}

void SourcePuller::PullPictures(std::int64_t presentationTimeUs) {
    CopyEntries(pictureEntries);
    for (const EntryPointer& entry : pictureEntries) {
        const std::shared_ptr<nxRenderer2> renderer = entry->source->VideoRenderer();
        if (!renderer) continue;
        const support::MutexLock lock(entry->pictureMutex);
        if (entry->pictureEnded) continue;
        HostPointer<nxBuffer2> buffer = Pull(*renderer, {presentationTimeUs, consumerKey});
        if (!buffer) continue;
        const bool isPicture = buffer->AsBool("vidI", false);
        const bool isNew = isPicture && buffer.Get() != entry->lastPicture.Get();
        if (isNew) {
            entry->source->NotePicture(SteadyNowUs());
            entry->lastPicture = buffer;
        }
        entry->consumer->OnPicture({buffer.Get(), presentationTimeUs, isPicture, isNew});
    }
}

void SourcePuller::PullSound(std::int64_t presentationTimeUs) {
    CopyEntries(soundEntries);
    for (const EntryPointer& entry : soundEntries) {
        const std::shared_ptr<nxRenderer2> renderer = entry->source->AudioRenderer();
        if (!renderer) continue;
        const support::MutexLock lock(entry->soundMutex);
        if (entry->soundEnded) continue;
        const HostPointer<nxBuffer2> buffer = Pull(*renderer, {presentationTimeUs, consumerKey});
        if (buffer) entry->consumer->OnSound({buffer.Get(), presentationTimeUs});
    }
}

}  // namespace host_runtime
