#pragma once

#include <string_view>

// No message of the protocol nests deeper. The JSON library writes nested values recursively, so a message
// of brackets alone would exhaust the stack.
inline constexpr int kDeepestMessage = 32;

// Whether arrays and objects nest deeper than `limit` in a JSON text; brackets in strings do not count.
bool NestsDeeperThan(std::string_view json, int limit);
