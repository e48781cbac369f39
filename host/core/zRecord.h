// Fields with an element name and child records: settings, discovery reports, parsed XML.
#pragma once

#include <iterator>
#include <list>
#include <string>
#include <utility>

#include "host/core/zVariable.h"

class zRecord : public zVariable {
public:
    zRecord() = default;
    zRecord(const zRecord&) = default;
    zRecord(zRecord&&) = default;
    zRecord& operator=(const zRecord&) = default;
    zRecord& operator=(zRecord&&) = default;
    ~zRecord() override = default;

    // The element name of a record that was read from XML; empty otherwise.
    const std::string& ElementName() const { return elementName; }
    void SetElementName(std::string name) { elementName = std::move(name); }

    bool HasChildren() const { return !children.empty(); }
    std::size_t ChildCount() const { return children.size(); }
    // Null when there is no such child. The pointer stays valid while children are only added.
    zRecord* Child(std::size_t index) {
        if (index >= children.size()) return nullptr;
        return &*std::next(children.begin(), static_cast<std::ptrdiff_t>(index));
    }
    const zRecord* Child(std::size_t index) const {
        if (index >= children.size()) return nullptr;
        return &*std::next(children.begin(), static_cast<std::ptrdiff_t>(index));
    }
    zRecord& AddChild() { return children.emplace_back(); }
    void ClearChildren() { children.clear(); }

private:
    std::string elementName;
    std::list<zRecord> children;  // an empty list allocates nothing, and records are made for every frame
};
