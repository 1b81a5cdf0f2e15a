#pragma once

#include "ui/slices/canvasmode.h"
#include "ui/slices/vrlimagewidgetmediator.h"

class QAction;

namespace vorlen {

class Model;
class ModelItem;
class StackSlice;
class VRLSliceWidgetCanvas;
class VRLSliceWidgetStatusBar;

/// Mediator of a slice widget: the choice between images and items, and the reactions to changes of the document.
///
/// Decisions: a slice that leaves its stack, or whose stack is closed, is forgotten, as it may be deleted any time from
/// then on. A slice without an image shows its items and a notice. The text about the slice waits for the end of a
/// batch of events, and follows a deletion of a model, whose items are still there when the event comes. A new
/// calibration of the whole stack counts as one of the slice.
class VRLSliceWidgetMediator : public VRLImageWidgetMediator {
    Q_OBJECT

public:
    explicit VRLSliceWidgetMediator(VRLImageWidget& widget);

    /// Throw ProgramError for parts of another kind.
    void setCanvas(VRLImageWidgetCanvas& canvas) override;
    void setStatusBar(VRLImageWidgetStatusBar& statusBar) override;

    void initialize() override;
    void clear() override;

    /// Nothing for the slice already shown.
    virtual void setSlice(StackSlice& slice);

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) override;
    void stackModifyEvent(VRLStackModifyEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;
    void sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) override;
    void sliceImageSourceEvent(VRLSliceImageSourceEvent& event) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;
    void modelItemCreateEvent(VRLModelItemCreateEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemVertexEvent(VRLModelItemVertexEvent& event) override;
    void modelItemAttributeEvent(VRLModelItemAttributeEvent& event) override;
    void modelItemSelectEvent(VRLModelItemSelectEvent& event) override;
    void modelItemConvertEvent(VRLModelItemConvertEvent& event) override;
    void preferencesEvent(VRLPreferencesEvent& event) override;
    void atEventBatchEnd() override;

    VRLSliceWidgetCanvas& getCanvas() const;
    /// Null without one.
    VRLSliceWidgetStatusBar* getStatusBar() const;
    StackSlice* getSlice() const;

    void setCanvasMode(CanvasMode mode);

    void updateSliceInfo();

    /// What the status bar tells of a slice.
    static QString sliceText(const StackSlice& slice);

public slots:
    void setBackgroundMode();
    void setForegroundMode();
    void setAllgroundMode();

signals:
    void canvasModeChanged(CanvasMode mode);

protected:
    /// As the stack has it, which takes that of the first image that is looked at when it has none.
    GreyScale greyScaleOf(const Image& image) override;

private:
    void changed(const Model& model);
    void changed(const ModelItem* item);
    void contentsChanged();
    void calibrationChanged();
    void showImage(const StackSlice& slice);

    QAction* __modeActions[3]; // by mode; of the registry
    bool __infoPending = false;
};

} // namespace vorlen
