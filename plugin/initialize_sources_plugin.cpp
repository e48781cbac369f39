#include "plugin/initialize_sources_plugin.h"

#include "plugin/nxKestrelRenderersFactory.h"

nxRendererFactory2* initialize_sources_plugin(nxSourceRegistry* registry) {
    return new nxKestrelRenderersFactory(registry);
}
