// A host object that is always held by std::shared_ptr and can hand out references to itself.
#pragma once

#include <memory>

#include "host/core/zObject.h"

class zSharedObject : public std::enable_shared_from_this<zSharedObject>, public zObject {};
