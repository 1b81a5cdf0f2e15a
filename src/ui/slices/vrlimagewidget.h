#pragma once

#include <QPointer>
#include <QRect>
#include <QToolBar>
#include <QWidget>

#include "ui/slices/vrlimagewidgetstatusbar.h"
#include "ui/widgets/blackwhitedoubleslider.h"

class QScrollBar;

namespace vorlen {

class VRLImageServer;
class VRLImageWidgetCanvas;
class VRLImageWidgetMediator;

/// Shows an image, with scroll bars where it is larger than the widget.
///
/// Builds and lays out its canvas, scroll bars and mediator. Whoever makes the widget sets the optional parts (status
/// bar, tool bar, contrast slider: seen, not owned), then calls initialize() once, and sets an image server before the
/// first image. A widget without a parent is a window that deletes itself when it is closed.
class VRLImageWidget : public QWidget {
    Q_OBJECT

public:
    explicit VRLImageWidget(QWidget* parent = nullptr);
    ~VRLImageWidget() override;

    /// Throws ProgramError when called twice.
    virtual void initialize();

    /// The parts of this kind of widget, made by new. Canvas and mediator are children of the widget; the status bar is
    /// for the caller.
    virtual VRLImageWidgetCanvas* newCanvas();
    virtual VRLImageWidgetMediator* newMediator();
    virtual VRLImageWidgetStatusBar* newStatusBar();

    /// To be called before initialize().
    void setStatusBar(VRLImageWidgetStatusBar& statusBar);
    void setToolBar(QToolBar& toolBar);
    void setBlackWhiteDoubleSlider(BlackWhiteDoubleSlider& slider);

    /// Throw ProgramError before initialize().
    VRLImageWidgetMediator& getMediator() const;
    VRLImageWidgetCanvas& getCanvas() const;

    void setActionsEnabled(bool enabled);

    /// Both bars, until the next change between best fit and zoom.
    void setScrollBarVisible(bool visible);

    void setImageServer(VRLImageServer& server);
    /// Throws ProgramError without one.
    VRLImageServer& getImageServer() const;
    void removeImageServer();

    /// Forgets image and view.
    void clear();

    /// Emits viewChanged().
    void notifyViewChange(const QRect& view);

signals:
    /// What is seen, in image pixels; empty when there is no image any more.
    void viewChanged(const QRect& view);

private:
    VRLImageWidgetCanvas* __canvas = nullptr;
    VRLImageWidgetMediator* __mediator = nullptr;
    QScrollBar* __horizontalScrollBar = nullptr;
    QScrollBar* __verticalScrollBar = nullptr;
    QPointer<VRLImageWidgetStatusBar> __statusBar;
    QPointer<QToolBar> __toolBar;
    QPointer<BlackWhiteDoubleSlider> __slider;
};

} // namespace vorlen
