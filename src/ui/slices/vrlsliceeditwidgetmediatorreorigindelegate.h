#pragma once

#include "ui/slices/vrlsliceeditwidgetmediatordialogdelegate.h"

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
    QString refusal() const override;
};

} // namespace vorlen
