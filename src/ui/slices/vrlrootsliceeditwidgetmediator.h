#pragma once

#include "ui/imageserver/vrlimageserver.h"
#include "ui/slices/neighbourimages.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"

namespace vorlen {

/// Mediator of a root window's slice editor, which takes its images from the server of all root windows, and has those
/// of the neighbours of a slice read ahead.
class VRLRootSliceEditWidgetMediator : public VRLSliceEditWidgetMediator {
    Q_OBJECT

public:
    explicit VRLRootSliceEditWidgetMediator(VRLImageWidget& widget);

    void initialize() override;
    void clear() override;
    void setSlice(StackSlice& slice) override;

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;
    void sliceImageSourceEvent(VRLSliceImageSourceEvent& event) override;

private:
    void readAround();

    static VRLImageServer __imageServer;
    NeighbourImages __neighbours;
};

} // namespace vorlen
