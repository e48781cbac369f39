// Starting sessions, the sweep over lost direct sources, the joining phones and their renderers.
#include <algorithm>
#include <utility>

#include "connection/nxWebRtcConnection.h"
#include "host/core/zThread.h"
#include "plugin/dialled_address.h"
#include "plugin/direct_url.h"
#include "plugin/null_text.h"
#include "plugin/nxKestrelRenderersFactory.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "session/guarded_job.h"
#include "session/nxWebRtcSession.h"

namespace {

constexpr double kConnectTimeoutSeconds = 2.0;
constexpr std::int64_t kSweepPeriodUs = 6'000'000;

}  // namespace

void nxKestrelRenderersFactory::ConnectDirect(const char* sourceIdentifier, zRecord& settings) {
    const std::string identifier = TextOrEmpty(sourceIdentifier);
    const std::shared_ptr<nxWebRtcSession> session = FindSession(identifier);
    if (!session) return;
    const std::optional<std::string> address =
        DialledAddress(identifier, settings.AsCString("kestrel_ip_address", ""), directAddresses);
    if (!address) return;
    const std::string url = DirectUrl(*address);
    if (url != session->Url()) RestartSession(*session, url, identifier);
}

// The identifier goes into the text as it is: the host hands out none that JSON would have to escape.
void nxKestrelRenderersFactory::RestartSession(nxWebRtcSession& session, const std::string& url,
                                               const std::string& identifier) {
    if (url.empty()) return;
    const std::string payload = "{\"sessionGuid\":\"" + identifier + "\"}";
    session.Start(payload.c_str(), url.c_str(), kConnectTimeoutSeconds);
}

void nxKestrelRenderersFactory::StartSession(const char* sourceIdentifier, const char* payload,
                                             const char* address) {
    if (payload == nullptr) return;
    if (const auto session = FindSession(TextOrEmpty(sourceIdentifier))) {
        session->Start(payload, DirectUrl(TextOrEmpty(address)).c_str(), kConnectTimeoutSeconds);
    }
}

void nxKestrelRenderersFactory::StopSession(const char* sourceIdentifier) {
    if (const auto session = FindSession(TextOrEmpty(sourceIdentifier))) session->Stop();
}

void nxKestrelRenderersFactory::StartSweep() {
    zThread::ExecuteOnMainThread(lifetimeToken, kSweepPeriodUs, {}, [this] {
        Sweep();
        StartSweep();
    });
}

// Starts again every direct source that is not connected. Its own copy: a session calls back into the host,
// which may change the list. One bad source does not keep the others from their turn.
void nxKestrelRenderersFactory::Sweep() {
    const std::vector<SourceEntry> copy = entries;
    for (const SourceEntry& entry : copy) {
        if (entry.peerIdentifier || FindSession(entry.identifier) != entry.session) continue;
        RunGuarded("nxKestrelRenderersFactory sweep", [&entry] {
            nxWebRtcSession& session = *entry.session;
            if (session.HasGivenUp()) session.Stop();
            if (!session.IsStarted()) RestartSession(session, session.Url(), entry.identifier);
        });
    }
}

// The first entry that knows the phone counts, even when another entry's session reports it.
void nxKestrelRenderersFactory::ConnectionCreated(const char* sourceIdentifier, const char* peerIdentifier) {
    const std::string peer = TextOrEmpty(peerIdentifier);
    const auto findJoined = [this, &peer] {
        return std::find_if(entries.begin(), entries.end(),
                            [&peer](const SourceEntry& entry) { return entry.joinedPeer == peer; });
    };
    auto joined = findJoined();
    if (joined == entries.end()) {
        if (SourceEntry* const entry = FindEntry(TextOrEmpty(sourceIdentifier))) entry->joinedPeer = peer;
        joined = findJoined();
    }
    if (joined == entries.end()) return;
    const std::shared_ptr<nxWebRtcSession> session = joined->session;
    session->StartConnection(peer);
}

void nxKestrelRenderersFactory::CreateRenderer(std::shared_ptr<nxRenderer2>& result,
                                               const char* sourceIdentifier, mdMediaType mediaType,
                                               nxBufferGroup2* bufferGroup) {
    result.reset();
    const std::string identifier = TextOrEmpty(sourceIdentifier);
    const std::shared_ptr<nxWebRtcSession> session = FindSession(identifier);
    if (!session) return;
    std::shared_ptr<nxWebRtcConnection> connection = session->FindConnectionForSource(identifier);
    if (!connection) connection = session->CreateConnectionForSource(identifier);

    if (mediaType == kMediaTypeVideo) {
        result = connection->GetVideoRenderer(bufferGroup);
    } else if (mediaType == kMediaTypeAudio) {
        result = connection->GetAudioRenderer(bufferGroup);
    }
    if (result) session->ApplyTally(connection);
}
