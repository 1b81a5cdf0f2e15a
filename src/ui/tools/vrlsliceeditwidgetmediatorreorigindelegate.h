#pragma once

#include "ui/tools/vrlsliceeditwidgetmediatordialogdelegate.h"

namespace vorlen {

/// Lets the selected contour begin at another of its vertices.
class VRLSliceEditWidgetMediatorReoriginDelegate : public VRLSliceEditWidgetMediatorDialogDelegate {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorDialogDelegate::VRLSliceEditWidgetMediatorDialogDelegate;

public slots:
    void originChange(int origin);

protected:
    QDialog* newDialog() override;
    Outcome apply(VRLStack& stack, ModelItem& item) override;

private:
    int __origin = 0;
};

} // namespace vorlen
