// The host on its main thread: sources that come and go, their renderers and panels, tally, statistics,
// sessions with a rendezvous service, and now and then a new factory in the midst of it all.
#pragma once

#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "host/core/zObject.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/ui/Purse.h"
#include "plugin/nxKestrelRenderersFactory.h"
#include "session/nxWebRtcSession.h"
#include "tests/stress/ActionCounts.h"
#include "tests/stress/Dice.h"
#include "tests/stress/OpenPanel.h"
#include "tests/stress/RenderThreads.h"
#include "tests/stress/StressRegistry.h"

namespace stress {

// [main-thread] throughout.
class StressHost {
public:
    StressHost(std::uint64_t seed, RendererShelves& rendererShelves, ActionCounts& actionCounts);
    ~StressHost();
    StressHost(const StressHost&) = delete;
    StressHost& operator=(const StressHost&) = delete;

    // One action, chosen at random.
    void Act();
    // Ends the factory while all other threads go on, and makes another one.
    void ReplaceFactory();

private:
    static constexpr std::size_t kMostOfAKind = 3;
    enum class Kind : std::uint8_t { Direct, Discovered };

    struct Source {
        std::string identifier;
        zRecord settings;
        std::shared_ptr<nxRenderer2> picture;
        std::shared_ptr<nxRenderer2> sound;
        std::unique_ptr<OpenPanel> panel;  // refers to the settings, goes first
    };
    using Deed = void (StressHost::*)(Source& source);

    std::string RandomAddress();
    zRecord Discovery(const std::string& peer, const std::string& address) const;
    Source& RandomSource();
    static Kind KindOf(const Source& source);
    std::size_t CountOf(Kind kind) const;
    void MakeFactory();
    void EndFactory();

    void AddSource();
    void DiscoverSource();
    void Announced(const std::string& identifier, const zRecord& settings);
    void RemoveSource(const std::string& identifier, Action action);
    void AskForRenderers(Source& source);
    void AskForPicture(Source& source);
    void AskForSound(Source& source);
    void ReleaseRenderers(Source& source);
    void ActOnService();

    void Remove(Source& source);
    void ActivateAgain(Source& source);
    void ChangeAddress(Source& source);
    void StopSession(Source& source);
    void StartSession(Source& source);
    void ReplaceRenderers(Source& source);
    void ChangeTallies(Source& source);
    void AskStatistics(Source& source);
    void CompareAddress(Source& source);
    void ChangeListeners(Source& source);
    void UsePanel(Source& source);
    void ApplySettings(Source& source);
    void AskLate(Source& source);

    RendererShelves& shelves;
    ActionCounts& counts;
    Dice dice;
    host_runtime::Purse purse;
    host_runtime::BufferGroup* const buffers;
    const std::shared_ptr<zObject> lifetimeToken = std::make_shared<zObject>();
    StressRegistry registry;
    nxKestrelRenderersFactory* factory = nullptr;
    std::list<Source> sources;  // at fixed places
    std::vector<std::shared_ptr<zObject>> listenerOwners;
    std::array<std::shared_ptr<nxWebRtcSession>, 2> services;
};

}  // namespace stress
