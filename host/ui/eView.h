// A node of the host's view tree, made from a layout: an element with attributes and children. Front
// ends draw the tree; [main-thread] throughout.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/core/zRecord.h"

class eView {
public:
    static constexpr std::int32_t kAppend = 2147483647;

    // `layout` is one element; its text attributes become the view's fields.
    explicit eView(const zRecord& layout);
    eView(const eView&) = delete;
    eView& operator=(const eView&) = delete;
    virtual ~eView();

    // Takes ownership of `child`; null is harmless.
    void AddChildView(eView* child, std::int32_t position);
    // Destroys a direct child; unknown ones are ignored.
    void RemoveChildView(eView* child);

    const std::string& ElementName() const { return fields.ElementName(); }
    // The view in this tree that shows a variable ("var" attribute); null when there is none.
    eView* FindVariable(const char* variable);

    const zRecord& Fields() const { return fields; }
    void SetField(zKey key, const char* text);

    const std::vector<std::unique_ptr<eView>>& Children() const { return children; }

private:
    zRecord fields;
    std::vector<std::unique_ptr<eView>> children;
};
