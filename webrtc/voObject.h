// Base of every wrapper object. The reference count lives in the library-side body, so that both sides
// of the library's edge agree on it whatever they were compiled with.
#pragma once

// A user built with hidden visibility must not hide the inline members: it has to export them.
#pragma GCC visibility push(default)
namespace vo_webrtc {

class voObject {
public:
    // The library's part of an object; defined by the library.
    class BaseImpl;

    explicit voObject(BaseImpl* libraryBody) : body(libraryBody) {}
    // Copies share the body and do not count. Objects that a user of the library implements are never copied.
    voObject(const voObject& other) = default;
    voObject& operator=(const voObject& other) = default;
    virtual ~voObject() = default;

    void AddRef();   // [any-thread]
    void Release();  // [any-thread]

protected:
    BaseImpl* Body() const { return body; }

private:
    friend class BaseImpl;
    BaseImpl* body;
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
