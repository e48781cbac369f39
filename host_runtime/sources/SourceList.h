// The host's sources: direct ones that the operator added by address, and phones that discovery reported.
// Activation, renderers, mutes and tally happen in one main-thread turn; whatever the plug-in says is
// answered in a later one. [main-thread] throughout.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/core/zSharedObject.h"
#include "host_runtime/discovery/DiscoveredPhone.h"
#include "host_runtime/sources/HostPointer.h"
#include "host_runtime/sources/Source.h"
#include "host_runtime/sources/SourcePlugin.h"
#include "host_runtime/sources/SourceRegistry.h"
#include "host_runtime/sources/SourceStore.h"
#include "support/object_count.h"

class nxBufferGroup2;

namespace host_runtime {

class SourceList final : public std::enable_shared_from_this<SourceList>,
                         public SourceRegistryListener,
                         public PhoneListener,
                         private support::Counted<SourceList> {
public:
    using support::Counted<SourceList>::Alive;
    using SourcePointer = std::shared_ptr<Source>;

    static constexpr std::int64_t kLostGraceUs = 15'000'000;
    static constexpr std::int64_t kRevivalPeriodUs = 15'000'000;
    static constexpr std::int64_t kRevivalAfterWithdrawUs = 1'000'000;

    // `store` may be null: then nothing survives. `pluginToUse`, `store` and `bufferGroup` outlive the list.
    SourceList(SourcePlugin& pluginToUse, SourceStore* storeToUse, nxBufferGroup2* bufferGroupToUse);
    ~SourceList() override;
    // Once, after construction: begins the revival timer. The list is held by a shared pointer.
    void Start();
    // Releases every renderer and forgets the sources; the store keeps them.
    void ShutDown();

    // --- Direct sources
    // A new source at an address, running on return. A stored one of the same address keeps its
    // identifier. Null when the address is no usable one, or a source already has it.
    SourcePointer Add(std::string_view address);
    // A new source whose address the operator will type later; an empty name leaves it to the plug-in.
    SourcePointer AddWithoutAddress(std::string_view displayName);
    // Runs a stored source; null when there is none of that identifier.
    SourcePointer Restore(std::string_view identifier);
    void RestoreAll();
    // Ends the source and forgets it, in the store too. Its address is free again.
    void Remove(std::string_view identifier);
    // An empty address disconnects the source and keeps it. False when the address is no usable one, or is
    // another source's.
    bool ChangeAddress(std::string_view identifier, std::string_view address);
    // The operator pressed connect: an unchanged address is dialled at once, a changed one as above. The
    // new address stands in the settings.
    void SettingsAccepted(std::string_view identifier);

    // --- Discovered phones
    // A phone is there, or is still there. One with an unusable identifier, host or port is ignored.
    void PhoneDiscovered(const DiscoveredPhone& phone) override;
    // A phone is no longer seen; its source ends unless it is seen again within the grace time.
    void PhoneLost(const std::string& peerIdentifier) override;
    std::vector<DiscoveredPhone> Phones() const;
    // Runs a discovered phone as a source, with what the store remembers of it; null when it was not
    // announced.
    SourcePointer ActivatePhone(const std::string& peerIdentifier);

    // --- Controls; remembered and applied again whenever the renderers are new
    void SetTally(std::string_view identifier, TallyState state);
    void SetAudioMuted(std::string_view identifier, bool muted);
    void SetVideoMuted(std::string_view identifier, bool muted);

    std::vector<SourcePointer> Sources() const { return sources; }
    SourcePointer Find(std::string_view identifier) const;
    SourcePointer FindByAddress(std::string_view address) const;
    // Told after a source was added, removed or changed its state; may be empty.
    void SetChangeListener(std::function<void()> listener) { changeListener = std::move(listener); }

    void OnAnnounced(const nxSourceDescription& description, const zRecord& settings) override;
    void OnWithdrawn(const std::string& identifier) override;

private:
    struct Phone {
        DiscoveredPhone reported;
        bool announced = false;
        bool revivalQueued = false;
        std::string displayName;
        zRecord settings;                // as announced
        std::shared_ptr<zObject> grace;  // while set, the phone counts as lost soon
    };

    SourcePointer MakeNew(const std::string& address, const std::string& displayName);
    SourcePointer MakeSource(const std::string& identifier, bool discovered);
    void Activate(Source& source);
    void ActivateUnlessInUse(Source& source);
    void MakeRenderers(Source& source);
    void ApplyControls(Source& source);
    void ForgetInPlugin(Source& source);
    void Disconnect(Source& source);
    void Reroute(Source& source);
    void RetryRefused();
    void Save(const Source& source);
    void LaterOnMainThread(std::int64_t delayUs, std::function<void(SourceList&)> action);
    void PictureReturned(const std::string& identifier, bool afterStall);
    void Changed();

    void ReportPhone(Phone& phone);
    void PhoneIsGone(const std::string& peerIdentifier);
    void ReviveSource(const std::string& identifier);
    void ReviveAll();
    void ScheduleRevival();

    SourcePlugin& plugin;
    SourceStore* const store;
    const HostPointer<nxBufferGroup2> bufferGroup;
    std::shared_ptr<zObject> lifetime;  // cancels the jobs of this list
    std::vector<SourcePointer> sources;
    std::map<std::string, std::string, std::less<>> dialledAddresses;  // per source: what it last ran with
    std::map<std::string, Phone> phones;
    std::function<void()> changeListener;
};

}  // namespace host_runtime
