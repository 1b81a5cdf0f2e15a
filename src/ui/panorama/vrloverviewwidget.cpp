#include "ui/panorama/vrloverviewwidget.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QLayout>

#include "ui/panorama/vrloverviewwidgetcanvas.h"
#include "ui/panorama/vrloverviewwidgetmediator.h"

namespace vorlen {

VRLOverviewWidget::VRLOverviewWidget() : VRLSliceWidget(nullptr) {
    setAttribute(Qt::WA_DeleteOnClose, false);
    setWindowTitle("Overview");
    setWindowFlags(Qt::Tool | Qt::WindowStaysOnTopHint);
}

VRLImageWidgetCanvas* VRLOverviewWidget::newCanvas() {
    return new VRLOverviewWidgetCanvas(this);
}

VRLImageWidgetMediator* VRLOverviewWidget::newMediator() {
    return new VRLOverviewWidgetMediator(*this);
}

void VRLOverviewWidget::initialize() {
    VRLSliceWidget::initialize();
    setActionsEnabled(false);
    setScrollBarVisible(false);
    setFixedSize(sizeHint());
}

VRLOverviewWidgetMediator& VRLOverviewWidget::getMediator() const {
    return static_cast<VRLOverviewWidgetMediator&>(VRLSliceWidget::getMediator());
}

VRLOverviewWidgetCanvas& VRLOverviewWidget::getCanvas() const {
    return static_cast<VRLOverviewWidgetCanvas&>(VRLSliceWidget::getCanvas());
}

void VRLOverviewWidget::notifyLocalViewChange(const QRect& localView) {
    emit localViewOriginChanged(localView.topLeft());
}

void VRLOverviewWidget::clear() {
    VRLSliceWidget::clear();
    setLocalView(QRect());
}

void VRLOverviewWidget::setLocalView(const QRect& localView) {
    getCanvas().setLocalView(localView);
}

void VRLOverviewWidget::closeEvent(QCloseEvent* event) {
    hide();
    event->ignore();
    emit hidden();
}

// The key that has opened the window, while it has the keyboard itself.
void VRLOverviewWidget::keyPressEvent(QKeyEvent* event) {
    if (event->modifiers() == Qt::NoModifier && (event->key() == Qt::Key_V || event->key() == Qt::Key_Escape))
        close();
    else
        VRLSliceWidget::keyPressEvent(event);
}

} // namespace vorlen
