// Signalling messages made of the fuzzer's bytes.
#pragma once

#include <string>

class FuzzedDataProvider;

namespace fuzzing {

// Peers and session GUIDs that messages name more often than others.
inline constexpr const char* kPeers[] = {"phone-1", "phone-2", ""};
inline constexpr const char* kGuids[] = {"guid", "guid-2", ""};

// Mostly JSON objects of the protocol's members with values of fitting and of wrong types; now and then any
// bytes.
std::string AnyMessage(FuzzedDataProvider& bytes);

// Ends with the process when a text is not one that the phone's protocol knows.
void RequireProtocolMessage(const std::string& text);

}  // namespace fuzzing
