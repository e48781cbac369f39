#include "tests/stress/RenderThreads.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <deque>

#include "host/media/nxBuffer2.h"
#include "tests/stress/FastClock.h"

namespace stress {
namespace {

constexpr std::size_t kPicturesHeld = 6;

std::chrono::steady_clock::time_point AtUs(std::int64_t realUs) {
    return std::chrono::steady_clock::time_point(std::chrono::microseconds(realUs));
}

bool HasSignal(nxBuffer2& buffer) {
    const std::uint8_t* const data = buffer.Data();
    return std::any_of(data, data + buffer.DataSize(), [](std::uint8_t byte) { return byte != 0; });
}

}  // namespace

RenderThreads::RenderThreads(RendererShelves& rendererShelves, ActionCounts& actionCounts)
    : shelves(rendererShelves), counts(actionCounts) {
    for (std::uint64_t key = 1; key <= 2; ++key) {
        threads.emplace_back([this, key](PacedThread& self) { PullPictures(self, key); });
        threads.emplace_back([this, key](PacedThread& self) { PullSound(self, key); });
    }
}

RenderThreads::~RenderThreads() {
    for (PacedThread& thread : threads)
        thread.End();
}

// Each picture is held for a while and read before it is let go.
void RenderThreads::PullPictures(PacedThread& self, std::uint64_t consumerKey) {
    pthread_setname_np(pthread_self(), "pull-picture");
    std::deque<nxBuffer2*> held;
    const auto letGo = [&held] {
        HasSignal(*held.front());
        held.front()->Release();
        held.pop_front();
    };
    do {
        for (const std::shared_ptr<nxRenderer2>& renderer : shelves.pictures.All()) {
            nxBuffer2* buffer = nullptr;
            renderer->BufferForParameters(&buffer, {MediaUs(), consumerKey});
            if (buffer == nullptr) continue;
            counts.Add(buffer->AsBool(FourCC("vidI"), false) ? Action::ReceivedPicturePulled
                                                             : Action::BlackPicturePulled);
            held.push_back(buffer);
            if (held.size() > kPicturesHeld) letGo();
        }
    } while (self.RestFor(std::chrono::microseconds(1000)));
    while (!held.empty())
        letGo();
}

void RenderThreads::PullSound(PacedThread& self, std::uint64_t consumerKey) {
    pthread_setname_np(pthread_self(), "pull-sound");
    const std::int64_t startUs = MediaUs();
    for (std::int64_t k = 0;; ++k) {
        const std::int64_t timeUs = startUs + k * 100'000 / 3;
        for (const std::shared_ptr<nxRenderer2>& renderer : shelves.sounds.All())
            PullBlock(*renderer, consumerKey, timeUs);
        if (!self.RestUntil(AtUs(timeUs / kMediaSpeed))) return;
    }
}

void RenderThreads::PullBlock(nxRenderer2& renderer, std::uint64_t consumerKey, std::int64_t timeUs) {
    nxBuffer2* buffer = nullptr;
    renderer.BufferForParameters(&buffer, {timeUs, consumerKey});
    if (buffer == nullptr) return;
    counts.Add(HasSignal(*buffer) ? Action::AudibleBlockPulled : Action::SilentBlockPulled);
    buffer->Release();
}

}  // namespace stress
