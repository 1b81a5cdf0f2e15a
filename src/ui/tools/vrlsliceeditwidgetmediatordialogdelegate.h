#pragma once

#include <exception>
#include <functional>
#include <memory>

#include <QPointer>

#include "document/modelitem.h"
#include "editing/actions/vrlitemplace.h"
#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

class QDialog;

namespace vorlen {

class VRLCurveResamplingDialog;

/// Base of the tools that change the selected contour through a dialog with a live preview.
///
/// While the dialog is there the preview is painted in place of the contour. "OK" runs the operation whose outcome the
/// preview has shown.
///
/// Decisions: nothing starts without a selected item or a history. However the dialog ends, by an error or the end of
/// the editor too, the contour is back in its old place on the slice first. The dialog opens at the end of the canvas
/// that is farther from the contour.
class VRLSliceEditWidgetMediatorDialogDelegate : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorDelegate::VRLSliceEditWidgetMediatorDelegate;

    /// Returns when the dialog has been closed. Throws what the making of a preview has thrown.
    void activate() override;
    void deactivate() override;
    void cancel() override;
    bool isAbout(const ModelItem& item) const override { return __item == &item; }
    bool isAbout(const Model& model) const override;

    /// The contour that is being changed; null while the delegate is not active.
    const ModelItem* getItem() const { return __item; }

protected:
    /// The dialog, filled for the item, with the first preview made. Its parent owns it.
    virtual QDialog* newDialog() = 0;

    /// Whether the preview takes the place of the item, or lies over it.
    virtual bool hidesItem() const { return true; }

    /// Changes the item as the last preview has shown it.
    virtual Outcome apply(VRLStack& stack, ModelItem& item) = 0;

    /// Makes a preview of what is computed, on behalf of a control of the dialog. What that throws ends the dialog.
    void preview(const std::function<Vertices<double>()>& compute, bool selected = true);

    /// A dialog of one number. The preview of the start value is still to be made.
    VRLCurveResamplingDialog* newNumberDialog(const QString& title, const QString& label, int minimum, int maximum,
                                              int start) const;

private:
    void giveBack();
    QPoint dialogPosition(const QSize& size) const;

    ModelItem* __item = nullptr;
    VRLItemPlace __place;
    std::unique_ptr<ModelItem> __preview;
    QPointer<QDialog> __dialog;
    std::exception_ptr __failure;
};

} // namespace vorlen
