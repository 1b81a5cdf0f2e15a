#include "ui/slices/vrlsliceeditwidgetmediatordelegate.h"

#include <QGuiApplication>
#include <QMessageBox>

#include "document/stackslice.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlaction.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/session/vrlpreferences.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"

namespace vorlen {

namespace {

void runBox(QMessageBox::Icon icon, const QString& title, const QString& text, QWidget& parent) {
    QGuiApplication::setOverrideCursor(Qt::ArrowCursor);
    QMessageBox box(icon, title, text, QMessageBox::Ok, &parent);
    box.setTextFormat(Qt::PlainText);
    box.exec();
    QGuiApplication::restoreOverrideCursor();
}

} // namespace

VRLSliceEditWidgetMediatorDelegate::VRLSliceEditWidgetMediatorDelegate(VRLSliceEditWidgetMediator& mediator)
    : VRLImageWidgetMediatorDelegate(mediator) {
}

VRLSliceEditWidgetMediator& VRLSliceEditWidgetMediatorDelegate::getMediator() const {
    return static_cast<VRLSliceEditWidgetMediator&>(VRLImageWidgetMediatorDelegate::getMediator());
}

void VRLSliceEditWidgetMediatorDelegate::cancel() {
    if (isActive())
        deactivate();
}

bool VRLSliceEditWidgetMediatorDelegate::isAbout(const ModelItem&) const {
    return false;
}

bool VRLSliceEditWidgetMediatorDelegate::isAbout(const Model&) const {
    return false;
}

VRLSliceEditWidgetCanvas& VRLSliceEditWidgetMediatorDelegate::canvas() const {
    return static_cast<VRLSliceEditWidgetCanvas&>(VRLImageWidgetMediatorDelegate::canvas());
}

StackSlice* VRLSliceEditWidgetMediatorDelegate::slice() const {
    return canvas().getSlice();
}

VRLActionHistory* VRLSliceEditWidgetMediatorDelegate::history() const {
    if (slice() == nullptr)
        return nullptr;
    const auto* const stack = dynamic_cast<VRLStack*>(slice()->getStack());
    return stack != nullptr ? stack->history() : nullptr;
}

void VRLSliceEditWidgetMediatorDelegate::applyStep(std::unique_ptr<VRLAction> action) const {
    EditStep step(*history());
    step.apply(std::move(action));
    step.commit();
}

void VRLSliceEditWidgetMediatorDelegate::recordStep(std::unique_ptr<VRLAction> action) const {
    EditStep step(*history());
    step.record(std::move(action));
    step.commit();
}

Vector<int> VRLSliceEditWidgetMediatorDelegate::imagePoint(const QPoint& position) const {
    return canvas().convertToVectori(position);
}

bool VRLSliceEditWidgetMediatorDelegate::isOnImage(const Vector<int>& point) const {
    const VRLImageProxy& proxy = canvas().getImageProxy();
    return !proxy.isEmpty() && QRect(QPoint(0, 0), proxy.getOriginalImageSize()).contains(point[0], point[1]);
}

QPointF VRLSliceEditWidgetMediatorDelegate::canvasPosition(const Vector<int>& pixel) const {
    const double zoom = double(canvas().getZoomFactor());
    return {(pixel[0] - canvas().getViewOrigin().x() + 0.5) * zoom * double(canvas().betaWidth()),
            (pixel[1] - canvas().getViewOrigin().y() + 0.5) * zoom * double(canvas().betaHeight())};
}

float VRLSliceEditWidgetMediatorDelegate::clickTolerance() const {
    return float(VRLPreferences::getClickTolerance() + int(1 / canvas().getZoomFactor()));
}

bool VRLSliceEditWidgetMediatorDelegate::acts() const {
    return isActive() && canvas().isEnabled() && slice() != nullptr;
}

void VRLSliceEditWidgetMediatorDelegate::setEditMode(const QString& word) const {
    if (VRLSliceEditWidgetStatusBar* const statusBar = getMediator().getStatusBar())
        statusBar->setEditModeInfo(word);
}

void VRLSliceEditWidgetMediatorDelegate::warn(const QString& title, const QString& text) const {
    runBox(QMessageBox::Warning, title, text, canvas());
}

void VRLSliceEditWidgetMediatorDelegate::inform(const QString& title, const QString& text) const {
    runBox(QMessageBox::Information, title, text, canvas());
}

void VRLSliceEditWidgetMediatorDelegate::alarm(const QString& title, const QString& text) const {
    runBox(QMessageBox::Critical, title, text, canvas());
}

} // namespace vorlen
