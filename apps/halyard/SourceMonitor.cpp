#include "apps/halyard/SourceMonitor.h"

#include <span>
#include <utility>

#include "host/media/nxBuffer2.h"
#include "host_runtime/sources/SteadyClock.h"

namespace halyard {
namespace {

std::span<const std::int16_t> Samples(nxBuffer2& sound) {
    // Host buffers are aligned for every sample type.
    return {reinterpret_cast<const std::int16_t*>(sound.Data()), sound.DataSize() / sizeof(std::int16_t)};
}

}  // namespace

SourceMonitor::SourceMonitor(bool probes, std::shared_ptr<Recorder> sourceRecorder)
    : recorder(std::move(sourceRecorder)), probe(probes ? std::make_unique<Probe>() : nullptr) {}

SourceMonitor::~SourceMonitor() = default;

void SourceMonitor::WriteTo(std::shared_ptr<Timeline> keptTimeline, std::string name) {
    timeline = std::move(keptTimeline);
    timelineName = std::move(name);
}

void SourceMonitor::OnPicture(const host_runtime::PulledPicture& picture) {
    const std::int64_t nowUs = host_runtime::SteadyNowUs();
    if (recorder) recorder->OnPicture(picture);
    const support::MutexLock lock(mutex);
    ++counts.picturesPulled;
    if (timeline && !picture.isPicture && !showsColour) timeline->Colour(nowUs, timelineName);
    showsColour = !picture.isPicture;
    if (!picture.isNew) return;
    if (!counts.firstPictureAtUs) counts.firstPictureAtUs = nowUs;
    counts.width = picture.buffer->GetDisplayWidth();
    counts.height = picture.buffer->GetDisplayHeight();
    // Another buffer may still show a frame that the sender sent twice.
    const bool seenBefore = probe && probe->OnNewPicture(*picture.buffer, picture.presentationTimeUs, nowUs);
    if (seenBefore) return;
    ++counts.distinctPictures;
    if (!timeline) return;
    const std::optional<double> latencyMs = probe ? probe->LastLatencyMs() : std::nullopt;
    timeline->Picture(nowUs, timelineName, counts.width, counts.height, latencyMs);
}

void SourceMonitor::OnSound(const host_runtime::PulledSound& sound) {
    if (recorder) recorder->OnSound(sound);
    const std::span<const std::int16_t> samples = Samples(*sound.buffer);
    const support::MutexLock lock(mutex);
    const std::int64_t silentBlocks = soundMeter.SilentBlocks();
    soundMeter.Add(samples);
    const bool silent = soundMeter.SilentBlocks() > silentBlocks;
    if (timeline && silent != isSilent) timeline->Sound(host_runtime::SteadyNowUs(), timelineName, silent);
    isSilent = silent;
    if (probe) probe->OnSound(samples, sound.presentationTimeUs);
}

SourceMonitor::Counts SourceMonitor::Now() const {
    const support::MutexLock lock(mutex);
    Counts result = counts;
    result.soundBlocksPulled = soundMeter.Blocks();
    result.silentSoundBlocks = soundMeter.SilentBlocks();
    if (probe) {
        const Histogram& latency = probe->LatencyMs();
        result.probe = ProbeResult{latency.Percentile(50),   latency.Percentile(95), latency.Percentile(99),
                                   latency.Maximum(),        probe->SoundOffsets(),  probe->SkippedPictures(),
                                   probe->RepeatedPictures()};
    }
    return result;
}

std::optional<double> SourceMonitor::TakeSoundLevel() {
    const support::MutexLock lock(mutex);
    return soundMeter.TakeLevel();
}

}  // namespace halyard
