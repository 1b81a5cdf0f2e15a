#include "ui/slices/vrlrootsliceeditwidget.h"

#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"

namespace vorlen {

VRLRootSliceEditWidget::VRLRootSliceEditWidget(QWidget* parent) : VRLSliceEditWidget(parent) {
}

VRLImageWidgetMediator* VRLRootSliceEditWidget::newMediator() {
    return new VRLRootSliceEditWidgetMediator(*this);
}

VRLRootSliceEditWidgetMediator& VRLRootSliceEditWidget::getMediator() const {
    return static_cast<VRLRootSliceEditWidgetMediator&>(VRLSliceEditWidget::getMediator());
}

void VRLRootSliceEditWidget::setViewOrigin(const QPoint& origin) {
    getMediator().setViewOrigin(origin);
    notifyViewChange(getCanvas().currentView());
}

} // namespace vorlen
