#include "host_runtime/sources/Source.h"

#include <utility>

#include "host/renderer/nxRenderer2.h"

namespace host_runtime {

Source::Source(std::string sourceIdentifier, bool isDiscovered)
    : identifier(std::move(sourceIdentifier)), discovered(isDiscovered) {}

Source::~Source() = default;

std::string Source::Name() const {
    const support::MutexLock lock(mutex);
    return name;
}

std::string Source::Address() const {
    const support::MutexLock lock(mutex);
    return address;
}

SourceState Source::State() const {
    const support::MutexLock lock(mutex);
    return state;
}

std::shared_ptr<nxRenderer2> Source::VideoRenderer() const {
    const support::MutexLock lock(mutex);
    return video;
}

std::shared_ptr<nxRenderer2> Source::AudioRenderer() const {
    const support::MutexLock lock(mutex);
    return audio;
}

void Source::NotePicture(std::int64_t nowUs) {
    const std::int64_t before = lastPictureAtUs.exchange(nowUs);
    const bool first = before == 0;
    const bool afterStall = !first && nowUs - before > kStallUs;
    if ((first || afterStall) && pictureListener) pictureListener(afterStall);
}

void Source::SettingsChanged() {
    const std::string newName = settings.AsCString("name", "");
    const std::string newAddress = settings.AsCString("kestrel_ip_address", "");
    {
        const support::MutexLock lock(mutex);
        name = newName;
        address = newAddress;
    }
    if (changeListener) changeListener();
}

void Source::SetState(SourceState newState) {
    const support::MutexLock lock(mutex);
    state = newState;
}

void Source::SetRenderers(std::shared_ptr<nxRenderer2> newVideo, std::shared_ptr<nxRenderer2> newAudio) {
    {
        const support::MutexLock lock(mutex);
        video.swap(newVideo);
        audio.swap(newAudio);
    }
    // The old ones are released at the end, with no lock held.
    if (changeListener) changeListener();
}

void Source::NoteActivation(std::int64_t nowUs) {
    std::int64_t never = 0;
    firstActivatedAtUs.compare_exchange_strong(never, nowUs);
}

void Source::SetPictureListener(std::function<void(bool)> listener) {
    pictureListener = std::move(listener);
}

}  // namespace host_runtime
