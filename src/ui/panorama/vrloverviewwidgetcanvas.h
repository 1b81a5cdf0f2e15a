#pragma once

#include <QRect>

#include "ui/slices/vrlsliceeditwidgetcanvas.h"

namespace vorlen {

/// Canvas of the overview: the slice, whose picture is kept as the editor's is, and on it the frame of the local view.
/// So the frame follows the editor without a look at the image.
class VRLOverviewWidgetCanvas : public VRLSliceEditWidgetCanvas {
    Q_OBJECT

public:
    explicit VRLOverviewWidgetCanvas(QWidget* parent = nullptr);

    /// In image pixels; empty for none, as at first.
    void setLocalView(const QRect& localView);
    const QRect& getLocalView() const { return __localView; }

    /// The frame as it is drawn, in units of the widget: never smaller than can be seen and taken hold of. Null without
    /// a local view or an image.
    QRect frame() const;

protected:
    void paintGL() override;

private:
    QRect __localView;
};

} // namespace vorlen
