#pragma once

// The host may pass null for an empty text.
inline const char* TextOrEmpty(const char* text) {
    return text != nullptr ? text : "";
}
