#include "ui/tools/vrlsliceeditwidgetmediatordialogdelegate.h"

#include <algorithm>
#include <utility>

#include <QDialog>

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/operations/outcome.h"
#include "ui/tools/vrlcurveresamplingdialog.h"

namespace vorlen {

// The dialog runs a loop of its own, in which the interaction may be ended and this object deleted.
void VRLSliceEditWidgetMediatorDialogDelegate::activate() {
    ModelItem* const item = stack() != nullptr ? slice()->getSelectedItem() : nullptr;
    if (isActive() || item == nullptr)
        return;
    VRLSliceEditWidgetMediatorDelegate::activate();
    __item = item;
    __place = VRLItemPlace();
    __failure = nullptr;
    __preview = std::make_unique<ModelItem>(*item);
    __preview->getSelection().set(false);
    host().setPreview(__preview.get());
    try {
        __dialog = newDialog();
    } catch (...) {
        __failure = std::current_exception();
    }
    if (hidesItem()) {
        __place.take(*item);
        item->detachFromSlice();
    }
    bool accepted = false;
    const QPointer<QObject> self(this);
    const QPointer<QDialog> dialog = __dialog;
    const QString title = dialog ? dialog->windowTitle() : QString();
    if (!__failure) {
        dialog->adjustSize();
        dialog->move(dialogPosition(dialog->size()));
        accepted = dialog->exec() == QDialog::Accepted;
    }
    delete dialog;
    if (!self || !isActive())
        return;
    const std::exception_ptr failure = std::exchange(__failure, nullptr);
    deactivate();
    if (failure)
        std::rethrow_exception(failure);
    if (accepted && stack() != nullptr)
        warnUnlessDone(title, apply(*stack(), *item));
}

void VRLSliceEditWidgetMediatorDialogDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    giveBack();
    host().selectionChanged(); // as it is with the item back
    host().setRestingHint();
}

void VRLSliceEditWidgetMediatorDialogDelegate::cancel() {
    if (!isActive())
        return;
    if (__dialog)
        __dialog->reject();
    deactivate();
}

bool VRLSliceEditWidgetMediatorDialogDelegate::isAbout(const Model& model) const {
    return __item != nullptr && __item->getModel() == &model;
}

void VRLSliceEditWidgetMediatorDialogDelegate::preview(const std::function<Vertices<double>()>& compute,
                                                       bool selected) {
    if (!isActive())
        return;
    try {
        __preview->setVertices(compute());
        __preview->getSelection().set(selected);
        host().setHint(QString("Preview of %1 vertices, in place of %2. OK: change the contour. Cancel: leave it "
                               "as it was.")
                           .arg(__preview->getSize())
                           .arg(__item->getSize()));
    } catch (...) {
        __failure = std::current_exception();
        if (__dialog)
            __dialog->reject();
    }
    canvas().update();
}

VRLCurveResamplingDialog* VRLSliceEditWidgetMediatorDialogDelegate::newNumberDialog(const QString& title,
                                                                                    const QString& label, int minimum,
                                                                                    int maximum, int start) const {
    auto* const dialog = new VRLCurveResamplingDialog(&canvas(), title, label);
    dialog->setMaximum(maximum);
    dialog->setMinimum(minimum);
    dialog->setValue(start);
    return dialog;
}

/// An item that has left its model meanwhile is the document's no more.
void VRLSliceEditWidgetMediatorDialogDelegate::giveBack() {
    ModelItem& item = *std::exchange(__item, nullptr);
    if (hidesItem() && item.getModel() != nullptr && item.getModel()->placeOf(item) != 0) {
        item.attachToSlice();
        __place.restore(item);
    }
    host().setPreview(nullptr);
    __preview.reset();
}

/// In the middle of the upper or of the lower end of the canvas, with room for a title bar.
QPoint VRLSliceEditWidgetMediatorDialogDelegate::dialogPosition(const QSize& size) const {
    const BoundingBox<double>& box = __item->extent();
    const bool isHigh =
        box.isValid() &&
        host().canvasPosition(box.getVertex1()).y() + host().canvasPosition(box.getVertex2()).y() < canvas().height();
    const QPoint position((canvas().width() - size.width()) / 2, isHigh ? canvas().height() - size.height() - 32 : 0);
    const QPoint global = canvas().mapToGlobal(position);
    return QPoint(std::max(global.x(), 0), std::max(global.y(), 0));
}

} // namespace vorlen
