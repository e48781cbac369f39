// The fake plug-in as a library that a host can load.
#include "tests/fakes/plugin/FakeFactory.h"
#include "tests/fakes/plugin/PatternRenderers.h"

extern "C" __attribute__((visibility("default"))) nxRendererFactory2* initialize_sources_plugin(
    nxSourceRegistry* registry);

nxRendererFactory2* initialize_sources_plugin(nxSourceRegistry* registry) {
    return new fakes::FakeFactory(registry, fakes::MakePatternRenderer);
}
