// Localised texts.
#pragma once

class ePatoisManager {
public:
    static ePatoisManager* Default();

    // [any-thread] The text for a key in the host's language, else the key itself. Valid for the life
    // of the process.
    const char* Lookup(const char* key) const;

private:
    ePatoisManager() = default;
};
