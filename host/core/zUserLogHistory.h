// The host's user log: entries that the operator reads.
#pragma once

#include "host/core/zString.h"

class zUserLogHistory {
public:
    static constexpr int kLevelSuccess = 0;
    static constexpr int kLevelTrouble = 1;

    static zUserLogHistory* Default();

    // [any-thread] The form in which the log stores a text: valid UTF-8 without control characters.
    static zString Convert(const char* text);

    // [any-thread] Bounded; equal consecutive entries are merged into one with a count.
    void Add(int level, const zString& text);

private:
    zUserLogHistory() = default;
};
