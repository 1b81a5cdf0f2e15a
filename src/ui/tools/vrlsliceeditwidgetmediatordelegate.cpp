#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

#include <algorithm>

#include <QGuiApplication>
#include <QMessageBox>

#include "document/stackslice.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/outcome.h"
#include "editing/stacks/vrlstack.h"
#include "ui/session/vrlpreferences.h"

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

VRLSliceEditWidgetMediatorDelegate::VRLSliceEditWidgetMediatorDelegate(ToolHost& host) : __host(host) {
}

void VRLSliceEditWidgetMediatorDelegate::activate() {
    InputHandler::activate();
    __host.toolStarts(*this);
}

void VRLSliceEditWidgetMediatorDelegate::deactivate() {
    InputHandler::deactivate();
    __host.toolEnds(*this);
}

void VRLSliceEditWidgetMediatorDelegate::cancel() {
    if (isActive())
        deactivate();
}

void VRLSliceEditWidgetMediatorDelegate::abandon() {
    cancel();
}

bool VRLSliceEditWidgetMediatorDelegate::isAbout(const ModelItem&) const {
    return false;
}

bool VRLSliceEditWidgetMediatorDelegate::isAbout(const Model&) const {
    return false;
}

void VRLSliceEditWidgetMediatorDelegate::itemGone(const ModelItem& item) {
    if (isAbout(item))
        abandon();
}

void VRLSliceEditWidgetMediatorDelegate::modelGone(const Model& model) {
    if (isAbout(model))
        abandon();
}

void VRLSliceEditWidgetMediatorDelegate::itemChanged(const ModelItem&) {
}

QString VRLSliceEditWidgetMediatorDelegate::takeShown() {
    return QString();
}

QString VRLSliceEditWidgetMediatorDelegate::restingHint(const StackSliceSelectionInfo&) const {
    return QString();
}

QWidget* VRLSliceEditWidgetMediatorDelegate::newOptions(QWidget*) {
    return nullptr;
}

QWidget& VRLSliceEditWidgetMediatorDelegate::canvas() const {
    return __host.canvas();
}

bool VRLSliceEditWidgetMediatorDelegate::isCanvasEnabled() const {
    return canvas().isEnabled();
}

StackSlice* VRLSliceEditWidgetMediatorDelegate::slice() const {
    return __host.slice();
}

VRLStack* VRLSliceEditWidgetMediatorDelegate::stack() const {
    if (slice() == nullptr)
        return nullptr;
    auto* const stack = dynamic_cast<VRLStack*>(slice()->getStack());
    return stack != nullptr && stack->history() != nullptr ? stack : nullptr;
}

Vector<int> VRLSliceEditWidgetMediatorDelegate::imagePoint(const QPoint& position) const {
    return __host.imagePoint(position);
}

Vector<double> VRLSliceEditWidgetMediatorDelegate::vertexAt(const QPointF& position) const {
    return __host.vertexAt(position);
}

bool VRLSliceEditWidgetMediatorDelegate::isOnImage(const Vector<int>& point) const {
    return __host.isOnImage(point);
}

float VRLSliceEditWidgetMediatorDelegate::clickTolerance() const {
    return std::max(1.f, float(VRLPreferences::getClickTolerance()) / __host.zoom());
}

bool VRLSliceEditWidgetMediatorDelegate::acts() const {
    return isActive() && canvas().isEnabled() && slice() != nullptr;
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

void VRLSliceEditWidgetMediatorDelegate::warnUnlessDone(const QString& title, const Outcome& outcome) const {
    if (!outcome)
        warn(title, QString::fromStdString(outcome.getReason()));
}

} // namespace vorlen
