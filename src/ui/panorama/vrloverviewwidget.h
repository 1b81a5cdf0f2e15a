#pragma once

#include <QPoint>
#include <QRect>

#include "ui/slices/vrlslicewidget.h"

namespace vorlen {

class VRLOverviewWidgetCanvas;
class VRLOverviewWidgetMediator;

/// The whole slice in a small window that stays on top, with a frame around what the editor shows of it.
///
/// The frame can be dragged: localViewOriginChanged() tells where to, and who moves the editor's view tells by
/// setLocalView() where it came to lie. A wheel over the window asks the editor to zoom. The window is never destroyed
/// by closing it: it hides, and tells. Whoever made it deletes it.
class VRLOverviewWidget : public VRLSliceWidget {
    Q_OBJECT

public:
    VRLOverviewWidget();

    VRLImageWidgetCanvas* newCanvas() override;
    VRLImageWidgetMediator* newMediator() override;

    void initialize() override;

    VRLOverviewWidgetMediator& getMediator() const;
    VRLOverviewWidgetCanvas& getCanvas() const;

    /// For the mediator: the user moves the frame to this rectangle.
    void notifyLocalViewChange(const QRect& localView);

    /// Forgets slice and frame.
    void clear();

public slots:
    /// In image pixels; an empty rectangle for no frame.
    void setLocalView(const QRect& localView);

signals:
    /// The window was closed.
    void hidden();
    /// The user has moved the frame: its top left corner, in image pixels, which may lie outside of the image.
    void localViewOriginChanged(const QPoint& origin);
    /// The user has turned the wheel, forwards for in.
    void zoomRequested(bool in);

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace vorlen
