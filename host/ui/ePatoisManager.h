// Localised texts.
#pragma once

class ePatoisManager {
public:
    static ePatoisManager* Default();

    // [any-thread] The text for a key in the host's language, valid for the life of the process; the key
    // itself, as it was passed, when there is none; the empty text for null.
    const char* Lookup(const char* key) const;

private:
    ePatoisManager() = default;
};
