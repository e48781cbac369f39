// The life of the factory and its sources.
#include "tests/stress/StressHost.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "host/renderer/nxAudioControlsXI.h"
#include "host_runtime/sources/HostPointer.h"
#include "plugin/initialize_sources_plugin.h"

namespace stress {

StressHost::StressHost(std::uint64_t seed, RendererShelves& rendererShelves, ActionCounts& actionCounts)
    : shelves(rendererShelves),
      counts(actionCounts),
      dice(seed),
      purse(KESTREL_PLUGIN_FOLDER),
      buffers(host_runtime::BufferGroup::Make()),
      registry(counts, lifetimeToken, [this](const std::string& identifier, const zRecord& settings) {
          Announced(identifier, settings);
      }) {
    MakeFactory();
}

StressHost::~StressHost() {
    EndFactory();
    buffers->Release();
}

void StressHost::MakeFactory() {
    factory = static_cast<nxKestrelRenderersFactory*>(initialize_sources_plugin(&registry));
}

void StressHost::EndFactory() {
    for (Source& source : sources) {
        source.panel.reset();
        ReleaseRenderers(source);
    }
    EXPECT_EQ(factory->Release(), 0U);
    EXPECT_EQ(registry.References(), 0);
    sources.clear();
    listenerOwners.clear();
    services = {};
}

// Renderers are let go only afterwards: they outlive their factory, and render threads hold them still.
void StressHost::ReplaceFactory() {
    std::vector<std::shared_ptr<nxRenderer2>> outliving;
    for (Source& source : sources) {
        outliving.push_back(source.picture);
        outliving.push_back(source.sound);
    }
    EndFactory();
    MakeFactory();
    counts.Add(Action::FactoryReplaced);
}

void StressHost::Act() {
    static constexpr std::array kDeeds = {
        &StressHost::Remove,        &StressHost::ActivateAgain,  &StressHost::ChangeAddress,
        &StressHost::StopSession,   &StressHost::StartSession,   &StressHost::ReplaceRenderers,
        &StressHost::ChangeTallies, &StressHost::ChangeTallies,  &StressHost::AskStatistics,
        &StressHost::AskStatistics, &StressHost::CompareAddress, &StressHost::ChangeListeners,
        &StressHost::AskLate,       &StressHost::AskLate,        &StressHost::UsePanel,
        &StressHost::UsePanel,      &StressHost::ApplySettings};
    if (dice.OneIn(2) && CountOf(Kind::Discovered) < kMostOfAKind) DiscoverSource();
    if (dice.OneIn(2) && CountOf(Kind::Direct) < kMostOfAKind) AddSource();
    if (dice.OneIn(4)) ActOnService();
    if (!sources.empty()) (this->*dice.OneOf(kDeeds))(RandomSource());
}

std::string StressHost::RandomAddress() {
    return "127.0.0." + std::to_string(2 + dice.Below(10));
}

StressHost::Source& StressHost::RandomSource() {
    return *std::next(sources.begin(), dice.Below(static_cast<int>(sources.size())));
}

StressHost::Kind StressHost::KindOf(const Source& source) {
    return source.settings.AsBool("autoDiscovered", true) ? Kind::Discovered : Kind::Direct;
}

std::size_t StressHost::CountOf(Kind kind) const {
    return static_cast<std::size_t>(std::count_if(
        sources.begin(), sources.end(), [kind](const Source& source) { return KindOf(source) == kind; }));
}

void StressHost::AddSource() {
    nxSourceDescription description;
    Source& source = sources.emplace_back();
    factory->NewSource(description, source.settings);
    source.identifier = description.identifier;
    source.settings.SetCString("kestrel_ip_address", RandomAddress().c_str());
    factory->ActivateSource(source.identifier.c_str(), source.settings);
    AskForRenderers(source);
    counts.Add(Action::SourceAdded);
}

zRecord StressHost::Discovery(const std::string& peer, const std::string& address) const {
    zRecord discovery;
    discovery.SetCString("host", address.c_str());
    discovery.SetCString("port", "9001");
    discovery.SetCString("name", "Phone");
    discovery.AddChild().SetCString("PeerIdentifier", peer.c_str());
    return discovery;
}

void StressHost::DiscoverSource() {
    const std::string address = RandomAddress();
    zRecord discovery = Discovery("phone-" + address, address);
    factory->PeerDiscovered(discovery);
    counts.Add(Action::SourceDiscovered);
}

void StressHost::Announced(const std::string& identifier, const zRecord& settings) {
    const bool known = std::any_of(sources.begin(), sources.end(), [&identifier](const Source& source) {
        return source.identifier == identifier;
    });
    if (known || CountOf(Kind::Discovered) >= kMostOfAKind) return;
    Source& source = sources.emplace_back();
    source.identifier = identifier;
    source.settings = settings;
    factory->ActivateSource(identifier.c_str(), source.settings);
    AskForRenderers(source);
}

// Most sources get their renderers at once; the others may have a phone and its stream before.
void StressHost::AskForRenderers(Source& source) {
    if (dice.OneIn(3)) return;
    AskForPicture(source);
    AskForSound(source);
}

void StressHost::AskForPicture(Source& source) {
    factory->CreateRenderer(source.picture, source.identifier.c_str(), kMediaTypeVideo, buffers);
    ASSERT_TRUE(source.picture) << "an activated source has no picture";
    shelves.pictures.Put(source.picture);
}

void StressHost::AskForSound(Source& source) {
    factory->CreateRenderer(source.sound, source.identifier.c_str(), kMediaTypeAudio, buffers);
    ASSERT_TRUE(source.sound) << "an activated source has no sound";
    shelves.sounds.Put(source.sound);
    void* controls = nullptr;
    source.sound->QueryInterface("nxAudioControlsXI", &controls);
    host_runtime::HostPointer<nxAudioControlsXI>::Adopt(static_cast<nxAudioControlsXI*>(controls))
        ->SetAudioEnabled(true);
}

void StressHost::AskLate(Source& source) {
    if (source.picture && source.sound) return;
    if (!source.picture && (source.sound || dice.OneIn(2))) {
        AskForPicture(source);
    } else {
        AskForSound(source);
    }
    counts.Add(Action::RendererAskedLate);
}

void StressHost::ReleaseRenderers(Source& source) {
    shelves.pictures.Take(source.picture);
    shelves.sounds.Take(source.sound);
    source.picture.reset();
    source.sound.reset();
}

// A direct source goes as a discovered one does: it is given a peer identifier, which is then lost.
void StressHost::Remove(Source& source) {
    const Kind kind = KindOf(source);
    zRecord farewell;
    farewell.SetCString("kestrel_peer_identifier", source.identifier.c_str());
    factory->ActivateSource(source.identifier.c_str(), farewell);
    zRecord discovery = Discovery(source.identifier, "");
    factory->PeerLost(discovery);

    source.panel.reset();
    ReleaseRenderers(source);
    sources.remove_if([&source](const Source& candidate) { return &candidate == &source; });
    counts.Add(kind == Kind::Discovered ? Action::DiscoveredSourceLost : Action::SourceRemoved);
}

void StressHost::ActivateAgain(Source& source) {
    factory->ActivateSource(source.identifier.c_str(), source.settings);
    counts.Add(Action::SourceActivatedAgain);
}

void StressHost::ChangeAddress(Source& source) {
    source.settings.SetCString("kestrel_ip_address", RandomAddress().c_str());
    factory->StopSession(source.identifier.c_str());
    factory->ActivateSource(source.identifier.c_str(), source.settings);
    factory->ConnectDirect(source.identifier.c_str(), source.settings);
    counts.Add(Action::AddressChanged);
}

void StressHost::ReplaceRenderers(Source& source) {
    ReleaseRenderers(source);
    AskForRenderers(source);
    counts.Add(Action::RenderersAskedAgain);
}

}  // namespace stress
