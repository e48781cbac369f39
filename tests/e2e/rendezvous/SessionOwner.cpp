#include "tests/e2e/rendezvous/SessionOwner.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "connection/nxWebRtcConnection.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/Source.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "tests/e2e/host/MainThread.h"

namespace rendezvous {
namespace {

constexpr double kConnectTimeoutSeconds = 2.0;
constexpr std::int64_t kEnoughPictures = 20;
constexpr std::int64_t kEnoughQuietTone = 10;

}  // namespace

SessionOwner::SessionOwner()
    : bufferGroup(host_runtime::HostPointer<nxBufferGroup2>::Adopt(host_runtime::BufferGroup::Make())),
      session(std::make_shared<nxWebRtcSession>(nxWebRtcSession::Mode::Rendezvous)) {
    host_runtime::MainThreadQueue::Default().Reopen();
    session->onConnectionCreated = [this](const std::string& peer) { OnConnectionCreated(peer); };
    session->onConnectionRemoved = [this](const std::string& peer) { OnConnectionRemoved(peer); };
    session->onJoinResponse = [this](const std::string& guid, const std::string& result,
                                     const std::string& chatUrl) {
        told.push_back("joined " + guid + " " + result + " " + chatUrl);
    };
    session->onReconnecting = [this](bool began) {
        told.push_back("reconnecting " + std::to_string(static_cast<int>(began)));
    };
    session->onSessionLost = [this](bool previous) {
        told.push_back("lost " + std::to_string(static_cast<int>(previous)));
    };
    session->onChatMessages = [this](const nlohmann::json& messages) {
        told.push_back("chat " + messages.dump());
    };
    puller.Start();
}

SessionOwner::~SessionOwner() {
    session->Stop();
    puller.Stop();
    peers.clear();
    session.reset();
    host_runtime::MainThreadQueue::Default().ShutDown();
}

void SessionOwner::Start(const std::string& address) {
    const nlohmann::json description = {{"sessionGuid", kSessionGuid}, {"ownerKey", kOwnerKey}};
    session->Start(description.dump().c_str(), address.c_str(), kConnectTimeoutSeconds);
}

bool SessionOwner::WasTold(const std::string& line) const {
    return std::find(told.begin(), told.end(), line) != told.end();
}

e2e::PulledPattern::Counts SessionOwner::Pulled(const std::string& peer) const {
    const auto found = peers.find(peer);
    return found != peers.end() ? found->second.pattern->Now() : e2e::PulledPattern::Counts{};
}

bool SessionOwner::RunUntil(const std::function<bool()>& predicate, std::chrono::seconds limit) {
    return e2e::RunMainThreadUntil(predicate, limit);
}

bool SessionOwner::WaitForMedia(const std::string& peer, std::chrono::seconds limit) {
    const e2e::PulledPattern::Counts before = Pulled(peer);
    return RunUntil(
        [&] {
            const e2e::PulledPattern::Counts now = Pulled(peer);
            return now.distinctFrames >= before.distinctFrames + kEnoughPictures &&
                   now.quietToneBlocks >= before.quietToneBlocks + kEnoughQuietTone;
        },
        limit);
}

// The session has not started the connection yet: nothing of its media is missed.
void SessionOwner::OnConnectionCreated(const std::string& identifier) {
    told.push_back("created " + identifier);
    const auto connection = session->FindConnectionByPeer(identifier);
    if (!connection) return;
    Peer& peer = peers[identifier];
    if (peer.source) puller.Remove(*peer.source);
    peer.source = std::make_shared<host_runtime::Source>(identifier, true);
    peer.pattern = std::make_shared<e2e::PulledPattern>();
    const auto audio = connection->GetAudioRenderer(bufferGroup.Get());
    audio->SetAudioEnabled(true);
    peer.source->SetRenderers(connection->GetVideoRenderer(bufferGroup.Get()), audio);
    puller.Add(peer.source, peer.pattern);
}

void SessionOwner::OnConnectionRemoved(const std::string& identifier) {
    told.push_back("removed " + identifier);
    const auto found = peers.find(identifier);
    if (found == peers.end()) return;
    puller.Remove(*found->second.source);
    peers.erase(found);
}

}  // namespace rendezvous
