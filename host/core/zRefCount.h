// Intrusive reference counting for objects that are not interfaces, such as the source registry.
#pragma once

class zRefCount {
public:
    virtual void AddRef() = 0;   // [any-thread]
    virtual void Release() = 0;  // [any-thread] the last one destroys the object
    virtual ~zRefCount() = default;
};
