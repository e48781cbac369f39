// The settings panel of one source, with the views that it draws on. The host's front ends show the views and
// send the panel its commands. [main-thread] throughout.
#pragma once

#include <memory>

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

    // Null when the plug-in offers no panel. It ends before the plug-in's factory; the list may go first.
    static std::unique_ptr<SourcePanel> Open(SourcePlugin& plugin, ePurse& purse,
                                             const std::shared_ptr<SourceList>& list,
                                             const std::shared_ptr<Source>& source);
    SourcePanel(const SourcePanel&) = delete;
    SourcePanel& operator=(const SourcePanel&) = delete;
    ~SourcePanel();

    eDynamicGlass& Glass() { return *glass; }
    eView& Views() { return *views; }
    const std::shared_ptr<Source>& Shown() const { return source; }

private:
    // What the panel says is answered in a later turn.
    class Notification final : public nxHostNotification {
    public:
        Notification(std::weak_ptr<SourceList> listToTell, const Source& shownSource)
            : list(std::move(listToTell)), source(shownSource) {}
        void Notify(std::uint32_t value) override;

    private:
        const std::weak_ptr<SourceList> list;
        const Source& source;
    };

    SourcePanel(const std::shared_ptr<SourceList>& list, std::shared_ptr<Source> shownSource);

    const std::shared_ptr<Source> source;  // its settings outlive the panel
    Notification notification;
    std::unique_ptr<eView> views;
    std::unique_ptr<eDynamicGlass> glass;
};

}  // namespace host_runtime
