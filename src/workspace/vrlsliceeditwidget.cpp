#include "workspace/vrlsliceeditwidget.h"

#include "workspace/vrlsliceeditwidgetcanvas.h"
#include "workspace/vrlsliceeditwidgetmediator.h"
#include "workspace/vrlsliceeditwidgetstatusbar.h"

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
