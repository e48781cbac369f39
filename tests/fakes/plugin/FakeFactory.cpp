#include "tests/fakes/plugin/FakeFactory.h"

#include <stdexcept>
#include <utility>

#include "host/renderer/nxRenderer2.h"
#include "tests/fakes/plugin/FakePanel.h"

namespace fakes {

FakeFactory::FakeFactory(nxSourceRegistry* sourceRegistry, RendererMaker rendererMaker)
    : registry(sourceRegistry), makeRenderer(std::move(rendererMaker)) {
    registry->AddRef();
}

FakeFactory::~FakeFactory() {
    registry->Release();
}

std::vector<std::string> FakeFactory::TakeCalls() {
    return std::exchange(calls, {});
}

void FakeFactory::Note(const char* operation, const char* identifier, const std::string& detail) {
    std::string call = std::string(operation) + " " + identifier;
    if (!detail.empty()) call += " " + detail;
    calls.push_back(std::move(call));
}

void FakeFactory::WithdrawFromHost(const std::string& identifier) {
    nxSourceDescription description;
    description.identifier = identifier;
    registry->Withdraw(description, 1);
}

zStatus FakeFactory::QueryInterface(const char* name, void** out) {
    return Concrete_QueryInterface(name, out);
}

zStatus FakeFactory::Concrete_QueryInterface(const char* name, void** out) {
    if (CompareInterfaceName(name, "nxWebRtcRendererXI"))
        return GetInterface(static_cast<nxWebRtcRendererXI*>(this), out);
    if (CompareInterfaceName(name, "nxKestrelRendererXI"))
        return GetInterface(static_cast<nxKestrelRendererXI*>(this), out);
    if (CompareInterfaceName(name, "nxXISourceGUI"))
        return GetInterface(static_cast<nxXISourceGUI*>(this), out);
    return xCUnknown::Concrete_QueryInterface(name, out);
}

void FakeFactory::GetSourceTypeInfo(nxSourceTypeInfo& info) {
    info = {"00000000-0000-4000-8000-000000000001", "Fake phone", true, 4};
}

zStatus FakeFactory::ActivateSource(const char* sourceIdentifier, zRecord& settings) {
    Note("ActivateSource", sourceIdentifier);
    if (throwInActivate) throw std::runtime_error("a phone talked nonsense");
    if (refuseActivation) return kStatusFailed;
    Entry& entry = entries[sourceIdentifier];
    const std::string peer = settings.AsCString("kestrel_peer_identifier", "");
    if (!peer.empty()) entry.peerIdentifier = peer;
    const std::string address = settings.AsCString("kestrel_ip_address", "");
    if (!address.empty() && !entry.running) {
        entry.url = address;
        entry.running = true;
    }
    return kStatusOk;
}

void FakeFactory::ForwardToSession(const char* sourceIdentifier, std::uint32_t argument) {
    Note("ForwardToSession", sourceIdentifier, std::to_string(argument));
    tallies[sourceIdentifier] = argument;
}

void FakeFactory::NewSource(nxSourceDescription& description, zRecord& settings) {
    ++made;
    description.identifier = identifierPrefix + std::to_string(made);
    description.displayName = settings.AsCString("titl", "Fake phone");
    settings.SetBool("autoDiscovered", false);
    settings.SetCString("kestrel_ip_address", "");
    settings.SetCString("unique_id", description.identifier.c_str());
    settings.SetCString("name", description.displayName.c_str());
    entries[description.identifier];
    Note("NewSource", description.identifier.c_str());
}

void FakeFactory::ConnectDirect(const char* sourceIdentifier, zRecord& settings) {
    const std::string address = settings.AsCString("kestrel_ip_address", "");
    Note("ConnectDirect", sourceIdentifier, address);
    const auto found = entries.find(sourceIdentifier);
    if (found == entries.end() || address.empty()) return;
    found->second.url = address;
    found->second.running = true;
}

void FakeFactory::CreateRenderer(std::shared_ptr<nxRenderer2>& result, const char* sourceIdentifier,
                                 mdMediaType mediaType, nxBufferGroup2* bufferGroup) {
    Note("CreateRenderer", sourceIdentifier, mediaType == kMediaTypeVideo ? "vido" : "audo");
    const auto found = entries.find(sourceIdentifier);
    if (found == entries.end() || !makeRenderer) {
        result.reset();
        return;
    }
    std::shared_ptr<nxRenderer2>& renderer = found->second.renderers[mediaType];
    if (!renderer) renderer = makeRenderer(found->second.url, mediaType, bufferGroup);
    result = renderer;
}

void FakeFactory::PeerDiscovered(zRecord& discovery) {
    const zRecord* child = discovery.Child(0);
    nxSourceDescription description;
    description.identifier = child != nullptr ? child->AsCString("PeerIdentifier", "") : "";
    description.displayName = discovery.AsCString("name", "");
    Note("PeerDiscovered", description.identifier.c_str());
    const std::string port = discovery.AsCString("port", "");
    const std::string address = discovery.AsCString("host", "") + (port.empty() ? "" : ":" + port);
    zRecord settings;
    settings.SetBool("autoDiscovered", true);
    settings.SetCString("kestrel_peer_identifier", description.identifier.c_str());
    settings.SetCString("kestrel_ip_address", address.c_str());
    registry->Announce(description, settings);
}

void FakeFactory::PeerLost(zRecord& discovery) {
    const zRecord* child = discovery.Child(0);
    const std::string peer = child != nullptr ? child->AsCString("PeerIdentifier", "") : "";
    Note("PeerLost", peer.c_str());
    WithdrawFromHost(peer);
    std::erase_if(entries, [&peer](const auto& entry) { return entry.second.peerIdentifier == peer; });
}

zStatus FakeFactory::CreateSourceGUI(ePurse* purse, eView* parentView, zRecord& settings,
                                     nxHostNotification* notification, const char* sourceIdentifier,
                                     eDynamicGlass** outPanel) {
    Note("CreateSourceGUI", sourceIdentifier);
    if (!offersPanel) return kStatusFailed;
    *outPanel = new FakePanel(*this, purse, *parentView, settings, notification);
    return kStatusOk;
}

void FakeFactory::GetSessionUrl(const char* sourceIdentifier, zString& result) {
    const auto found = entries.find(sourceIdentifier);
    result.Assign(found != entries.end() ? found->second.url : std::string());
}

void FakeFactory::StartSession(const char* sourceIdentifier, const char* payload, const char* address) {
    Note("StartSession", sourceIdentifier, std::string(payload) + " " + address);
    const auto found = entries.find(sourceIdentifier);
    if (found == entries.end() || found->second.running) return;
    found->second.url = address;
    found->second.running = true;
}

void FakeFactory::StopSession(const char* sourceIdentifier) {
    Note("StopSession", sourceIdentifier);
    const auto found = entries.find(sourceIdentifier);
    if (found != entries.end()) found->second.running = false;
}

bool FakeFactory::IsAddressInUse(const char* address) {
    for (const auto& [identifier, entry] : entries) {
        if (!entry.url.empty() && entry.url == address) return true;
    }
    return false;
}

}  // namespace fakes
