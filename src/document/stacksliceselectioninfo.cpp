#include "document/stacksliceselectioninfo.h"

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"

namespace vorlen {

void StackSliceSelectionInfo::setSlice(const StackSlice* slice) {
    __slice = slice;
    update();
}

void StackSliceSelectionInfo::update() {
    __numSelected = 0;
    __numPartiallySelected = 0;
    __geometry = UnknownPrimitive;
    if (__slice == nullptr)
        return;
    for (int i = 0; i < __slice->getNumItems(); ++i) {
        const ModelItem& item = __slice->getItem(i);
        if (item.getSelection().isEmpty())
            continue;
        const Model* model = item.getModel();
        const MPrimitive geometry = model != nullptr && model->getProperties().definesGeometry()
                                        ? model->getProperties().getGeometry()
                                        : UnknownPrimitive;
        if (__numSelected == 0)
            __geometry = geometry;
        else if (geometry != __geometry)
            __geometry = UnknownPrimitive;
        ++__numSelected;
        if (!item.getSelection().isComplete())
            ++__numPartiallySelected;
    }
}

} // namespace vorlen
