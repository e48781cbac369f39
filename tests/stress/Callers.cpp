#include "tests/stress/Callers.h"

#include <chrono>
#include <utility>

#include "host/core/zThread.h"
#include "host/renderer/nxAudioControlsXI.h"
#include "host/renderer/nxVideoControlsXI.h"
#include "host/renderer/nxXIAudioLiveDelay.h"
#include "host/renderer/nxXISourcePlugs.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "host_runtime/core/UserLog.h"
#include "host_runtime/sources/HostPointer.h"

namespace stress {
namespace {

constexpr std::size_t kMostJobsWaiting = 200;

template <class Interface>
host_runtime::HostPointer<Interface> InterfaceOf(nxRenderer2& renderer, const char* name) {
    void* found = nullptr;
    renderer.QueryInterface(name, &found);
    return host_runtime::HostPointer<Interface>::Adopt(static_cast<Interface*>(found));
}

}  // namespace

Callers::Callers(std::uint64_t seed, RendererShelves& rendererShelves, ActionCounts& actionCounts,
                 std::function<void()> actOnMainThread)
    : shelves(rendererShelves), counts(actionCounts), act(std::move(actOnMainThread)) {
    for (int index = 0; index < 2; ++index)
        threads.emplace_back([this, dice = Dice(++seed)](PacedThread& self) { Run(self, dice); });
}

Callers::~Callers() {
    for (PacedThread& thread : threads)
        thread.End();
}

void Callers::Run(PacedThread& self, Dice dice) {
    do {
        if (host_runtime::MainThreadQueue::Default().PendingCount() < kMostJobsWaiting) {
            zThread::ExecuteOnMainThread(act);
        }
        if (auto pictures = shelves.pictures.All(); !pictures.empty()) {
            UsePicture(*dice.OneOf(pictures), dice);
        }
        if (auto sounds = shelves.sounds.All(); !sounds.empty()) UseSound(*dice.OneOf(sounds), dice);
        if (dice.OneIn(100)) host_runtime::UserLogEntries();
    } while (self.RestFor(std::chrono::microseconds(700)));
}

void Callers::UsePicture(nxRenderer2& renderer, Dice& dice) {
    const auto controls = InterfaceOf<nxVideoControlsXI>(renderer, "nxVideoControlsXI");
    if (dice.OneIn(4)) {
        controls->SetVideoMuted(!controls->IsVideoMuted());
        counts.Add(Action::PictureMuted);
    }
    AskFormat(renderer);
}

void Callers::UseSound(nxRenderer2& renderer, Dice& dice) {
    const auto controls = InterfaceOf<nxAudioControlsXI>(renderer, "nxAudioControlsXI");
    const auto delay = InterfaceOf<nxXIAudioLiveDelay>(renderer, "nxXIAudioLiveDelay");
    switch (dice.Below(20)) {
        case 0:
            controls->SetAudioMuted(!controls->IsAudioMuted());
            counts.Add(Action::SoundMuted);
            break;
        case 1:
            controls->SetAudioEnabled(!controls->IsAudioEnabled());
            counts.Add(Action::SoundEnabled);
            break;
        case 2:
            delay->SetLiveDelay(delay->GetLiveDelay() + 1.0);
            delay->SetRamsValue(delay->GetRamsValue() + 1);
            delay->SetCbsValue(dice.Below(6) - 1, static_cast<std::uint64_t>(dice.Below(9)));
            break;
        default:
            controls->SetAudioMuted(false);
            controls->SetAudioEnabled(true);
            break;
    }
    AskFormat(renderer);
}

void Callers::AskFormat(nxRenderer2& renderer) {
    mdMediaRecord format(renderer.MediaType());
    renderer.OutputFormat(renderer.MediaType(), format, 0);
    zString name;
    InterfaceOf<nxXISourcePlugs>(renderer, "nxXISourcePlugs")->PlugName(name);
    counts.Add(Action::FormatAsked);
}

}  // namespace stress
