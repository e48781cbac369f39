// A host in a box, for any program: loads the plug-in, keeps the list of sources, pulls them. The program
// runs MainThreadQueue::Default() on the thread that made the host. [main-thread] throughout.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host_runtime/discovery/PhoneDirectory.h"
#include "host_runtime/discovery/ServiceBrowser.h"
#include "host_runtime/sources/HostPointer.h"
#include "host_runtime/sources/PullGrid.h"
#include "host_runtime/sources/SourceList.h"
#include "host_runtime/sources/SourcePanel.h"
#include "host_runtime/sources/SourcePuller.h"
#include "support/object_count.h"

class ePurse;
class nxBufferGroup2;

namespace host_runtime {

struct HostOptions {
    std::filesystem::path plugin;          // its resource folder lies beside it
    std::filesystem::path stateDirectory;  // empty: nothing is stored
    FrameRate frameRate;
};

class Host : private support::Counted<Host> {
public:
    using support::Counted<Host>::Alive;

    // Null, with one sentence in `error`, when the plug-in or the state directory cannot be used. The
    // puller is not running yet.
    static std::unique_ptr<Host> Make(const HostOptions& options, std::string& error);

    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    // Stops the render threads, releases renderers and sources, destroys the panels, releases the plug-in's
    // factory and destroys the main-thread jobs that are still queued.
    ~Host();

    // From here on phones that the browser finds are offered by Sources().Phones(). At most once.
    void Discover(std::unique_ptr<ServiceBrowser> browserToUse);

    SourceList& Sources() { return *list; }
    SourcePuller& Puller() { return puller; }
    SourceStore& Store() { return store; }
    SourcePlugin& Plugin() { return *plugin; }

    // The settings panel of a source of the list, the one that is open or a new one; null when there is no
    // such source or no panel. It lives until it is closed or the host ends.
    SourcePanel* OpenPanel(std::string_view sourceIdentifier);
    void ClosePanel(std::string_view sourceIdentifier);

private:
    explicit Host(FrameRate frameRate);

    SourceStore store;
    HostPointer<nxBufferGroup2> bufferGroup;
    HostPointer<SourceRegistry> registry;
    std::unique_ptr<SourcePlugin> plugin;
    std::shared_ptr<SourceList> list;
    std::shared_ptr<PhoneDirectory> directory;
    std::unique_ptr<ServiceBrowser> browser;
    std::unique_ptr<ePurse> purse;
    std::vector<std::unique_ptr<SourcePanel>> panels;
    SourcePuller puller;
};

}  // namespace host_runtime
