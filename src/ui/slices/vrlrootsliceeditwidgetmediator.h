#pragma once

#include "ui/imageserver/vrlimageserver.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"

namespace vorlen {

/// Mediator of a root window's slice editor, which takes its images from the server of all root windows.
class VRLRootSliceEditWidgetMediator : public VRLSliceEditWidgetMediator {
    Q_OBJECT

public:
    explicit VRLRootSliceEditWidgetMediator(VRLImageWidget& widget);

    void initialize() override;

private:
    static VRLImageServer __imageServer;
};

} // namespace vorlen
