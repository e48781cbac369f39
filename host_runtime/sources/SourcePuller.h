// Pulls sources for one consumer of the program: pictures at its frame rate on one render thread, sound on
// a grid of 1600 frames on another. Both share one timeline and one steady consumer key.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "host_runtime/sources/HostPointer.h"
#include "host_runtime/sources/PullConsumer.h"
#include "host_runtime/sources/PullGrid.h"
#include "support/annotated_mutex.h"
#include "support/object_count.h"

class nxBuffer2;

namespace host_runtime {

class Source;

class SourcePuller : private support::Counted<SourcePuller> {
public:
    using support::Counted<SourcePuller>::Alive;

    // Blocks of sound are caught up with unless they are later than this; late pictures are left out. The
    // grids go on.
    static constexpr std::int64_t kGiveUpAfterUs = 500'000;

    explicit SourcePuller(FrameRate pullRate);
    SourcePuller(const SourcePuller&) = delete;
    SourcePuller& operator=(const SourcePuller&) = delete;
    ~SourcePuller();  // stops

    // [any-thread] From now on `consumer` gets what the source gives. A source may be added for several
    // consumers.
    void Add(std::shared_ptr<Source> source, std::shared_ptr<PullConsumer> consumer);
    // [any-thread] On return the consumer is not called for that source any more. Not from a consumer.
    void Remove(const Source& source);

    void Start();
    // On return no consumer is called any more. Not from a consumer.
    void Stop();

    // Pulls every source once for the given time; what the threads do.
    void PullPictures(std::int64_t presentationTimeUs);
    void PullSound(std::int64_t presentationTimeUs);

    std::uint64_t ConsumerKey() const { return consumerKey; }

private:
    struct Entry;
    using EntryPointer = std::shared_ptr<Entry>;
    using GridTime = std::function<std::int64_t(std::int64_t)>;

    // Pulls that are late by more than `allowedLatenessUs` are left out.
    void RunGrid(const GridTime& timeOf, std::int64_t allowedLatenessUs,
                 const std::function<void(std::int64_t)>& pull);
    // False when asked to stop first.
    bool WaitUntil(std::int64_t timeUs) EXCLUDES(mutex);
    void CopyEntries(std::vector<EntryPointer>& copy) const EXCLUDES(mutex);

    const FrameRate frameRate;
    const std::uint64_t consumerKey;
    std::vector<EntryPointer> pictureEntries;  // of the picture thread; kept so that a pull allocates nothing
    std::vector<EntryPointer> soundEntries;    // of the sound thread

    mutable support::Mutex mutex;
    support::Condition stopRequested;
    bool running GUARDED_BY(mutex) = false;
    std::vector<EntryPointer> entries GUARDED_BY(mutex);
    std::thread pictureThread;
    std::thread soundThread;
};

}  // namespace host_runtime
