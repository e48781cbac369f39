// One source of the host's list. Its renderers may be swapped while render threads pull.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "host/core/zRecord.h"
#include "support/annotated_mutex.h"
#include "support/object_count.h"

class nxRenderer2;

namespace host_runtime {

// What the plug-in is told for a source's phone.
enum class TallyState : std::uint32_t {
    Program = 1,
    ProgramAndPreview = 2,
    Preview = 3,
    Off = 4,
    Idle = 5,
};

enum class SourceState {
    Inactive,      // known, not running
    Active,        // has renderers; whether pictures arrive is another matter
    Offline,       // its phone went away; runs again when it returns
    AddressInUse,  // another source already shows this phone
};

class Source : private support::Counted<Source> {
public:
    using support::Counted<Source>::Alive;

    // A source without a new picture for so long counts as stalled.
    static constexpr std::int64_t kStallUs = 2'000'000;

    Source(std::string sourceIdentifier, bool isDiscovered);
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    ~Source();

    // [any-thread]
    const std::string& Identifier() const { return identifier; }
    bool IsDiscovered() const { return discovered; }
    std::string Name() const;
    std::string Address() const;
    SourceState State() const;
    // Empty while nothing runs.
    std::shared_ptr<nxRenderer2> VideoRenderer() const;
    std::shared_ptr<nxRenderer2> AudioRenderer() const;
    // Steady clock; 0 before the first activation.
    std::int64_t FirstActivatedAtUs() const { return firstActivatedAtUs.load(); }
    std::int64_t LastPictureAtUs() const { return lastPictureAtUs.load(); }

    // [render-thread] Whoever pulls says so when a new picture came. The first one, and the first one after
    // a stall, is passed on to the listener, which must return at once.
    void NotePicture(std::int64_t nowUs);

    // [main-thread] for the list that owns it:
    zRecord& Settings() { return settings; }
    const zRecord& Settings() const { return settings; }
    // Copies name and address from the settings to where every thread can read them.
    void SettingsChanged();
    // For the open panel of the source, told when the settings or the renderers changed; empty for none.
    void SetChangeListener(std::function<void()> listener) { changeListener = std::move(listener); }
    void SetState(SourceState newState);
    void SetRenderers(std::shared_ptr<nxRenderer2> newVideo, std::shared_ptr<nxRenderer2> newAudio);
    void NoteActivation(std::int64_t nowUs);
    // Before the source is shared with pullers.
    void SetPictureListener(std::function<void(bool afterStall)> listener);

    bool audioMuted = false;
    bool videoMuted = false;
    TallyState tally = TallyState::Idle;

private:
    const std::string identifier;
    const bool discovered;
    zRecord settings;
    std::function<void(bool)> pictureListener;
    std::function<void()> changeListener;
    std::atomic<std::int64_t> firstActivatedAtUs{0};
    std::atomic<std::int64_t> lastPictureAtUs{0};

    mutable support::Mutex mutex;
    std::string name GUARDED_BY(mutex);
    std::string address GUARDED_BY(mutex);
    SourceState state GUARDED_BY(mutex) = SourceState::Inactive;
    std::shared_ptr<nxRenderer2> video GUARDED_BY(mutex);
    std::shared_ptr<nxRenderer2> audio GUARDED_BY(mutex);
};

}  // namespace host_runtime
