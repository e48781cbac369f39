#include "host_runtime/sources/Host.h"

#include <utility>

#include "host/media/nxBufferGroup2.h"
#include "host/renderer/nxRendererFactory2.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/PluginLibrary.h"
#include "host_runtime/ui/Purse.h"

namespace host_runtime {

Host::Host(FrameRate frameRate) : puller(frameRate) {}

std::unique_ptr<Host> Host::Make(const HostOptions& options, std::string& error) {
    const std::optional<PluginLibrary> library = PluginLibrary::Load(options.plugin, error);
    if (!library) return nullptr;
    // An earlier host of this process has shut the queue down.
    MainThreadQueue::Default().Reopen();
    std::unique_ptr<Host> host(new Host(options.frameRate));
    const bool stores = !options.stateDirectory.empty();
    if (stores && !host->store.Open(options.stateDirectory, error)) return nullptr;

    host->registry = HostPointer<SourceRegistry>::Adopt(new SourceRegistry);
    nxRendererFactory2* factory = library->MakeFactory(host->registry.Get(), error);
    if (factory == nullptr) return nullptr;
    host->plugin = std::make_unique<SourcePlugin>(factory);
    // One buffer group for the process: a source keeps the first that it was given.
    host->bufferGroup = HostPointer<nxBufferGroup2>::Adopt(BufferGroup::Make());
    host->list =
        std::make_shared<SourceList>(*host->plugin, stores ? &host->store : nullptr, host->bufferGroup.Get());
    host->registry->SetListener(host->list);
    host->purse = std::make_unique<Purse>(library->File().parent_path());
    host->list->Start();
    return host;
}

void Host::Discover(std::unique_ptr<ServiceBrowser> browserToUse) {
    directory = std::make_shared<PhoneDirectory>(list);
    browser = std::move(browserToUse);
    browser->Start(directory);
}

Host::~Host() {
    browser.reset();
    directory.reset();
    puller.Stop();
    if (list) list->ShutDown();
    panels.clear();
    plugin.reset();
    // What is still queued may hold the list or objects of the plug-in.
    MainThreadQueue::Default().ShutDown();
    list.reset();
}

SourcePanel* Host::OpenPanel(std::string_view sourceIdentifier) {
    for (const auto& panel : panels) {
        if (panel->Shown()->Identifier() == sourceIdentifier) return panel.get();
    }
    const auto source = list->Find(sourceIdentifier);
    if (!source) return nullptr;
    std::unique_ptr<SourcePanel> panel = SourcePanel::Open(*plugin, *purse, list, source);
    if (!panel) return nullptr;
    panels.push_back(std::move(panel));
    return panels.back().get();
}

void Host::ClosePanel(std::string_view sourceIdentifier) {
    std::erase_if(panels, [sourceIdentifier](const std::unique_ptr<SourcePanel>& panel) {
        return panel->Shown()->Identifier() == sourceIdentifier;
    });
}

}  // namespace host_runtime
