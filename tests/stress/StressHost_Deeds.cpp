// What the host does with a source that exists, and with its own sessions.
#include <nlohmann/json.hpp>

#include "support/weak_callback.h"
#include "tests/stress/StressHost.h"

namespace stress {

void StressHost::StopSession(Source& source) {
    factory->StopSession(source.identifier.c_str());
    counts.Add(Action::SessionStopped);
}

void StressHost::StartSession(Source& source) {
    const std::string payload = "{\"sessionGuid\":\"" + source.identifier + "\"}";
    factory->StartSession(source.identifier.c_str(), payload.c_str(), RandomAddress().c_str());
    counts.Add(Action::SessionStarted);
}

void StressHost::ChangeTallies(Source& source) {
    if (dice.OneIn(2)) {
        factory->SetTallyValue(static_cast<std::uint32_t>(dice.Below(7)));
        counts.Add(Action::TallyOfAllChanged);
    } else {
        factory->ForwardToSession(source.identifier.c_str(), static_cast<std::uint32_t>(dice.Below(7)));
        counts.Add(Action::TallyOfOneChanged);
    }
}

void StressHost::AskStatistics(Source& source) {
    using State = nxKestrelRenderersFactory::ConnectionState;
    const auto answered = [this](zObject&, const nxWebRtcStats&, State state) {
        counts.Add(state == State::Connected ? Action::StatisticsWhileConnected
                                             : Action::StatisticsWhileDisconnected);
    };
    factory->WatchStatistics(source.identifier,
                             support::WeakCallback(std::weak_ptr<zObject>(lifetimeToken), answered));
    counts.Add(Action::StatisticsAsked);
}

void StressHost::CompareAddress(Source& source) {
    factory->IsAddressInUse(dice.OneIn(8) ? "localhost" : RandomAddress().c_str());
    zString text;
    factory->GetSessionUrl(source.identifier.c_str(), text);
    factory->GetSessionGuid(source.identifier.c_str(), text);
    counts.Add(Action::AddressCompared);
}

void StressHost::ChangeListeners(Source&) {
    if (listenerOwners.size() < 3) {
        listenerOwners.push_back(std::make_shared<zObject>());
        factory->AddWithdrawListener(listenerOwners.back(), [](const char*) {});
        factory->AddJoinListener(listenerOwners.back(), [this](const char*, const char*, const char*) {
            counts.Add(Action::JoinAnswered);
        });
        counts.Add(Action::ListenerAdded);
    } else {
        factory->RemoveWithdrawListener(listenerOwners.front(), {});
        factory->RemoveJoinListener(listenerOwners.front(), {});
        listenerOwners.erase(listenerOwners.begin());
        counts.Add(Action::ListenerRemoved);
    }
}

void StressHost::UsePanel(Source& source) {
    if (!source.panel) {
        source.panel = std::make_unique<OpenPanel>(*factory, purse, source.settings, source.identifier);
        counts.Add(Action::PanelOpened);
    } else if (dice.OneIn(2)) {
        source.panel->Type(RandomAddress());
        counts.Add(Action::PanelUsed);
    } else {
        source.panel.reset();
        counts.Add(Action::PanelClosed);
    }
}

void StressHost::ApplySettings(Source& source) {
    if (!source.sound) return;
    zRecord settings;
    settings.SetBool("audioActive", !dice.OneIn(3));
    source.sound->ApplySettings(settings);
    counts.Add(Action::SettingsApplied);
}

// Sessions with a rendezvous service, which the factory does not make. The first one, like its far end, is
// calm.
void StressHost::ActOnService() {
    const std::size_t place = static_cast<std::size_t>(dice.Below(static_cast<int>(services.size())));
    std::shared_ptr<nxWebRtcSession>& service = services[place];
    if (!service) {
        service = std::make_shared<nxWebRtcSession>(nxWebRtcSession::Mode::Rendezvous);
        service->onReconnecting = [this](bool began) {
            counts.Add(began ? Action::ReconnectionBegan : Action::ReconnectionEnded);
        };
        service->onJoinResponse = [](const std::string&, const std::string&, const std::string&) {};
        service->onChatMessages = [this](const nlohmann::json&) { counts.Add(Action::ChatReceived); };
    }
    const bool calm = place == 0;
    switch (dice.Below(12)) {
        case 0:
            if (calm) break;
            service->Stop();
            counts.Add(Action::ServiceSessionStopped);
            break;
        case 1:
            if (calm) break;
            service.reset();
            counts.Add(Action::ServiceSessionDestroyed);
            break;
        case 2:
        case 3:
            service->SetDebugLogging(dice.Below(3));
            counts.Add(Action::LoggingSwitched);
            break;
        default: {
            const std::string address = "127.0.1." + std::to_string(4 + place) + "/join";
            service->Start(R"({"sessionGuid":"meeting","ownerKey":"key"})", address.c_str(), 2.0);
            counts.Add(Action::ServiceSessionStarted);
            break;
        }
    }
}

}  // namespace stress
