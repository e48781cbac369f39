#include <algorithm>
#include <cctype>
#include <utility>

#include "host/core/zThread.h"
#include "host/core/zTraceManager.h"
#include "host/core/zUserLogHistory.h"
#include "host_runtime/core/Printable.h"
#include "host_runtime/sources/SourceList.h"
#include "host_runtime/sources/SourceText.h"

namespace host_runtime {
namespace {

bool IsUsablePort(const std::string& port) {
    return port.size() <= 5 && std::all_of(port.begin(), port.end(), [](unsigned char character) {
               return std::isdigit(character) != 0;
           });
}

zRecord DiscoveryRecord(const DiscoveredPhone& phone) {
    zRecord record;
    record.SetCString("host", phone.host.c_str());
    record.SetCString("port", phone.port.c_str());
    record.SetCString("name", phone.name.c_str());
    record.AddChild().SetCString("PeerIdentifier", phone.peerIdentifier.c_str());
    return record;
}

std::string NameForOperator(const DiscoveredPhone& phone) {
    return "The phone " + (phone.name.empty() ? phone.peerIdentifier : '"' + phone.name + '"');
}

void TellOperator(int level, const std::string& sentence) {
    zUserLogHistory::Default()->Add(level, zUserLogHistory::Convert(sentence.c_str()));
}

}  // namespace

void SourceList::PhoneDiscovered(const DiscoveredPhone& reported) {
    if (!IsUsableIdentifier(reported.peerIdentifier) || !IsUsableHost(reported.host) ||
        !IsUsablePort(reported.port)) {
        zTraceManager::Default()->TraceMessage(
            FourCC("note"), "halyard: a phone was reported that cannot be used: '%s' at '%s'\n",
            Printable(reported.peerIdentifier, LineFeeds::Replace).c_str(),
            Printable(reported.host, LineFeeds::Replace).c_str());
        return;
    }
    const bool isNew = !phones.contains(reported.peerIdentifier);
    Phone& phone = phones[reported.peerIdentifier];
    phone.reported = reported;
    phone.reported.name = Printable(reported.name, LineFeeds::Replace);
    phone.grace.reset();
    if (isNew) {
        TellOperator(zUserLogHistory::kLevelSuccess,
                     NameForOperator(phone.reported) + " is in the network, at " + phone.reported.host + ".");
    }
    ReportPhone(phone);
}

void SourceList::PhoneLost(const std::string& peerIdentifier) {
    const auto found = phones.find(peerIdentifier);
    if (found == phones.end() || found->second.grace) return;
    // A source ends the moment that its phone is given up, although its picture may still run.
    found->second.grace = std::make_shared<zObject>();
    zThread::ExecuteOnMainThread(found->second.grace, kLostGraceUs, {},
                                 [list = weak_from_this(), peerIdentifier] {
                                     if (const auto self = list.lock()) self->PhoneIsGone(peerIdentifier);
                                 });
}

std::vector<DiscoveredPhone> SourceList::Phones() const {
    std::vector<DiscoveredPhone> all;
    for (const auto& [identifier, phone] : phones) {
        if (phone.announced) all.push_back(phone.reported);
    }
    return all;
}

SourceList::SourcePointer SourceList::ActivatePhone(const std::string& peerIdentifier) {
    if (SourcePointer running = Find(peerIdentifier)) return running;
    const auto found = phones.find(peerIdentifier);
    if (found == phones.end() || !found->second.announced) return nullptr;
    const SourcePointer source = MakeSource(peerIdentifier, true);
    source->Settings() = found->second.settings;
    source->SettingsChanged();
    if (const StoredSource* stored = store != nullptr ? store->Find(peerIdentifier) : nullptr) {
        source->audioMuted = stored->audioMuted;
        source->videoMuted = stored->videoMuted;
    }
    ActivateUnlessInUse(*source);
    Save(*source);
    Changed();
    return source;
}

void SourceList::ReportPhone(Phone& phone) {
    zRecord record = DiscoveryRecord(phone.reported);
    plugin.PeerDiscovered(record);
}

void SourceList::OnAnnounced(const nxSourceDescription& description, const zRecord& settings) {
    const auto found = phones.find(description.identifier);
    if (found == phones.end()) return;
    Phone& phone = found->second;
    phone.announced = true;
    phone.settings = settings;
    phone.settings.SetCString("unique_id", description.identifier.c_str());
    phone.settings.SetCString("name", description.displayName.c_str());

    if (const SourcePointer source = Find(description.identifier)) {
        const std::string address = settings.AsCString("kestrel_ip_address", "");
        if (address != source->Address()) {
            source->Settings().SetCString("kestrel_ip_address", address.c_str());
            source->SettingsChanged();
            plugin.StopSession(source->Identifier());
            Save(*source);
        }
        ReviveSource(description.identifier);
    }
    Changed();
}

void SourceList::OnWithdrawn(const std::string& identifier) {
    const SourcePointer source = Find(identifier);
    if (source && source->State() == SourceState::Active) source->SetState(SourceState::Offline);

    // The plug-in withdraws the source of a phone with every stop; discovery may see that phone still.
    const auto found = phones.find(identifier);
    if (found != phones.end() && !found->second.revivalQueued) {
        found->second.revivalQueued = true;
        LaterOnMainThread(kRevivalAfterWithdrawUs, [identifier](SourceList& list) {
            const auto again = list.phones.find(identifier);
            if (again == list.phones.end()) return;
            again->second.revivalQueued = false;
            list.ReportPhone(again->second);
        });
    }
    Changed();
}

void SourceList::PhoneIsGone(const std::string& peerIdentifier) {
    const auto found = phones.find(peerIdentifier);
    if (found == phones.end()) return;
    zRecord record = DiscoveryRecord(found->second.reported);
    TellOperator(zUserLogHistory::kLevelTrouble,
                 NameForOperator(found->second.reported) + " is no longer in the network.");
    phones.erase(found);
    if (const SourcePointer source = Find(peerIdentifier)) {
        source->SetRenderers(nullptr, nullptr);
        if (source->State() == SourceState::Active) source->SetState(SourceState::Offline);
        dialledAddresses.erase(peerIdentifier);
    }
    plugin.PeerLost(record);
    RetryRefused();
    Changed();
}

void SourceList::ReviveSource(const std::string& identifier) {
    const SourcePointer source = Find(identifier);
    if (!source || !source->IsDiscovered()) return;
    if (source->State() == SourceState::AddressInUse || !source->VideoRenderer()) {
        // The plug-in gave the source up with its phone: it begins anew, with new renderers.
        ActivateUnlessInUse(*source);
    } else {
        plugin.StartSession(identifier, source->Address());
    }
}

void SourceList::ReviveAll() {
    std::vector<std::string> identifiers;
    for (const auto& [identifier, phone] : phones) {
        if (phone.announced) identifiers.push_back(identifier);
    }
    for (const std::string& identifier : identifiers)
        ReviveSource(identifier);
}

void SourceList::ScheduleRevival() {
    LaterOnMainThread(kRevivalPeriodUs, [](SourceList& list) {
        list.ReviveAll();
        list.ScheduleRevival();
    });
}

}  // namespace host_runtime
