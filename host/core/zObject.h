// Base of the host's objects. A shared zObject also serves as a lifetime token.
#pragma once

class zObject {
public:
    zObject() = default;
    zObject(const zObject&) = default;
    zObject& operator=(const zObject&) = default;
    virtual ~zObject() = default;
};
