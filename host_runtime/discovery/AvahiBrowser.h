// Browses for phones through this machine's Avahi daemon, for as long as there is one.
#pragma once

#include <memory>

#include "host_runtime/discovery/ServiceBrowser.h"

namespace host_runtime {

// [main-thread] Nothing is touched before Start().
std::unique_ptr<ServiceBrowser> MakeAvahiBrowser();

}  // namespace host_runtime
