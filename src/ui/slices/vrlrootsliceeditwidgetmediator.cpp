#include "ui/slices/vrlrootsliceeditwidgetmediator.h"

#include "ui/imageserver/vrlimageproxy.h"

namespace vorlen {

VRLImageServer VRLRootSliceEditWidgetMediator::__imageServer;

VRLRootSliceEditWidgetMediator::VRLRootSliceEditWidgetMediator(VRLImageWidget& widget)
    : VRLSliceEditWidgetMediator(widget) {
}

void VRLRootSliceEditWidgetMediator::initialize() {
    VRLSliceEditWidgetMediator::initialize();
    setImageServer(__imageServer);
    connect(&getImageProxy(), &VRLImageProxy::imageChanged, this, &VRLRootSliceEditWidgetMediator::readAround,
            Qt::QueuedConnection);
}

void VRLRootSliceEditWidgetMediator::clear() {
    __neighbours.clear();
    VRLSliceEditWidgetMediator::clear();
}

void VRLRootSliceEditWidgetMediator::setSlice(StackSlice& slice) {
    if (getSlice() != nullptr && getSlice() != &slice)
        __neighbours.keep(*getSlice(), slice, __imageServer);
    VRLSliceEditWidgetMediator::setSlice(slice);
}

/// After the image that is shown has come: it is not to wait for others.
void VRLRootSliceEditWidgetMediator::readAround() {
    if (getSlice() != nullptr && getImageProxy().hasImage())
        __neighbours.readAround(*getSlice(), __imageServer);
}

void VRLRootSliceEditWidgetMediator::stackCloseEvent(VRLStackCloseEvent& event) {
    __neighbours.clear();
    VRLSliceEditWidgetMediator::stackCloseEvent(event);
}

void VRLRootSliceEditWidgetMediator::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    __neighbours.clear();
    VRLSliceEditWidgetMediator::processSliceInsertionDeletionAction(action);
}

void VRLRootSliceEditWidgetMediator::sliceImageSourceEvent(VRLSliceImageSourceEvent& event) {
    __neighbours.clear();
    VRLSliceEditWidgetMediator::sliceImageSourceEvent(event);
}

} // namespace vorlen
