// A window or panel: views, commands, alerts. [main-thread] throughout. Slot order is declaration order;
// a panel overrides what it needs.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "host/core/zObject.h"
#include "host/ui/eDialogOptions.h"

class eView;
class ePurse;

class eGlass {
public:
    // `root` is the panel's view tree, null when its layout could not be read. The views belong to the
    // parent that they were added to and must outlive the panel.
    eGlass(ePurse* purse, eView* root);
    eGlass(const eGlass&) = delete;
    eGlass& operator=(const eGlass&) = delete;

    virtual ~eGlass();
    virtual void SetOwnerSash(eView* sash);
    virtual bool HasUnsavedChanges() { return false; }
    virtual void WillOpen() {}
    virtual void DidOpen() {}
    virtual void WillClose() {}
    virtual bool State_CloseRequest();
    virtual bool CanBecomeActive() { return true; }
    virtual void Activate();
    virtual void DidActivate() {}
    virtual void DidDeactivate() {}
    virtual void LayoutChanged() {}
    virtual void SetUp() {}  // once, after the views exist
    virtual void RemoveHandlers();
    virtual bool HandleCommand(const char* command);
    virtual void ShowSettings() {}
    virtual void TakeSettings() {}
    virtual bool handle_Default(const char* command);
    virtual void SettingsChanged() {}
    virtual void ReleaseNotification(std::shared_ptr<zObject> object) { object.reset(); }
    virtual void SourceChanged() {}
    virtual void SelectionChanged() {}
    virtual bool WantsKeyboard() { return false; }
    virtual void KeyboardFocusChanged() {}
    virtual void WindowModalAlert_Response(std::uint32_t response);
    virtual void WindowModalRequest_Response(std::uint32_t response);
    virtual void WindowModalCustom_Response(std::uint32_t response);
    virtual std::uint32_t PreferredWidth() { return 0xFFFFFFFFU; }
    virtual void PopupWindowCustom_Response(std::uint32_t response);
    virtual void WindowMoved() {}
    virtual void SaveWindowInformation();
    virtual void EmbedIntoView(eView* parent);
    virtual eView* CreateView();
    virtual std::uint32_t PreferredHeight() { return 0xFFFFFFFFU; }

    // A command that a view of this panel sends; the last action registered for a name counts. Commands
    // end with the panel.
    void AddCommand(const char* name, std::function<void()> action);

    // Queues the alert for whoever shows the panel; returns at once.
    void WindowModalAlert(const eDialogOptions& options);

    // For front ends: alerts not yet shown, oldest first.
    std::deque<eDialogOptions> TakeAlerts();

    eView* RootView() const { return root; }
    ePurse* Purse() const { return purse; }

private:
    ePurse* const purse;
    eView* root;
    std::map<std::string, std::function<void()>> commands;
    std::deque<eDialogOptions> alerts;
};
