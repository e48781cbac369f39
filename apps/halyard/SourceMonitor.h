// What halyard sees of one source: counts for the progress and the report, the probe and the recording.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "apps/halyard/Probe.h"
#include "apps/halyard/Recorder.h"
#include "apps/halyard/SoundMeter.h"
#include "apps/halyard/Timeline.h"
#include "host_runtime/sources/PullConsumer.h"
#include "support/annotated_mutex.h"

namespace halyard {

class SourceMonitor final : public host_runtime::PullConsumer {
public:
    struct ProbeResult {
        std::optional<double> latencyP50;  // milliseconds, as all of these
        std::optional<double> latencyP95;
        std::optional<double> latencyP99;
        std::optional<double> latencyMax;
        std::optional<Probe::SoundOffset> soundOffset;
        std::int64_t skippedPictures = 0;
        std::int64_t repeatedPictures = 0;
    };
    struct Counts {
        int width = 0;
        int height = 0;
        std::int64_t picturesPulled = 0;
        std::int64_t distinctPictures = 0;
        std::int64_t soundBlocksPulled = 0;
        std::int64_t silentSoundBlocks = 0;
        std::optional<std::int64_t> firstPictureAtUs;  // steady clock
        std::optional<ProbeResult> probe;

        bool HasPicture() const { return distinctPictures > 0; }
        bool HasSound() const { return soundBlocksPulled > silentSoundBlocks; }
    };

    // `sourceRecorder` may be null.
    SourceMonitor(bool probes, std::shared_ptr<Recorder> sourceRecorder);
    // Before the first pull: `name` is how the source is called there.
    void WriteTo(std::shared_ptr<Timeline> keptTimeline, std::string name);
    ~SourceMonitor() override;

    void OnPicture(const host_runtime::PulledPicture& picture) override;
    void OnSound(const host_runtime::PulledSound& sound) override;

    Counts Now() const;                      // [any-thread]
    std::optional<double> TakeSoundLevel();  // [any-thread] dB of full scale since the last call
    const std::shared_ptr<Recorder>& Recording() const { return recorder; }

private:
    const std::shared_ptr<Recorder> recorder;
    std::shared_ptr<Timeline> timeline;  // may be null
    std::string timelineName;
    mutable support::Mutex mutex;
    Counts counts GUARDED_BY(mutex);
    SoundMeter soundMeter GUARDED_BY(mutex);
    bool showsColour GUARDED_BY(mutex) = true;
    bool isSilent GUARDED_BY(mutex) = true;
    std::unique_ptr<Probe> probe GUARDED_BY(mutex);
};

}  // namespace halyard
