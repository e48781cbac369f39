// The plug-in's one object towards the host: its sources, their sessions, and every interface by which the
// host and the settings panel reach them. [main-thread] throughout, except the reference count.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "connection/nxWebRtcStats.h"
#include "host/renderer/nxKestrelRendererXI.h"
#include "host/renderer/nxRendererFactory2.h"
#include "host/renderer/nxWebRtcRendererXI.h"
#include "host/renderer/nxXISourceGUI.h"
#include "host/renderer/nxXISourceProperties.h"
#include "plugin/ListenerSet.h"
#include "plugin/SourceEntry.h"
#include "support/object_count.h"

class nxSourceRegistry;

class nxKestrelRenderersFactory final : public nxRendererFactory2,
                                        public nxXISourceGUI,
                                        public nxXISourceProperties,
                                        public nxWebRtcRendererXI,
                                        public nxKestrelRendererXI,
                                        private support::Counted<nxKestrelRenderersFactory> {
public:
    using support::Counted<nxKestrelRenderersFactory>::Alive;

    // Connected means that a connection exists and answered, not that media flow.
    enum class ConnectionState : std::uint32_t { Connected = 0, Disconnected = 1 };
    using StatisticsCallback = std::function<void(const nxWebRtcStats&, ConnectionState)>;

    explicit nxKestrelRenderersFactory(nxSourceRegistry* sourceRegistry);
    ~nxKestrelRenderersFactory() override;

    // xIUnknown, for all five interfaces.
    zStatus QueryInterface(const char* name, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    zStatus Concrete_QueryInterface(const char* name, void** out) override;

    // nxRendererFactory2
    void GetSourceTypeInfo(nxSourceTypeInfo& info) override;
    bool OffersSources() override { return true; }
    zStatus ActivateSource(const char* sourceIdentifier, zRecord& settings) override;
    void SourceNotification(const char*) override {}
    void ForwardToSession(const char* sourceIdentifier, std::uint32_t tallyState) override;
    void NewSource(nxSourceDescription& description, zRecord& settings) override;
    void ConnectDirect(const char* sourceIdentifier, zRecord& settings) override;
    void CreateRenderer(std::shared_ptr<nxRenderer2>& result, const char* sourceIdentifier,
                        mdMediaType mediaType, nxBufferGroup2* bufferGroup) override;

    // nxXISourceGUI
    zStatus CreateSourceGUI(ePurse* purse, eView* parentView, zRecord& settings,
                            nxHostNotification* notification, const char* sourceIdentifier,
                            eDynamicGlass** outPanel) override;

    // nxXISourceProperties
    bool HasProperty(const char* sourceIdentifier, const char* propertyName) override;
    bool GetProperty(const char* sourceIdentifier, const char* propertyName, zVariable& value) override;
    void PropertyChanged() override {}

    // nxWebRtcRendererXI
    void GetSessionUrl(const char* sourceIdentifier, zString& result) override;
    void StartSession(const char* sourceIdentifier, const char* payload, const char* address) override;
    void StopSession(const char* sourceIdentifier) override;
    void SessionNotification() override {}
    void AddChangeListener(std::shared_ptr<zObject> owner, ChangeListener listener) override;
    void AddWithdrawListener(std::shared_ptr<zObject> owner, WithdrawListener listener) override;
    void AddJoinListener(std::shared_ptr<zObject> owner, JoinListener listener) override;
    void RemoveChangeListener(std::shared_ptr<zObject> owner, ChangeListener listener) override;
    void RemoveWithdrawListener(std::shared_ptr<zObject> owner, WithdrawListener listener) override;
    void RemoveJoinListener(std::shared_ptr<zObject> owner, JoinListener listener) override;
    void ConnectionCreated(const char* sourceIdentifier, const char* peerIdentifier) override;
    void ConnectionNotification() override {}
    void GetSessionGuid(const char* sourceIdentifier, zString& result) override;
    std::vector<std::string> PeerList() override { return {}; }
    bool HasPeerList() override { return false; }
    std::vector<std::string> ChatList() override { return {}; }
    bool HasChatList() override { return false; }
    void ListNotification() override {}
    bool IsDirectMode() override { return true; }
    bool IsAddressInUse(const char* address) override;
    void SetTallyValue(std::uint32_t value) override;
    void ReleaseListener(std::weak_ptr<zObject> owner, std::function<void()> listener) override;

    // nxKestrelRendererXI
    void PeerDiscovered(zRecord& discovery) override;
    void PeerLost(zRecord& discovery) override;

    // For the settings panel. True: the callback has been called, or will be, once, on the main thread.
    // False: there is no such source, it was never connected to an address, or it has no connection.
    bool WatchStatistics(const std::string& sourceIdentifier, StatisticsCallback callback);

    // Where discovery reports phones to be: addresses by peer identifier.
    const std::map<std::string, std::string>& DiscoveredPeers() const { return discoveredPeers; }

    // Expires with the factory.
    std::weak_ptr<zObject> LifetimeToken() const { return lifetimeToken; }

private:
    SourceEntry* FindEntry(const std::string& identifier);
    std::shared_ptr<nxWebRtcSession> FindSession(const std::string& identifier);
    void AddEntry(const std::string& identifier);
    void WithdrawPeer(const std::string& peerIdentifier);
    void StartSweep();
    void Sweep();
    static void RestartSession(nxWebRtcSession& session, const std::string& url,
                               const std::string& identifier);

    std::map<std::string, std::string> discoveredPeers;
    std::map<std::string, std::string> directAddresses;  // by source identifier, wins over the settings
    nxSourceRegistry* const registry;                    // counted
    std::vector<SourceEntry> entries;                    // in the order of creation
    ListenerSet<> changeListeners;
    ListenerSet<const char*> withdrawListeners;
    ListenerSet<const char*, const char*, const char*> joinListeners;
    std::uint32_t tallyValue = 0;
    std::shared_ptr<zObject> lifetimeToken = std::make_shared<zObject>();
    bool directMode = false;  // a direct source has been activated: the sweep runs
};
