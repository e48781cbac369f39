// How sources come and go, and what of them the settings keep.
#include <algorithm>
#include <iterator>

#include "host/core/zIDGenerator.h"
#include "host/renderer/nxSourceRegistry.h"
#include "plugin/null_text.h"
#include "plugin/nxKestrelRenderersFactory.h"
#include "plugin/source_description.h"
#include "session/nxWebRtcSession.h"
#include "support/weak_callback.h"

namespace {

constexpr const char* kAutoDiscovered = "autoDiscovered";
constexpr const char* kAddress = "kestrel_ip_address";
constexpr const char* kPeerIdentifier = "kestrel_peer_identifier";

// Empty when the record carries none.
std::string PeerIdentifierOf(const zRecord& discovery) {
    const zRecord* const details = discovery.Child(0);
    return details != nullptr ? details->AsCString("PeerIdentifier", "") : "";
}

}  // namespace

SourceEntry* nxKestrelRenderersFactory::FindEntry(const std::string& identifier) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const SourceEntry& entry) { return entry.identifier == identifier; });
    return found != entries.end() ? &*found : nullptr;
}

std::shared_ptr<nxWebRtcSession> nxKestrelRenderersFactory::FindSession(const std::string& identifier) {
    const SourceEntry* const entry = FindEntry(identifier);
    return entry != nullptr ? entry->session : nullptr;
}

void nxKestrelRenderersFactory::AddEntry(const std::string& identifier) {
    const auto session = std::make_shared<nxWebRtcSession>(nxWebRtcSession::Mode::Direct);
    entries.push_back({identifier, "", std::nullopt, session});

    // A session may outlive the factory for the length of a job; then nobody is told.
    const std::weak_ptr<zObject> token = lifetimeToken;
    session->onConnectionCreated =
        support::WeakCallback(token, [this, identifier](zObject&, const std::string& peerIdentifier) {
            ConnectionCreated(identifier.c_str(), peerIdentifier.c_str());
        });
    session->onConnectionRemoved = support::WeakCallback(
        token, [this](zObject&, const std::string& peerIdentifier) { WithdrawPeer(peerIdentifier); });
    session->onJoinResponse = support::WeakCallback(
        token, [this](zObject&, const std::string& guid, const std::string& result, const std::string& chat) {
            joinListeners.Notify(guid.c_str(), result.c_str(), chat.c_str());
        });
    session->SetTallyValue(tallyValue);
}

void nxKestrelRenderersFactory::NewSource(nxSourceDescription& description, zRecord& settings) {
    const std::string identifier = zIDGenerator::GenerateUUID();
    const std::string typeName = SourceTypeName();
    const std::string displayName = settings.AsCString(FourCC("titl"), typeName.c_str());
    description = DescribeSource(identifier, displayName);

    settings.SetBool(kAutoDiscovered, false);
    settings.SetCString(kAddress, "");
    settings.SetCString("unique_id", identifier.c_str());
    settings.SetCString("name", displayName.c_str());
    AddEntry(identifier);
}

zStatus nxKestrelRenderersFactory::ActivateSource(const char* sourceIdentifier, zRecord& settings) {
    const std::string identifier = TextOrEmpty(sourceIdentifier);
    if (FindEntry(identifier) == nullptr) AddEntry(identifier);
    const SourceEntry* const found = FindEntry(identifier);
    if (found == nullptr) return kStatusFailed;
    const SourceEntry entry = *found;

    const std::string peerIdentifier = settings.AsCString(kPeerIdentifier, "");
    if (!peerIdentifier.empty()) {
        for (SourceEntry& candidate : entries)
            if (candidate.identifier == identifier) candidate.peerIdentifier = peerIdentifier;
    }
    if (!directMode && !settings.AsBool(kAutoDiscovered, true)) {
        directMode = true;
        StartSweep();
    }
    // A phone that has joined is reached through its connection, whatever address the settings name.
    if (!entry.joinedPeer.empty()) {
        entry.session->StartConnectionIfIdle(entry.joinedPeer);
    } else {
        ConnectDirect(identifier.c_str(), settings);
    }
    return kStatusOk;
}

void nxKestrelRenderersFactory::PeerDiscovered(zRecord& discovery) {
    const std::string peerIdentifier = PeerIdentifierOf(discovery);
    if (peerIdentifier.empty()) return;
    std::string address = discovery.AsCString("host", "");
    const std::string port = discovery.AsCString("port", "");
    if (!port.empty()) address += ":" + port;
    const std::string name = discovery.AsCString("name", "");

    const auto description = DescribeSource(peerIdentifier, name.empty() ? "None" : name);
    zRecord settings;
    settings.SetBool(kAutoDiscovered, true);
    settings.SetCString(kPeerIdentifier, peerIdentifier.c_str());
    settings.SetCString(kAddress, address.c_str());
    discoveredPeers.insert_or_assign(peerIdentifier, address);
    registry->Announce(description, settings);
}

void nxKestrelRenderersFactory::PeerLost(zRecord& discovery) {
    const std::string peerIdentifier = PeerIdentifierOf(discovery);
    if (peerIdentifier.empty()) return;
    registry->Withdraw(DescribeSource(peerIdentifier, ""), 1);
    discoveredPeers.erase(peerIdentifier);

    const auto firstLost = std::stable_partition(
        entries.begin(), entries.end(),
        [&](const SourceEntry& entry) { return entry.peerIdentifier != peerIdentifier; });
    // The sessions end after the list is in order again.
    const std::vector<SourceEntry> lost(std::make_move_iterator(firstLost),
                                        std::make_move_iterator(entries.end()));
    entries.erase(firstLost, entries.end());
}

void nxKestrelRenderersFactory::WithdrawPeer(const std::string& peerIdentifier) {
    registry->Withdraw(DescribeSource(peerIdentifier, ""), 1);
    withdrawListeners.Notify(peerIdentifier.c_str());
}
