#include "host/ui/ePhoenix.h"

#include <memory>

#include "host/ui/eView.h"

namespace {

std::unique_ptr<eView> MakeViews(const zRecord& layout) {
    if (layout.ElementName().empty()) return nullptr;
    auto view = std::make_unique<eView>(layout);
    for (std::size_t index = 0; index < layout.ChildCount(); ++index)
        view->AddChildView(MakeViews(*layout.Child(index)).release(), eView::kAppend);
    return view;
}

}  // namespace

zStatus ePhoenix::NewGUIFromXMLRecord(ePurse*, const zRecord& layout, eView** outView) {
    if (outView == nullptr) return kStatusFailed;
    *outView = MakeViews(layout).release();
    return *outView != nullptr ? kStatusOk : kStatusFailed;
}
