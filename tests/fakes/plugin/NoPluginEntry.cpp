// A library that is no plug-in, and one whose entry point fails, depending on how it is built.
class nxRendererFactory2;
class nxSourceRegistry;

#if defined(FAILING_ENTRY)
#include <stdexcept>

extern "C" __attribute__((visibility("default"))) nxRendererFactory2* initialize_sources_plugin(
    nxSourceRegistry* registry);

nxRendererFactory2* initialize_sources_plugin(nxSourceRegistry*) {
    throw std::runtime_error("no memory for phones");
}
#endif
