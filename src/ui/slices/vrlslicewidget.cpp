#include "ui/slices/vrlslicewidget.h"

#include "ui/slices/vrlslicewidgetcanvas.h"
#include "ui/slices/vrlslicewidgetmediator.h"
#include "ui/slices/vrlslicewidgetstatusbar.h"

namespace vorlen {

VRLSliceWidget::VRLSliceWidget(QWidget* parent) : VRLImageWidget(parent) {
}

VRLImageWidgetCanvas* VRLSliceWidget::newCanvas() {
    return new VRLSliceWidgetCanvas(this);
}

VRLImageWidgetMediator* VRLSliceWidget::newMediator() {
    return new VRLSliceWidgetMediator(*this);
}

VRLImageWidgetStatusBar* VRLSliceWidget::newStatusBar() {
    return new VRLSliceWidgetStatusBar;
}

VRLSliceWidgetMediator& VRLSliceWidget::getMediator() const {
    return static_cast<VRLSliceWidgetMediator&>(VRLImageWidget::getMediator());
}

VRLSliceWidgetCanvas& VRLSliceWidget::getCanvas() const {
    return getMediator().getCanvas();
}

void VRLSliceWidget::setSlice(StackSlice& slice) {
    getMediator().setSlice(slice);
}

StackSlice* VRLSliceWidget::getSlice() const {
    return getMediator().getSlice();
}

void VRLSliceWidget::setBackgroundMode() {
    getMediator().setBackgroundMode();
}

void VRLSliceWidget::setForegroundMode() {
    getMediator().setForegroundMode();
}

void VRLSliceWidget::setAllgroundMode() {
    getMediator().setAllgroundMode();
}

} // namespace vorlen
