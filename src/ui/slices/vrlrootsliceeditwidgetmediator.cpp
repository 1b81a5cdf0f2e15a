#include "ui/slices/vrlrootsliceeditwidgetmediator.h"

VRLImageServer VRLRootSliceEditWidgetMediator::__imageServer;

VRLRootSliceEditWidgetMediator::VRLRootSliceEditWidgetMediator(VRLImageWidget& widget)
    : VRLSliceEditWidgetMediator(widget) {
}

void VRLRootSliceEditWidgetMediator::initialize() {
    VRLSliceEditWidgetMediator::initialize();
    setImageServer(__imageServer);
}
