// Texts, listeners, tally and statistics of the sessions.
#include <utility>

#include "connection/nxWebRtcConnection.h"
#include "host/core/zThread.h"
#include "plugin/address_in_use.h"
#include "plugin/null_text.h"
#include "plugin/nxKestrelRenderersFactory.h"
#include "session/nxWebRtcSession.h"

void nxKestrelRenderersFactory::GetSessionUrl(const char* sourceIdentifier, zString& result) {
    const auto session = FindSession(TextOrEmpty(sourceIdentifier));
    result.Assign(session ? session->Url() : "");
}

void nxKestrelRenderersFactory::GetSessionGuid(const char* sourceIdentifier, zString& result) {
    const auto session = FindSession(TextOrEmpty(sourceIdentifier));
    result.Assign(session ? session->SessionGuid() : "");
}

void nxKestrelRenderersFactory::AddChangeListener(std::shared_ptr<zObject> owner, ChangeListener listener) {
    changeListeners.Add(std::move(owner), std::move(listener));
}

void nxKestrelRenderersFactory::AddWithdrawListener(std::shared_ptr<zObject> owner,
                                                    WithdrawListener listener) {
    withdrawListeners.Add(std::move(owner), std::move(listener));
}

void nxKestrelRenderersFactory::AddJoinListener(std::shared_ptr<zObject> owner, JoinListener listener) {
    joinListeners.Add(std::move(owner), std::move(listener));
}

void nxKestrelRenderersFactory::RemoveChangeListener(std::shared_ptr<zObject> owner, ChangeListener) {
    changeListeners.Remove(owner);
}

void nxKestrelRenderersFactory::RemoveWithdrawListener(std::shared_ptr<zObject> owner, WithdrawListener) {
    withdrawListeners.Remove(owner);
}

void nxKestrelRenderersFactory::RemoveJoinListener(std::shared_ptr<zObject> owner, JoinListener) {
    joinListeners.Remove(owner);
}

// Both arguments are the callee's own and go with the call.
void nxKestrelRenderersFactory::ReleaseListener(std::weak_ptr<zObject>, std::function<void()>) {}

bool nxKestrelRenderersFactory::IsAddressInUse(const char* address) {
    std::vector<std::string> urls;
    for (const SourceEntry& entry : entries)
        if (entry.session) urls.push_back(entry.session->Url());
    return ::IsAddressInUse(TextOrEmpty(address), urls, &ResolveHost);
}

void nxKestrelRenderersFactory::SetTallyValue(std::uint32_t value) {
    tallyValue = value;
    const std::vector<SourceEntry> copy = entries;
    for (const SourceEntry& entry : copy)
        entry.session->SetTallyValue(value);
}

void nxKestrelRenderersFactory::ForwardToSession(const char* sourceIdentifier, std::uint32_t tallyState) {
    if (const auto session = FindSession(TextOrEmpty(sourceIdentifier))) session->SetTallyValue(tallyState);
}

bool nxKestrelRenderersFactory::WatchStatistics(const std::string& sourceIdentifier,
                                                StatisticsCallback callback) {
    const std::shared_ptr<nxWebRtcSession> session = FindSession(sourceIdentifier);
    if (!session || session->Url().empty()) return false;
    // Connecting, lost or stopped.
    if (!session->IsStarted()) {
        callback(nxWebRtcStats{}, ConnectionState::Disconnected);
        return true;
    }
    const auto connection = session->FindConnectionForSource(sourceIdentifier);
    if (!connection) return false;
    connection->GetStats([callback = std::move(callback)](const nxWebRtcStats& stats) {
        zThread::ExecuteOnMainThread([callback, stats] { callback(stats, ConnectionState::Connected); });
    });
    return true;
}
