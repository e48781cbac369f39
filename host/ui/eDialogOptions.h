#pragma once

#include <cstdint>
#include <string>

// A modal message: keys of localised texts.
struct eDialogOptions {
    eDialogOptions(std::uint32_t optionFlags, const char* message, const char* detail, bool cancelButton)
        : flags(optionFlags), messageKey(message), detailKey(detail), canCancel(cancelButton) {}

    std::uint32_t flags;
    std::string messageKey;
    std::string detailKey;
    bool canCancel;
};
