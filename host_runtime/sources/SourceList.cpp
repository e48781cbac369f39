#include "host_runtime/sources/SourceList.h"

#include <algorithm>
#include <utility>

#include "host/core/zThread.h"
#include "host/core/zTraceManager.h"
#include "host/media/nxBufferGroup2.h"
#include "host/renderer/nxRenderer2.h"
#include "host_runtime/sources/SourceText.h"
#include "host_runtime/sources/SteadyClock.h"

namespace host_runtime {
namespace {

constexpr const char* kAddressKey = "kestrel_ip_address";

std::string AddressIn(const zRecord& settings) {
    return std::string(TrimmedAddress(settings.AsCString(kAddressKey, "")));
}

}  // namespace

SourceList::SourceList(SourcePlugin& pluginToUse, SourceStore* storeToUse, nxBufferGroup2* bufferGroupToUse)
    : plugin(pluginToUse),
      store(storeToUse),
      bufferGroup(HostPointer<nxBufferGroup2>::Share(bufferGroupToUse)),
      lifetime(std::make_shared<zObject>()) {}

SourceList::~SourceList() = default;

void SourceList::Start() {
    ScheduleRevival();
}

void SourceList::ShutDown() {
    lifetime.reset();
    changeListener = nullptr;
    for (const SourcePointer& source : sources) {
        source->SetRenderers(nullptr, nullptr);
        source->SetState(SourceState::Inactive);
    }
    sources.clear();
    phones.clear();
    dialledAddresses.clear();
}

SourceList::SourcePointer SourceList::Find(std::string_view identifier) const {
    const auto found = std::find_if(
        sources.begin(), sources.end(),
        [identifier](const SourcePointer& source) { return source->Identifier() == identifier; });
    return found != sources.end() ? *found : nullptr;
}

SourceList::SourcePointer SourceList::FindByAddress(std::string_view address) const {
    const std::string key = AddressKey(address);
    const auto found = std::find_if(sources.begin(), sources.end(), [&key](const SourcePointer& source) {
        return AddressKey(source->Address()) == key;
    });
    return found != sources.end() && !key.empty() ? *found : nullptr;
}

SourceList::SourcePointer SourceList::Add(std::string_view address) {
    const std::string dialled(TrimmedAddress(address));
    if (!IsUsableHost(AddressKey(dialled)) || FindByAddress(dialled)) return nullptr;
    if (store != nullptr) {
        if (const StoredSource* stored = store->FindByAddress(dialled))
            return Restore(std::string(stored->identifier));
    }
    if (plugin.IsAddressInUse(dialled)) return nullptr;
    return MakeNew(dialled, {});
}

SourceList::SourcePointer SourceList::AddWithoutAddress(std::string_view displayName) {
    return MakeNew({}, std::string(displayName));
}

SourceList::SourcePointer SourceList::MakeNew(const std::string& address, const std::string& displayName) {
    nxSourceDescription description;
    zRecord settings;
    if (!displayName.empty()) settings.SetCString(FourCC("titl"), displayName.c_str());
    if (!plugin.NewSource(description, settings) || !IsUsableIdentifier(description.identifier))
        return nullptr;
    // The plug-in begins every new source with an empty address.
    settings.SetCString(kAddressKey, address.c_str());
    const SourcePointer source = MakeSource(description.identifier, false);
    source->Settings() = settings;
    source->SettingsChanged();
    Activate(*source);
    Save(*source);
    Changed();
    return source;
}

SourceList::SourcePointer SourceList::Restore(std::string_view identifier) {
    const StoredSource* stored = store != nullptr ? store->Find(identifier) : nullptr;
    if (stored == nullptr) return nullptr;
    if (SourcePointer running = Find(identifier)) return running;
    const SourcePointer source =
        MakeSource(stored->identifier, stored->settings.AsBool("autoDiscovered", true));
    source->Settings() = stored->settings;
    source->SettingsChanged();
    source->audioMuted = stored->audioMuted;
    source->videoMuted = stored->videoMuted;
    ActivateUnlessInUse(*source);
    Changed();
    return source;
}

void SourceList::RestoreAll() {
    if (store == nullptr) return;
    std::vector<std::string> identifiers;
    for (const StoredSource& stored : store->Sources())
        identifiers.push_back(stored.identifier);
    for (const std::string& identifier : identifiers)
        Restore(identifier);
}

void SourceList::Remove(std::string_view identifier) {
    const SourcePointer source = Find(identifier);
    if (!source) return;
    std::erase(sources, source);
    dialledAddresses.erase(source->Identifier());
    source->SetRenderers(nullptr, nullptr);
    if (source->State() != SourceState::AddressInUse) ForgetInPlugin(*source);
    source->SetState(SourceState::Inactive);
    if (store != nullptr) store->Erase(source->Identifier());
    RetryRefused();
    Changed();
}

bool SourceList::ChangeAddress(std::string_view identifier, std::string_view address) {
    const SourcePointer source = Find(identifier);
    const std::string dialled(TrimmedAddress(address));
    if (!source || (!dialled.empty() && !IsUsableHost(AddressKey(dialled)))) return false;
    if (const SourcePointer other = FindByAddress(dialled); other && other != source) return false;
    source->Settings().SetCString(kAddressKey, dialled.c_str());
    SettingsAccepted(identifier);
    return true;
}

void SourceList::SettingsAccepted(std::string_view identifier) {
    const SourcePointer source = Find(identifier);
    if (!source) return;
    const std::string address = AddressIn(source->Settings());
    const std::string before = dialledAddresses[source->Identifier()];
    source->SettingsChanged();
    if (source->State() == SourceState::AddressInUse) {
        ActivateUnlessInUse(*source);
    } else if (address.empty() && !before.empty()) {
        Disconnect(*source);
    } else if (address == before) {
        plugin.StartSession(source->Identifier(), address);
    } else {
        Reroute(*source);
    }
    Save(*source);
    RetryRefused();
    Changed();
}

SourceList::SourcePointer SourceList::MakeSource(const std::string& identifier, bool discovered) {
    auto source = std::make_shared<Source>(identifier, discovered);
    source->SetPictureListener(
        [token = std::weak_ptr<zObject>(lifetime), list = weak_from_this(), identifier](bool afterStall) {
            zThread::ExecuteOnMainThread(token.lock(), 0, {}, [list, identifier, afterStall] {
                if (const auto self = list.lock()) self->PictureReturned(identifier, afterStall);
            });
        });
    sources.push_back(source);
    return source;
}

void SourceList::Activate(Source& source) {
    source.NoteActivation(SteadyNowUs());
    if (plugin.ActivateSource(source.Identifier(), source.Settings()) != kStatusOk) {
        zTraceManager::Default()->TraceMessage(FourCC("note"), "halyard: source %s cannot be activated\n",
                                               source.Identifier().c_str());
        source.SetState(SourceState::Inactive);
        return;
    }
    dialledAddresses[source.Identifier()] = AddressIn(source.Settings());
    source.SetState(SourceState::Active);
    MakeRenderers(source);
}

void SourceList::ActivateUnlessInUse(Source& source) {
    const std::string address = AddressIn(source.Settings());
    // Two sources of one phone would take its connection from each other.
    if (!address.empty() && plugin.IsAddressInUse(address)) {
        zTraceManager::Default()->TraceMessage(FourCC("note"),
                                               "halyard: source %s waits: another one already uses %s\n",
                                               source.Identifier().c_str(), address.c_str());
        source.SetState(SourceState::AddressInUse);
        return;
    }
    Activate(source);
}

void SourceList::MakeRenderers(Source& source) {
    // Both, always: a source gives no sound before its picture object has converted a picture.
    auto video = plugin.CreateRenderer(source.Identifier(), kMediaTypeVideo, bufferGroup.Get());
    auto audio = plugin.CreateRenderer(source.Identifier(), kMediaTypeAudio, bufferGroup.Get());
    source.SetRenderers(std::move(video), std::move(audio));
    ApplyControls(source);
}

void SourceList::ApplyControls(Source& source) {
    if (const auto video = source.VideoRenderer()) host_runtime::SetVideoMuted(*video, source.videoMuted);
    if (const auto audio = source.AudioRenderer()) {
        SetAudioEnabled(*audio, true);
        host_runtime::SetAudioMuted(*audio, source.audioMuted);
    }
    plugin.SetSourceTally(source.Identifier(), static_cast<std::uint32_t>(source.tally));
}

void SourceList::ForgetInPlugin(Source& source) {
    // The plug-in removes an entry only for a lost phone, so the source becomes its own phone first.
    zRecord settings;
    settings.SetCString("kestrel_peer_identifier", source.Identifier().c_str());
    plugin.ActivateSource(source.Identifier(), settings);
    zRecord lost;
    lost.AddChild().SetCString("PeerIdentifier", source.Identifier().c_str());
    plugin.PeerLost(lost);
}

void SourceList::Disconnect(Source& source) {
    // Stopping alone would be undone: a stopped direct source is started again with the address it had.
    source.SetRenderers(nullptr, nullptr);
    ForgetInPlugin(source);
    Activate(source);
}

void SourceList::Reroute(Source& source) {
    // A running session takes no other address, and one whose phone has joined never reads it again.
    plugin.StopSession(source.Identifier());
    Activate(source);
    plugin.ConnectDirect(source.Identifier(), source.Settings());
}

void SourceList::RetryRefused() {
    for (const SourcePointer& source : std::vector<SourcePointer>(sources)) {
        if (source->State() == SourceState::AddressInUse) ActivateUnlessInUse(*source);
    }
}

void SourceList::Save(const Source& source) {
    if (store == nullptr) return;
    StoredSource stored;
    stored.identifier = source.Identifier();
    stored.settings = source.Settings();
    stored.audioMuted = source.audioMuted;
    stored.videoMuted = source.videoMuted;
    store->Put(stored);
}

void SourceList::SetTally(std::string_view identifier, TallyState state) {
    const SourcePointer source = Find(identifier);
    if (!source) return;
    source->tally = state;
    plugin.SetSourceTally(source->Identifier(), static_cast<std::uint32_t>(state));
}

void SourceList::SetAudioMuted(std::string_view identifier, bool muted) {
    const SourcePointer source = Find(identifier);
    if (!source) return;
    source->audioMuted = muted;
    if (const auto audio = source->AudioRenderer()) host_runtime::SetAudioMuted(*audio, muted);
    Save(*source);
}

void SourceList::SetVideoMuted(std::string_view identifier, bool muted) {
    const SourcePointer source = Find(identifier);
    if (!source) return;
    source->videoMuted = muted;
    if (const auto video = source->VideoRenderer()) host_runtime::SetVideoMuted(*video, muted);
    Save(*source);
}

void SourceList::PictureReturned(const std::string& identifier, bool afterStall) {
    const SourcePointer source = Find(identifier);
    if (!source) return;
    if (source->State() == SourceState::Offline) source->SetState(SourceState::Active);
    if (afterStall) {
        // A phone that was started anew does not know that it is on air, and an unchanged tally is not sent.
        plugin.SetSourceTally(identifier, static_cast<std::uint32_t>(TallyState::Idle));
        plugin.SetSourceTally(identifier, static_cast<std::uint32_t>(source->tally));
    }
    Changed();
}

void SourceList::LaterOnMainThread(std::int64_t delayUs, std::function<void(SourceList&)> action) {
    zThread::ExecuteOnMainThread(lifetime, delayUs, {},
                                 [list = weak_from_this(), action = std::move(action)] {
                                     if (const auto self = list.lock()) action(*self);
                                 });
}

void SourceList::Changed() {
    if (changeListener) changeListener();
}

}  // namespace host_runtime
