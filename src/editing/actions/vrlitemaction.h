#pragma once

#include "editing/history/vrlaction.h"

namespace vorlen {

class ModelItem;
class VRLEvent;

/// Base of the actions on one item, which is seen, not owned.
class VRLItemAction : public VRLAction {
public:
    explicit VRLItemAction(ModelItem& item) : __item(&item) {}

    ModelItem& getItem() const { return *__item; }

protected:
    /// Tells that the item's vertices have changed. Actions send without a sender.
    void notifyVertices() const;

private:
    ModelItem* __item;
};

} // namespace vorlen
