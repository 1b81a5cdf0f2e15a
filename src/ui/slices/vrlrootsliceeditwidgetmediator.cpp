#include "ui/slices/vrlrootsliceeditwidgetmediator.h"

namespace vorlen {

VRLImageServer VRLRootSliceEditWidgetMediator::__imageServer;

VRLRootSliceEditWidgetMediator::VRLRootSliceEditWidgetMediator(VRLImageWidget& widget)
    : VRLSliceEditWidgetMediator(widget) {
}

void VRLRootSliceEditWidgetMediator::initialize() {
    VRLSliceEditWidgetMediator::initialize();
    setImageServer(__imageServer);
}

} // namespace vorlen
