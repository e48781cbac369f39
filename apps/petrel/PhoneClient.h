// One client of one phone: what it said so far, and the media that its last offer led to. Lives on the
// control thread.
#pragma once

#include <memory>
#include <string>

#include "apps/petrel/ControlLoop.h"
#include "apps/petrel/PeerMedia.h"
#include "apps/petrel/PhoneIdentity.h"
#include "apps/petrel/SharedEncoder.h"
#include "apps/petrel/SignallingMessages.h"
#include "support/object_count.h"
#include "web_server/WebSocketServer.h"

namespace petrel {

// What all clients of all phones share.
struct Studio {
    ControlLoop& loop;
    SharedEncoder& encoder;
};

class PhoneClient : public std::enable_shared_from_this<PhoneClient>, private support::Counted<PhoneClient> {
public:
    using Counted::Alive;

    PhoneClient(PhoneIdentity phone, Studio sharedStudio,
                std::shared_ptr<web_server::WebSocketConnection> client);
    ~PhoneClient();

    // Bad messages are logged and change nothing.
    void OnMessage(const std::string& text);

private:
    void Handle(const JoinMaster& join);
    void Handle(const MasterMadeOffer& offer);
    void Handle(const CreatedAnswer& answer);
    void Handle(const RemoteCandidate& candidate);
    void Handle(const TallyStateChanged& tally);
    void Handle(const UnknownMessage& message);
    void Handle(const MalformedMessage& message);

    void Answer(OfferPlan plan);
    PeerMediaEvents MediaEvents();
    bool IsForMe(const std::string& peersIdentifier) const;
    std::string Name() const;  // for the log

    const PhoneIdentity identity;
    const Studio studio;
    const std::shared_ptr<web_server::WebSocketConnection> connection;
    std::string sessionGuid;
    std::shared_ptr<PeerMedia> media;
    bool onAir = false;
};

}  // namespace petrel
