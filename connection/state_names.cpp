#include "connection/state_names.h"

#include <array>
#include <cstddef>

namespace {

constexpr std::array<const char*, 8> kIceConnectionStates = {
    "IceConnectionNew",    "IceConnectionChecking",     "IceConnectionConnected", "IceConnectionCompleted",
    "IceConnectionFailed", "IceConnectionDisconnected", "IceConnectionClosed",    "IceConnectionMax"};

constexpr std::array<const char*, 3> kIceGatheringStates = {"IceGatheringNew", "IceGatheringGathering",
                                                            "IceGatheringComplete"};

constexpr std::array<const char*, 6> kSignalingStates = {
    "Stable", "HaveLocalOffer", "HaveLocalPrAnswer", "HaveRemoteOffer", "HaveRemotePrAnswer", "Closed"};

template <std::size_t Size>
const char* NameIn(const std::array<const char*, Size>& names, std::uint32_t state) {
    return state < names.size() ? names[state] : "";
}

}  // namespace

const char* IceConnectionStateName(std::uint32_t state) {
    return NameIn(kIceConnectionStates, state);
}

const char* IceGatheringStateName(std::uint32_t state) {
    return NameIn(kIceGatheringStates, state);
}

const char* SignalingStateName(std::uint32_t state) {
    return NameIn(kSignalingStates, state);
}
