#include "host_runtime/sources/Host.h"

#include "host/media/nxBufferGroup2.h"
#include "host/renderer/nxRendererFactory2.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/PluginLibrary.h"

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
    host->list->Start();
    return host;
}

Host::~Host() {
    puller.Stop();
    if (list) list->ShutDown();
    plugin.reset();
    // What is still queued may hold the list or objects of the plug-in.
    MainThreadQueue::Default().ShutDown();
    list.reset();
}

}  // namespace host_runtime
