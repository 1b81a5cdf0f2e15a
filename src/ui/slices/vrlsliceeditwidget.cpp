#include "ui/slices/vrlsliceeditwidget.h"

#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"

namespace vorlen {

VRLSliceEditWidget::VRLSliceEditWidget(QWidget* parent) : VRLSliceWidget(parent) {
}

VRLImageWidgetCanvas* VRLSliceEditWidget::newCanvas() {
    return new VRLSliceEditWidgetCanvas(this);
}

VRLImageWidgetMediator* VRLSliceEditWidget::newMediator() {
    return new VRLSliceEditWidgetMediator(*this);
}

VRLImageWidgetStatusBar* VRLSliceEditWidget::newStatusBar() {
    return new VRLSliceEditWidgetStatusBar;
}

VRLSliceEditWidgetMediator& VRLSliceEditWidget::getMediator() const {
    return static_cast<VRLSliceEditWidgetMediator&>(VRLSliceWidget::getMediator());
}

VRLSliceEditWidgetCanvas& VRLSliceEditWidget::getCanvas() const {
    return getMediator().getCanvas();
}

} // namespace vorlen
