// The way of the host and of the settings panel to the signalling sessions behind the sources.
// Slot order is declaration order; all operations run on the main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/core/xIUnknown.h"
#include "host/core/zObject.h"
#include "host/core/zString.h"

class nxWebRtcRendererXI : public xIUnknown {
public:
    using ChangeListener = std::function<void()>;
    using WithdrawListener = std::function<void(const char* identifier)>;
    using JoinListener =
        std::function<void(const char* sessionGuid, const char* result, const char* chatUrl)>;

    // The URL that the source's session last opened; empty for an unknown source.
    virtual void GetSessionUrl(const char* sourceIdentifier, zString& result) = 0;

    // Starts the source's session at `address` with a JSON `payload` naming its "sessionGuid". Does
    // nothing while the session is started, for a null payload and for an unknown source.
    virtual void StartSession(const char* sourceIdentifier, const char* payload, const char* address) = 0;
    virtual void StopSession(const char* sourceIdentifier) = 0;
    virtual void SessionNotification() = 0;

    // The owner is kept alive until the listener is removed; a null owner is not registered.
    virtual void AddChangeListener(std::shared_ptr<zObject> owner, ChangeListener listener) = 0;
    virtual void AddWithdrawListener(std::shared_ptr<zObject> owner, WithdrawListener listener) = 0;
    virtual void AddJoinListener(std::shared_ptr<zObject> owner, JoinListener listener) = 0;
    virtual void RemoveChangeListener(std::shared_ptr<zObject> owner, ChangeListener listener) = 0;
    virtual void RemoveWithdrawListener(std::shared_ptr<zObject> owner, WithdrawListener listener) = 0;
    virtual void RemoveJoinListener(std::shared_ptr<zObject> owner, JoinListener listener) = 0;

    // A phone joined the session of a source: remembers the peer and starts its connection.
    virtual void ConnectionCreated(const char* sourceIdentifier, const char* peerIdentifier) = 0;
    virtual void ConnectionNotification() = 0;
    virtual void GetSessionGuid(const char* sourceIdentifier, zString& result) = 0;

    virtual std::vector<std::string> PeerList() = 0;
    virtual bool HasPeerList() = 0;
    virtual std::vector<std::string> ChatList() = 0;
    virtual bool HasChatList() = 0;
    virtual void ListNotification() = 0;
    virtual bool IsDirectMode() = 0;

    // Whether a source, the asker's own included, already uses the address.
    virtual bool IsAddressInUse(const char* address) = 0;

    // One tally value for all sources. Per source: nxRendererFactory2::ForwardToSession.
    virtual void SetTallyValue(std::uint32_t value) = 0;

    // Releases what is passed in.
    virtual void ReleaseListener(std::weak_ptr<zObject> owner, std::function<void()> listener) = 0;
};
