#pragma once

#include "ui/tools/vrlsliceeditwidgetmediatordialogdelegate.h"

namespace vorlen {

/// Gives the selected contour another number of vertices, at even distances along it.
///
/// Decision: the most that can be chosen is one vertex for each pixel of length, and at most a million.
class VRLSliceEditWidgetMediatorResamplingDelegate : public VRLSliceEditWidgetMediatorDialogDelegate {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorDialogDelegate::VRLSliceEditWidgetMediatorDialogDelegate;

public slots:
    /// The preview has fewer vertices where neighbours come to lie on one pixel.
    void numVerticesChange(int numVertices);

protected:
    QDialog* newDialog() override;
    Outcome apply(VRLStack& stack, ModelItem& item) override;

private:
    int __numVertices = 0;
};

} // namespace vorlen
