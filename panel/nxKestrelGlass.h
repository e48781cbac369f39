// The settings panel of one source: the phone's address, whether the source is connected, and its data rate.
// [main-thread] throughout.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "connection/nxWebRtcStats.h"
#include "host/ui/eDynamicGlass.h"
#include "host/ui/eGlassView.h"
#include "plugin/nxKestrelRenderersFactory.h"
#include "support/object_count.h"

class nxHostNotification;
class zRecord;

class nxKestrelGlass final : public eDynamicGlass, private support::Counted<nxKestrelGlass> {
public:
    using support::Counted<nxKestrelGlass>::Alive;

    // `views` may be null. The settings and the notification outlive the panel; the factory may go first.
    nxKestrelGlass(nxKestrelRenderersFactory& panelFactory, ePurse* panelPurse, eView* views,
                   zRecord& sourceSettings, nxHostNotification* hostNotification,
                   const char* panelSourceIdentifier);

    void SetUp() override;         // once: registers "cmd_connect", shows the address, starts polling
    void ShowSettings() override;  // puts the settings' address into the field
    void TakeSettings() override;  // takes the address from the field

private:
    using ConnectionState = nxKestrelRenderersFactory::ConnectionState;

    nxKestrelRenderersFactory* Factory() const;  // null when it is gone
    std::string SettingsAddress() const;
    void ApplyAddress();
    bool IsUsedByAnotherSource(const std::string& address) const;
    void SchedulePoll(std::int64_t delayMs);
    void Poll();
    void OnStatistics(const nxWebRtcStats& stats, ConnectionState state);
    void ShowDataRate(const nxWebRtcStats& stats);
    void ShowStatus(bool nowConnected);

    zRecord& settings;
    nxHostNotification* const notification;
    nxKestrelRenderersFactory* const factory;
    const std::weak_ptr<zObject> factoryToken;
    std::string rememberedAddress;  // the last one that was accepted
    nxWebRtcStats previousStats;
    bool connected = false;  // as shown
    const std::string sourceIdentifier;
    eGlassView addressField;
    eGlassView dataRateLabel;
    eGlassView statusLabel;
    const std::shared_ptr<zObject> lifetimeToken = std::make_shared<zObject>();
};
