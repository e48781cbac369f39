// The settings panel of one source, with the views that it draws on. The host's front ends show the views and
// send the panel its commands. [main-thread] throughout.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/core/zObject.h"
#include "host/renderer/nxHostNotification.h"
#include "support/object_count.h"

class eDynamicGlass;
class ePurse;
class eView;

namespace host_runtime {

class Source;
class SourceList;
class SourcePlugin;

class SourcePanel : private support::Counted<SourcePanel> {
public:
    using support::Counted<SourcePanel>::Alive;

    // Null when the plug-in offers no panel. It ends before the plug-in's factory and the purse; the list may
    // go first.
    static std::unique_ptr<SourcePanel> Open(SourcePlugin& plugin, ePurse& purse,
                                             const std::shared_ptr<SourceList>& list,
                                             const std::shared_ptr<Source>& source);
    SourcePanel(const SourcePanel&) = delete;
    SourcePanel& operator=(const SourcePanel&) = delete;
    ~SourcePanel();

    // For this turn only. A new panel of the plug-in takes the place of one that knows an old address,
    // because something else changed it, or whose source was taken from the plug-in.
    eDynamicGlass& Glass() { return *glass; }
    eView& Views() { return *views; }
    const std::shared_ptr<Source>& Shown() const { return source; }

    // The connection status as the panel shows it, translated; nothing when the panel shows none.
    std::optional<std::string> Status() const;
    // The received data rate that the panel shows; nothing while it shows none or "-".
    std::optional<double> MegabitsPerSecond() const;

private:
    // What the panel says is answered in a later turn.
    class Notification final : public nxHostNotification {
    public:
        Notification(SourcePanel& notifiedPanel, std::weak_ptr<SourceList> listToTell)
            : panel(notifiedPanel), list(std::move(listToTell)) {}
        void Notify(std::uint32_t value) override;

    private:
        SourcePanel& panel;
        const std::weak_ptr<SourceList> list;
    };

    SourcePanel(SourcePlugin& pluginToAsk, ePurse& purseToLend, const std::shared_ptr<SourceList>& list,
                std::shared_ptr<Source> shownSource);

    bool Make();
    void SourceChanged();
    std::string SettingsAddress() const;
    const eView* Label(const char* variable) const;

    SourcePlugin& plugin;
    ePurse& purse;
    const std::shared_ptr<Source> source;  // its settings outlive the panel
    Notification notification;
    std::string knownAddress;  // the one that the panel was made with or accepted
    bool renewalQueued = false;
    std::unique_ptr<eView> views;
    std::unique_ptr<eDynamicGlass> glass;
    std::shared_ptr<zObject> lifetime;  // cancels the jobs of this panel
};

}  // namespace host_runtime
