#pragma once

#include "ui/tools/vrlsliceeditwidgetmediatordialogdelegate.h"

namespace vorlen {

/// Drops vertices of the selected outline that lie within a tolerance of its course.
class VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate : public VRLSliceEditWidgetMediatorDialogDelegate {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorDialogDelegate::VRLSliceEditWidgetMediatorDialogDelegate;

public slots:
    /// In pixels.
    void toleranceChange(int tolerance);

protected:
    QDialog* newDialog() override;
    Outcome apply(VRLStack& stack, ModelItem& item) override;

private:
    int __tolerance = 0;
};

} // namespace vorlen
