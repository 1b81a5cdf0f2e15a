#pragma once

#include <functional>
#include <vector>

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QRect>
#include <QScrollBar>
#include <QToolBar>

#include "editing/bus/vrleventclient.h"
#include "progress/progressproxy.h"
#include "ui/commands/commandregistry.h"
#include "ui/imageserver/vrlimageserver.h"
#include "ui/slices/vrlimagewidgetcanvas.h"
#include "ui/slices/vrlimagewidgetstatusbar.h"
#include "ui/widgets/blackwhitedoubleslider.h"

class QResizeEvent;
class QWheelEvent;

namespace vorlen {

class ImageSource;
class PixelCalibration;
class VRLImageProxy;
class VRLImageWidget;
class VRLImageWidgetMediatorDelegate;
class VRLImageWidgetMediatorPanDelegate;
class VRLImageWidgetMediatorPixelInfoDelegate;

/// Keeps the parts of an image widget in step: actions, scroll bars, status texts, and the delegates of its canvas.
/// Relays the progress of the image's reading to its own monitors.
///
/// Sees its parts, which all outlive it: the widget deletes its mediator first. Owns actions and delegates.
///
/// Decisions: arrow keys and C act while the canvas has the keyboard, so that lists beside it keep theirs; the keys of
/// zooming and scrolling by pages act in the whole window. The wheel scrolls, sideways with Shift, and with Ctrl zooms
/// about the pointer; it is left to others when the actions are off. A failed reading is told in the canvas, in the
/// status bar and, as progress text, to the monitors. clear() leaves all delegates inactive; the next image makes the
/// pixel information active again.
class VRLImageWidgetMediator : public QObject, public ProgressProxy, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLImageWidgetMediator(VRLImageWidget& widget);
    ~VRLImageWidgetMediator() override;

    virtual void setCanvas(VRLImageWidgetCanvas& canvas);
    virtual void setStatusBar(VRLImageWidgetStatusBar& statusBar);
    virtual void setToolBar(QToolBar& toolBar);

    /// With all parts set: fills canvas and tool bar with the actions, makes the delegates, and connects everything.
    virtual void initialize();

    /// Forgets image and view.
    virtual void clear();

    /// The commands of the view, and those that parts of the editor have added.
    CommandRegistry& commands() { return __commands; }

    void preferencesEvent(VRLPreferencesEvent& event) override;

    void setScrollBars(QScrollBar& horizontal, QScrollBar& vertical);
    void setBlackWhiteDoubleSlider(BlackWhiteDoubleSlider& slider);

    VRLImageWidget& getWidget() const { return *__widget; }
    bool hasCanvas() const { return !__canvas.isNull(); }
    /// Throws ProgramError without a canvas.
    VRLImageWidgetCanvas& getCanvas() const;
    /// Null without one.
    VRLImageWidgetStatusBar* getStatusBar() const { return __statusBar; }
    QToolBar* getToolBar() const { return __toolBar; }
    VRLImageProxy& getImageProxy() const;

    void setImageServer(VRLImageServer& server);
    /// Throws ProgramError "This mediator has no image server".
    VRLImageServer& getImageServer() const;
    /// The image goes with it.
    void removeImageServer();

    /// Shows the image of the source as soon as it is there. Throws as getImageServer().
    void setImageSource(const ImageSource& source);

    /// Lays the view out anew.
    void setPixelCalibration(const PixelCalibration& calibration);

    /// Off means that the actions, and the wheel, stay disabled whatever happens to the image.
    void setActionsEnabled(bool enabled);

    void updateActions();
    void updateScrollBars();
    void updateImageTypeInfo();
    void updateImageSizeInfo();
    void updateZoomInfo();

    void setScrollBarsVisible(bool visible);

    /// Moves the view, in image pixels, and lets scroll bars and listeners follow.
    void panTo(const QPoint& origin);

    /// Brings this point of the image under the position on the canvas, to the nearest whole pixel, as far as the
    /// image's border lets it.
    void moveUnder(const QPointF& position, const QPointF& point);

    /// The next zoom in or out, unless it is beyond the ends, with the point at this position of the canvas staying
    /// where it is as far as the image's border lets it.
    void zoomAt(const QPoint& position, bool in);

    void resizeEvent(QResizeEvent* event);

    /// Shows what comes to the canvas to the delegates, and then to canvasEvent().
    bool eventFilter(QObject* object, QEvent* event) override;

    /// Shows the events of the canvas to this delegate before those that are there; it is seen, not owned.
    void addDelegate(VRLImageWidgetMediatorDelegate& delegate);

    /// What the status bar tells of the image.
    static QString imageTypeText(int depth, bool indexed, bool real = false);
    static QString imageSizeText(int width, int height, std::size_t bytes);

public slots:
    void increaseZoomFactor();
    void decreaseZoomFactor();
    void bestFitZoomFactor();
    void stepScrollUp();
    void stepScrollDown();
    void stepScrollRight();
    void stepScrollLeft();
    void pageScrollUp();
    void pageScrollDown();
    void pageScrollRight();
    void pageScrollLeft();
    /// The image point under the pointer becomes the centre of the view.
    void centerView();

    void setViewOrigin(const QPoint& origin);
    void scrollBarChange();
    void imageProxyChange();
    void imageProxyFailure(const QString& message);

protected:
    /// How this image, of 16 bits or of real numbers, is shown: by itself.
    virtual GreyScale greyScaleOf(const Image& image);

    /// Handles an event of the canvas that no delegate has kept. True when the canvas is not to see it.
    virtual bool canvasEvent(QEvent* event);

    /// Tells the widget, and through it others, what is seen.
    void notifyViewChange();
    /// Shown in the canvas until the next image, and in the status bar.
    void setNotice(const QString& notice);

private:
    bool isUsable() const;
    void changeZoom(const std::function<void(VRLImageWidgetCanvas&)>& change);
    void leaveImage();
    void updatePixelInfo();
    void scrollHorizontally(int pixels);
    void scrollVertically(int pixels);
    void wheelEvent(QWheelEvent* event);

    VRLImageWidget* __widget;
    QPointer<VRLImageWidgetCanvas> __canvas;
    QPointer<VRLImageWidgetStatusBar> __statusBar;
    QPointer<QScrollBar> __horizontalScrollBar;
    QPointer<QScrollBar> __verticalScrollBar;
    QPointer<QToolBar> __toolBar;
    QPointer<BlackWhiteDoubleSlider> __slider;
    CommandRegistry __commands{*this};
    std::vector<QPointer<VRLImageWidgetMediatorDelegate>> __delegates; // in the order of their making
    VRLImageWidgetMediatorPanDelegate* __panDelegate = nullptr;
    VRLImageWidgetMediatorPixelInfoDelegate* __pixelInfoDelegate = nullptr;
    QPointer<VRLImageServer> __imageServer;
    bool __actionsEnabled = true;
    /// Where the wheel zoomed last, and the view that it left.
    struct Zoomed {
        QPoint position{-1, -1};
        QPoint origin;
        float factor = 0;
        bool operator==(const Zoomed&) const = default;
    };
    Zoomed __zoomed;
    QPointF __zoomPoint;        // of the image, at that position
    int __wheelZoom = 0;        // wheel movement that has not made a step yet, in eighths of a degree
    QPoint __wheelScroll{0, 0}; // the same in widget units
};

} // namespace vorlen
