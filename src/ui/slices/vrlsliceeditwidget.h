#pragma once

#include "ui/slices/vrlslicewidget.h"

namespace vorlen {

class VRLSliceEditWidgetCanvas;
class VRLSliceEditWidgetMediator;

/// Shows a slice for drawing and editing on it.
class VRLSliceEditWidget : public VRLSliceWidget {
    Q_OBJECT

public:
    explicit VRLSliceEditWidget(QWidget* parent = nullptr);

    VRLImageWidgetCanvas* newCanvas() override;
    VRLImageWidgetMediator* newMediator() override;
    VRLImageWidgetStatusBar* newStatusBar() override;

    VRLSliceEditWidgetMediator& getMediator() const;
    VRLSliceEditWidgetCanvas& getCanvas() const;
};

} // namespace vorlen
