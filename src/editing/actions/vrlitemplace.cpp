#include "editing/actions/vrlitemplace.h"

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"

namespace vorlen {

namespace {

void keep(const ModelItemOwner* owner, const ModelItem& item, ModelItemOwner::Place& place) {
    if (owner != nullptr && owner->placeOf(item) != 0)
        place = owner->placeOf(item);
}

void putBack(ModelItemOwner* owner, ModelItem& item, ModelItemOwner::Place place) {
    if (owner != nullptr && place != 0 && owner->placeOf(item) != 0 && owner->placeOf(item) != place)
        owner->restoreItem(item, place);
}

} // namespace

void VRLItemPlace::take(const ModelItem& item) {
    keep(item.getModel(), item, __inModel);
    keep(item.getSlice(), item, __onSlice);
}

void VRLItemPlace::restore(ModelItem& item) const {
    putBack(item.getModel(), item, __inModel);
    putBack(item.getSlice(), item, __onSlice);
}

} // namespace vorlen
