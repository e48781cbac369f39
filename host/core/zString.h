// A text of the host. One that was never assigned has a null Text().
#pragma once

#include <string>
#include <string_view>

class zString {
public:
    zString() = default;
    explicit zString(std::string_view initialText) : text(initialText), assigned(true) {}

    void Assign(std::string_view newText) {
        text.assign(newText);
        assigned = true;
    }
    void Clear() {
        text.clear();
        assigned = false;
    }

    // Zero-terminated UTF-8, valid until the next change; null when nothing was assigned.
    const char* Text() const { return assigned ? text.c_str() : nullptr; }
    std::string ToStdString() const { return text; }

    // Exact, case-sensitive; a null text equals only another null.
    static bool string_equal(const char* left, const char* right);

private:
    std::string text;
    bool assigned = false;
};
