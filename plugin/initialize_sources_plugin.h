#pragma once

class nxRendererFactory2;
class nxSourceRegistry;

// [main-thread] The host's entry into the plug-in: makes the factory of its sources. The caller owns the one
// reference that the factory starts with; the factory keeps a reference to `registry`, which is not null.
extern "C" __attribute__((visibility("default"))) nxRendererFactory2* initialize_sources_plugin(
    nxSourceRegistry* registry);
