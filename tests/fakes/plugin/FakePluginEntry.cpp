// The fake plug-in as a library that a host can load.
#include "host/core/zIDGenerator.h"
#include "tests/fakes/plugin/FakeFactory.h"
#include "tests/fakes/plugin/PatternRenderers.h"

extern "C" __attribute__((visibility("default"))) nxRendererFactory2* initialize_sources_plugin(
    nxSourceRegistry* registry);

nxRendererFactory2* initialize_sources_plugin(nxSourceRegistry* registry) {
    auto* factory = new fakes::FakeFactory(registry, fakes::MakePatternRenderer);
    // Identifiers are stored, and must differ from those of earlier runs.
    factory->identifierPrefix = zIDGenerator::GenerateUUID() + "-";
    return factory;
}
