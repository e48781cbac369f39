#include "host/renderer/nxRendererFactory2.h"

nxRendererFactory2::nxRendererFactory2() = default;
nxRendererFactory2::~nxRendererFactory2() = default;

void nxRendererFactory2::ReleaseNotification(std::shared_ptr<zObject> object) {
    object.reset();
}
