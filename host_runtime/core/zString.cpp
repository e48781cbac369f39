#include "host/core/zString.h"

#include <cstring>

bool zString::string_equal(const char* left, const char* right) {
    if (left == nullptr || right == nullptr) return left == right;
    return std::strcmp(left, right) == 0;
}
