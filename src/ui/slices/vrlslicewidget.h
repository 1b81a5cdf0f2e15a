#pragma once

#include "ui/slices/vrlimagewidget.h"

namespace vorlen {

class StackSlice;
class VRLSliceWidgetCanvas;
class VRLSliceWidgetMediator;

/// Shows a slice: its image and what is drawn on it.
class VRLSliceWidget : public VRLImageWidget {
    Q_OBJECT

public:
    explicit VRLSliceWidget(QWidget* parent = nullptr);

    VRLImageWidgetCanvas* newCanvas() override;
    VRLImageWidgetMediator* newMediator() override;
    VRLImageWidgetStatusBar* newStatusBar() override;

    VRLSliceWidgetMediator& getMediator() const;
    VRLSliceWidgetCanvas& getCanvas() const;

    /// The slice is seen, not owned. Throws ProgramError without an image server.
    void setSlice(StackSlice& slice);
    /// Null without one.
    StackSlice* getSlice() const;

public slots:
    void setBackgroundMode();
    void setForegroundMode();
    void setAllgroundMode();
};

} // namespace vorlen
