// Names of a peer connection's states for the trace. A value outside its table has the empty name.
#pragma once

#include <cstdint>

const char* IceConnectionStateName(std::uint32_t state);
const char* IceGatheringStateName(std::uint32_t state);
const char* SignalingStateName(std::uint32_t state);
