// A sources plug-in without phones: keeps entries as the host expects it of one, remembers every call, and
// gives the renderers that a test chose. [main-thread] throughout.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/renderer/nxKestrelRendererXI.h"
#include "host/renderer/nxRendererFactory2.h"
#include "host/renderer/nxSourceRegistry.h"
#include "host/renderer/nxWebRtcRendererXI.h"
#include "host/renderer/nxXISourceGUI.h"
#include "support/object_count.h"

namespace fakes {

class FakeFactory final : public nxRendererFactory2,
                          public nxWebRtcRendererXI,
                          public nxKestrelRendererXI,
                          public nxXISourceGUI,
                          private support::Counted<FakeFactory> {
public:
    using support::Counted<FakeFactory>::Alive;

    using RendererMaker = std::function<std::shared_ptr<nxRenderer2>(
        const std::string& address, mdMediaType mediaType, nxBufferGroup2* bufferGroup)>;

    struct Entry {
        std::string url;  // last dialled
        bool running = false;
        std::optional<std::string> peerIdentifier;
        std::map<mdMediaType, std::shared_ptr<nxRenderer2>> renderers;
    };

    FakeFactory(nxSourceRegistry* sourceRegistry, RendererMaker rendererMaker);
    ~FakeFactory() override;

    // The calls since the last TakeCalls(), such as "ActivateSource SOURCE-1".
    std::vector<std::string> TakeCalls();
    const std::map<std::string, Entry>& Entries() const { return entries; }
    std::map<std::string, std::uint32_t> tallies;
    // The plug-in's own withdraw, as after each stop of a session.
    void WithdrawFromHost(const std::string& identifier);
    std::string identifierPrefix = "SOURCE-";  // of new sources; a number follows
    bool throwInActivate = false;
    bool refuseActivation = false;
    bool offersPanel = true;

    zStatus QueryInterface(const char* name, void** out) override;
    std::uint32_t AddRef() override { return Concrete_AddRef(); }
    std::uint32_t Release() override { return Concrete_Release(); }
    zStatus Concrete_QueryInterface(const char* name, void** out) override;

    void GetSourceTypeInfo(nxSourceTypeInfo& info) override;
    bool OffersSources() override { return true; }
    zStatus ActivateSource(const char* sourceIdentifier, zRecord& settings) override;
    void SourceNotification(const char*) override {}
    void ForwardToSession(const char* sourceIdentifier, std::uint32_t argument) override;
    void NewSource(nxSourceDescription& description, zRecord& settings) override;
    void ConnectDirect(const char* sourceIdentifier, zRecord& settings) override;
    void CreateRenderer(std::shared_ptr<nxRenderer2>& result, const char* sourceIdentifier,
                        mdMediaType mediaType, nxBufferGroup2* bufferGroup) override;

    void PeerDiscovered(zRecord& discovery) override;
    void PeerLost(zRecord& discovery) override;

    // Null when it offers none.
    zStatus CreateSourceGUI(ePurse* purse, eView* parentView, zRecord& settings,
                            nxHostNotification* notification, const char* sourceIdentifier,
                            eDynamicGlass** outPanel) override;

    void GetSessionUrl(const char* sourceIdentifier, zString& result) override;
    void StartSession(const char* sourceIdentifier, const char* payload, const char* address) override;
    void StopSession(const char* sourceIdentifier) override;
    void SessionNotification() override {}
    void AddChangeListener(std::shared_ptr<zObject>, ChangeListener) override {}
    void AddWithdrawListener(std::shared_ptr<zObject>, WithdrawListener) override {}
    void AddJoinListener(std::shared_ptr<zObject>, JoinListener) override {}
    void RemoveChangeListener(std::shared_ptr<zObject>, ChangeListener) override {}
    void RemoveWithdrawListener(std::shared_ptr<zObject>, WithdrawListener) override {}
    void RemoveJoinListener(std::shared_ptr<zObject>, JoinListener) override {}
    void ConnectionCreated(const char*, const char*) override {}
    void ConnectionNotification() override {}
    void GetSessionGuid(const char*, zString&) override {}
    std::vector<std::string> PeerList() override { return {}; }
    bool HasPeerList() override { return false; }
    std::vector<std::string> ChatList() override { return {}; }
    bool HasChatList() override { return false; }
    void ListNotification() override {}
    bool IsDirectMode() override { return true; }
    bool IsAddressInUse(const char* address) override;
    void SetTallyValue(std::uint32_t) override {}
    void ReleaseListener(std::weak_ptr<zObject>, std::function<void()>) override {}

private:
    void Note(const char* operation, const char* identifier, const std::string& detail = {});

    nxSourceRegistry* const registry;
    const RendererMaker makeRenderer;
    std::map<std::string, Entry> entries;
    std::vector<std::string> calls;
    int made = 0;
};

}  // namespace fakes
