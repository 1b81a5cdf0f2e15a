#include "ui/slices/vrlimagewidgetmediator.h"

#include <algorithm>
#include <cmath>

#include <QAction>
#include <QCursor>
#include <QLayout>
#include <QResizeEvent>
#include <QSignalBlocker>
#include <QWheelEvent>

#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/session/vrlconfig.h"
#include "ui/slices/slicecommands.h"
#include "ui/slices/vrlimagewidget.h"
#include "ui/slices/vrlimagewidgetmediatorpandelegate.h"
#include "ui/slices/vrlimagewidgetmediatorpixelinfodelegate.h"
#include "ui/tools/toollist.h"

namespace vorlen {

VRLImageWidgetMediator::VRLImageWidgetMediator(VRLImageWidget& widget) : QObject(&widget), __widget(&widget) {
    const auto bind = [this](const char* id, void (VRLImageWidgetMediator::*work)(), std::function<bool()> condition) {
        __commands.command(id)
            .setWork([this, work] { (this->*work)(); })
            .enableWhen([this, condition = std::move(condition)] { return isUsable() && (!condition || condition()); });
    };
    using Mediator = VRLImageWidgetMediator;
    __commands.setWindow(sliceEditorWindow);
    __commands.add(imageViewCommands());
    bind("zoom.in", &Mediator::increaseZoomFactor, [this] { return maximumZoomFactor > getCanvas().getZoomFactor(); });
    bind("zoom.out", &Mediator::decreaseZoomFactor, [this] { return getCanvas().getZoomFactor() > minimumZoomFactor; });
    bind("zoom.fit", &Mediator::bestFitZoomFactor, [this] { return !getCanvas().isBestFitMode(); });
    bind("page.up", &Mediator::pageScrollUp, [this] { return getCanvas().getViewOrigin().y() >= 1; });
    bind("page.down", &Mediator::pageScrollDown,
         [this] { return getCanvas().getViewOrigin().y() < getCanvas().computeMaxViewOrigin().y(); });
    bind("page.right", &Mediator::pageScrollRight,
         [this] { return getCanvas().getViewOrigin().x() < getCanvas().computeMaxViewOrigin().x(); });
    bind("page.left", &Mediator::pageScrollLeft, [this] { return getCanvas().getViewOrigin().x() > 0; });
    const std::pair<const char*, void (Mediator::*)()> ofTheCanvas[] = {
        {"step.up", &Mediator::stepScrollUp},       {"step.down", &Mediator::stepScrollDown},
        {"step.right", &Mediator::stepScrollRight}, {"step.left", &Mediator::stepScrollLeft},
        {"view.center", &Mediator::centerView},
    };
    for (const auto& [id, work] : ofTheCanvas) {
        bind(id, work, {});
        __commands.action(id).setShortcutContext(Qt::WidgetShortcut);
    }
}

VRLImageWidgetMediator::~VRLImageWidgetMediator() {
    if (__panDelegate != nullptr && __panDelegate->isActive())
        __panDelegate->deactivate();
    if (__pixelInfoDelegate != nullptr && __pixelInfoDelegate->isActive())
        __pixelInfoDelegate->deactivate();
    if (__canvas) {
        __canvas->removeEventFilter(this); // the actions leave the canvas when they go
        __canvas->getImageProxy().removeMonitor(static_cast<ProgressMonitor&>(*this));
    }
}

void VRLImageWidgetMediator::setCanvas(VRLImageWidgetCanvas& canvas) {
    __canvas = &canvas;
    canvas.installEventFilter(this);
}

void VRLImageWidgetMediator::setStatusBar(VRLImageWidgetStatusBar& statusBar) {
    __statusBar = &statusBar;
}

void VRLImageWidgetMediator::setToolBar(QToolBar& toolBar) {
    __toolBar = &toolBar;
}

void VRLImageWidgetMediator::initialize() {
    VRLImageWidgetCanvas& canvas = getCanvas();
    for (const CommandInfo& info : imageViewCommands())
        canvas.addAction(&__commands.action(info.id));
    VRLImageProxy& proxy = canvas.getImageProxy();
    connect(&proxy, &VRLImageProxy::imageChanged, this, &VRLImageWidgetMediator::imageProxyChange);
    connect(&proxy, &VRLImageProxy::imageFailed, this, &VRLImageWidgetMediator::imageProxyFailure);
    proxy.addMonitor(static_cast<ProgressMonitor&>(*this));
    if (__toolBar)
        for (const char* id : {"zoom.in", "zoom.out", "zoom.fit", "page.up", "page.right", "page.down", "page.left"})
            __toolBar->addAction(&__commands.action(id));
    if (__slider)
        connect(__slider, &BlackWhiteDoubleSlider::valuesChanged, &canvas, &VRLImageWidgetCanvas::setBlackAndWhite);
    __panDelegate = new VRLImageWidgetMediatorPanDelegate(*this); // children of this object
    __pixelInfoDelegate = new VRLImageWidgetMediatorPixelInfoDelegate(*this);
    __pixelInfoDelegate->activate();
    if (canvas.isBestFitMode())
        setScrollBarsVisible(false);
    updateActions();
}

void VRLImageWidgetMediator::clear() {
    if (__panDelegate != nullptr && __panDelegate->isActive())
        __panDelegate->deactivate();
    if (__pixelInfoDelegate != nullptr && __pixelInfoDelegate->isActive())
        __pixelInfoDelegate->deactivate();
    VRLImageWidgetCanvas& canvas = getCanvas();
    leaveImage();
    canvas.clear();
    canvas.update();
    setScrollBarsVisible(false);
    updateScrollBars();
    updateImageTypeInfo();
    updateImageSizeInfo();
    updateZoomInfo();
    updateActions();
    if (__statusBar) {
        __statusBar->setPixelInfo(QString());
        __statusBar->clearMessage();
    }
    __widget->notifyViewChange(QRect(0, 0, 0, 0));
}

void VRLImageWidgetMediator::preferencesEvent(VRLPreferencesEvent&) {
    if (__canvas)
        __canvas->update();
}

void VRLImageWidgetMediator::setScrollBars(QScrollBar& horizontal, QScrollBar& vertical) {
    __horizontalScrollBar = &horizontal;
    __verticalScrollBar = &vertical;
    connect(&horizontal, &QScrollBar::valueChanged, this, &VRLImageWidgetMediator::scrollBarChange);
    connect(&vertical, &QScrollBar::valueChanged, this, &VRLImageWidgetMediator::scrollBarChange);
}

void VRLImageWidgetMediator::setBlackWhiteDoubleSlider(BlackWhiteDoubleSlider& slider) {
    __slider = &slider;
}

VRLImageWidgetCanvas& VRLImageWidgetMediator::getCanvas() const {
    if (__canvas.isNull())
        throw ProgramError("VRLImageWidgetCanvas& VRLImageWidgetMediator::getCanvas() const",
                           "This mediator has no canvas");
    return *__canvas;
}

VRLImageProxy& VRLImageWidgetMediator::getImageProxy() const {
    return getCanvas().getImageProxy();
}

void VRLImageWidgetMediator::setImageServer(VRLImageServer& server) {
    __imageServer = &server;
}

VRLImageServer& VRLImageWidgetMediator::getImageServer() const {
    if (__imageServer.isNull())
        throw ProgramError("VRLImageServer& VRLImageWidgetMediator::getImageServer() const",
                           "This mediator has no image server");
    return *__imageServer;
}

void VRLImageWidgetMediator::removeImageServer() {
    __imageServer = nullptr;
    getImageProxy().clearImageServer();
    imageProxyChange();
    getCanvas().update();
}

// The size is known from the source, so that everything is laid out before the image is there.
void VRLImageWidgetMediator::setImageSource(const ImageSource& source) {
    VRLImageServer& server = getImageServer();
    VRLImageProxy& proxy = getImageProxy();
    setNotice(QString());
    if (__pixelInfoDelegate != nullptr && !__pixelInfoDelegate->isActive())
        __pixelInfoDelegate->activate();
    leaveImage();
    proxy.setImageServer(server);
    proxy.setImageSource(source);
    if (!proxy.hasImage()) {
        getCanvas().imageProxyChange();
        imageProxyChange();
    }
}

/// A proxy that leaves an image while it is read hears no more of it: what was told of the reading ends here, behind
/// the reports that are still on their way.
void VRLImageWidgetMediator::leaveImage() {
    VRLImageProxy& proxy = getImageProxy();
    const bool isReading = !proxy.isEmpty() && !proxy.hasImage() && !proxy.hasFailed();
    proxy.clear();
    if (isReading)
        QMetaObject::invokeMethod(
            this, [this] { notifyFinished(std::string()); }, Qt::QueuedConnection);
}

void VRLImageWidgetMediator::setPixelCalibration(const PixelCalibration& calibration) {
    getImageProxy().setPixelCalibration(calibration);
    getCanvas().imageProxyChange();
    updateScrollBars();
    updateZoomInfo();
}

void VRLImageWidgetMediator::setActionsEnabled(bool enabled) {
    __actionsEnabled = enabled;
    updateActions();
}

void VRLImageWidgetMediator::updateActions() {
    for (const CommandInfo& info : imageViewCommands())
        __commands.update(info.id);
}

bool VRLImageWidgetMediator::isUsable() const {
    return __actionsEnabled && !getImageProxy().isEmpty();
}

void VRLImageWidgetMediator::updateScrollBars() {
    if (!__horizontalScrollBar || !__verticalScrollBar || getImageProxy().isEmpty())
        return;
    const VRLImageWidgetCanvas& canvas = getCanvas();
    const QSignalBlocker horizontalBlocker(__horizontalScrollBar);
    const QSignalBlocker verticalBlocker(__verticalScrollBar);
    const QSize size = getImageProxy().getOriginalImageSize();
    const QSize view = canvas.computeMaxViewSize();
    const QPoint origin = canvas.getViewOrigin();
    const auto set = [](QScrollBar& bar, int range, int page, int value) {
        bar.setRange(0, range);
        bar.setSingleStep(1);
        bar.setPageStep(std::max(page, 1)); // which sets the length of the handle
        bar.setValue(value);
    };
    set(*__horizontalScrollBar, size.width() - view.width(), view.width(), origin.x());
    set(*__verticalScrollBar, size.height() - view.height(), view.height(), origin.y());
}

void VRLImageWidgetMediator::updateImageTypeInfo() {
    if (!__statusBar)
        return;
    const VRLImageProxy& proxy = getImageProxy();
    __statusBar->setImageTypeInfo(
        proxy.hasImage()
            ? imageTypeText(proxy.getImage().getDepth(), proxy.getImage().isIndexed(), proxy.getImage().isReal())
            : QString());
}

void VRLImageWidgetMediator::updateImageSizeInfo() {
    if (!__statusBar)
        return;
    const VRLImageProxy& proxy = getImageProxy();
    QString text;
    if (proxy.hasImage()) {
        const Image& image = proxy.getImage();
        const QSize size =
            proxy.isOverview() ? proxy.getOriginalImageSize() : QSize(image.getWidth(), image.getHeight());
        text =
            imageSizeText(size.width(), size.height(),
                          std::size_t(image.bytesPerPixel()) * std::size_t(size.width()) * std::size_t(size.height()));
    }
    __statusBar->setImageSizeInfo(text);
}

void VRLImageWidgetMediator::updateZoomInfo() {
    if (__statusBar)
        __statusBar->setZoomInfo(QString::asprintf("%3.0f%%", double(getCanvas().getZoomFactor()) * 100));
}

void VRLImageWidgetMediator::setScrollBarsVisible(bool visible) {
    QLayout* const layout = __widget->layout();
    // The canvas is resized, and drawn, once for both.
    if (layout != nullptr)
        layout->setEnabled(false);
    for (QScrollBar* bar : {__horizontalScrollBar.data(), __verticalScrollBar.data()})
        if (bar != nullptr)
            bar->setVisible(visible);
    if (layout == nullptr)
        return;
    layout->setEnabled(true);
    layout->activate(); // at once, as the zoom depends on the size that the canvas gets by it
}

void VRLImageWidgetMediator::panTo(const QPoint& origin) {
    VRLImageWidgetCanvas& canvas = getCanvas();
    canvas.setViewOrigin(origin);
    canvas.update();
    updateScrollBars();
    updateActions();
    notifyViewChange();
}

void VRLImageWidgetMediator::zoomAt(const QPoint& position, bool in) {
    if (!__commands.action(in ? "zoom.in" : "zoom.out").isEnabled())
        return;
    // The view begins at a whole pixel: the point is kept from notch to notch, so that roundings do not add up.
    VRLImageWidgetCanvas& canvas = getCanvas();
    const Zoomed present{position, canvas.getViewOrigin(), canvas.getZoomFactor()};
    if (present != __zoomed)
        __zoomPoint = canvas.convertToImagePoint(position);
    if (in)
        increaseZoomFactor();
    else
        decreaseZoomFactor();
    moveUnder(position, __zoomPoint);
    __zoomed = {position, canvas.getViewOrigin(), canvas.getZoomFactor()};
}

void VRLImageWidgetMediator::moveUnder(const QPointF& position, const QPointF& point) {
    const VRLImageWidgetCanvas& canvas = getCanvas();
    panTo(canvas.getViewOrigin() + QPointF(point - canvas.convertToImagePoint(position)).toPoint());
}

// The size of the canvas is the new one already, but the canvas has not seen this event yet.
void VRLImageWidgetMediator::resizeEvent(QResizeEvent*) {
    getCanvas().imageProxyChange();
    updateScrollBars();
    updateZoomInfo();
    updateActions();
    notifyViewChange();
}

// A delegate that keeps an event may have run a loop, in which this object was deleted: nothing comes after it.
bool VRLImageWidgetMediator::eventFilter(QObject* object, QEvent* event) {
    if (object != __canvas)
        return QObject::eventFilter(object, event);
    for (std::size_t i = __delegates.size(); i-- > 0;)
        if (__delegates[i] && __delegates[i]->process(event))
            return true;
    return canvasEvent(event);
}

void VRLImageWidgetMediator::addDelegate(VRLImageWidgetMediatorDelegate& delegate) {
    std::erase_if(__delegates, [](const auto& each) { return each.isNull(); });
    __delegates.push_back(&delegate);
}

bool VRLImageWidgetMediator::canvasEvent(QEvent* event) {
    if (event->type() == QEvent::Resize && !getImageProxy().isEmpty()) {
        resizeEvent(static_cast<QResizeEvent*>(event));
    } else if (event->type() == QEvent::Wheel) {
        wheelEvent(static_cast<QWheelEvent*>(event));
        return event->isAccepted();
    }
    return false;
}

QString VRLImageWidgetMediator::imageTypeText(int depth, bool indexed, bool real) {
    if (real)
        return "32 bits, real";
    switch (depth) {
    case 8:
        return indexed ? "8 bits, indexed" : "8 bits";
    case 16:
        return "16 bits";
    case 24:
        return "RGB 24 bits";
    case 32:
        return "RGB 32 bits";
    default:
        return QString();
    }
}

QString VRLImageWidgetMediator::imageSizeText(int width, int height, std::size_t bytes) {
    const auto n = static_cast<double>(bytes);
    if (n < 1000)
        return QString::asprintf("%dx%d [%d bytes]", width, height, int(bytes));
    if (n < 1e6)
        return QString::asprintf("%dx%d [%d Kb]", width, height, int(bytes / 1024));
    if (n < 1e9)
        return QString::asprintf("%dx%d [%.3g Mb]", width, height, std::ldexp(n, -20));
    return QString::asprintf("%dx%d [%.3g Gb]", width, height, std::ldexp(n, -30));
}

void VRLImageWidgetMediator::increaseZoomFactor() {
    changeZoom([this](VRLImageWidgetCanvas& canvas) {
        const float zoom = canvas.getZoomFactor();
        if (canvas.isBestFitMode()) {
            canvas.setBestFitMode(false, true);
            setScrollBarsVisible(true);
        } else {
            canvas.setZoomFactor(zoom < 1 ? zoom * 2 : zoom + 1);
        }
    });
}

void VRLImageWidgetMediator::decreaseZoomFactor() {
    changeZoom([this](VRLImageWidgetCanvas& canvas) {
        const float zoom = canvas.getZoomFactor();
        if (canvas.isBestFitMode()) {
            canvas.setBestFitMode(false, false);
            setScrollBarsVisible(true);
        } else {
            canvas.setZoomFactor(zoom > 1 ? zoom - 1 : zoom / 2);
        }
    });
}

void VRLImageWidgetMediator::bestFitZoomFactor() {
    VRLImageWidgetCanvas& canvas = getCanvas();
    setScrollBarsVisible(false);
    canvas.setBestFitMode(true, true);
    canvas.update();
    updateScrollBars();
    updateZoomInfo();
    updateActions();
    notifyViewChange();
}

void VRLImageWidgetMediator::stepScrollUp() {
    scrollVertically(-1);
}

void VRLImageWidgetMediator::stepScrollDown() {
    scrollVertically(1);
}

void VRLImageWidgetMediator::stepScrollRight() {
    scrollHorizontally(1);
}

void VRLImageWidgetMediator::stepScrollLeft() {
    scrollHorizontally(-1);
}

void VRLImageWidgetMediator::pageScrollUp() {
    scrollVertically(-(getCanvas().computeMaxViewSize().height() / 3));
}

void VRLImageWidgetMediator::pageScrollDown() {
    scrollVertically(getCanvas().computeMaxViewSize().height() / 3);
}

void VRLImageWidgetMediator::pageScrollRight() {
    scrollHorizontally(getCanvas().computeMaxViewSize().width() / 3);
}

void VRLImageWidgetMediator::pageScrollLeft() {
    scrollHorizontally(-(getCanvas().computeMaxViewSize().width() / 3));
}

void VRLImageWidgetMediator::centerView() {
    VRLImageWidgetCanvas& canvas = getCanvas();
    canvas.setViewCenter(canvas.convertToImagePosition(canvas.mapFromGlobal(QCursor::pos())));
    canvas.update();
    updateScrollBars();
    updateActions();
    notifyViewChange();
}

void VRLImageWidgetMediator::setViewOrigin(const QPoint& origin) {
    VRLImageWidgetCanvas& canvas = getCanvas();
    canvas.setViewOrigin(origin);
    canvas.update();
    updateScrollBars();
    updateActions();
}

void VRLImageWidgetMediator::scrollBarChange() {
    if (!__horizontalScrollBar || !__verticalScrollBar)
        return;
    VRLImageWidgetCanvas& canvas = getCanvas();
    canvas.setViewOrigin(QPoint(__horizontalScrollBar->value(), __verticalScrollBar->value()));
    canvas.update();
    updateActions();
    notifyViewChange();
}

void VRLImageWidgetMediator::imageProxyChange() {
    updateScrollBars();
    updateImageTypeInfo();
    updateImageSizeInfo();
    updateZoomInfo();
    updateActions();
    if (getImageProxy().hasImage()) {
        setNotice(QString());
        if (const Image& image = getImageProxy().getImage(); hasGreyScale(image))
            getCanvas().setGreyScale(greyScaleOf(image));
    }
    notifyViewChange();
}

GreyScale VRLImageWidgetMediator::greyScaleOf(const Image& image) {
    GreyScaleFinder finder;
    finder.add(image);
    return finder.find().value_or(GreyScale());
}

void VRLImageWidgetMediator::imageProxyFailure(const QString& message) {
    setNotice(message);
    updateImageTypeInfo();
    updateImageSizeInfo();
    // Behind the reports of the reading that are still on their way, which would wipe the message away.
    QMetaObject::invokeMethod(
        this, [this, message] { notifyProgressed(message.toStdString()); }, Qt::QueuedConnection);
}

void VRLImageWidgetMediator::notifyViewChange() {
    updatePixelInfo();
    __widget->notifyViewChange(getCanvas().currentView());
}

// The pointer stands still, and another pixel comes under it.
void VRLImageWidgetMediator::updatePixelInfo() {
    if (!__statusBar || __pixelInfoDelegate == nullptr)
        return;
    const VRLImageWidgetCanvas& canvas = getCanvas();
    if (__pixelInfoDelegate->isActive() && canvas.underMouse())
        __pixelInfoDelegate->updatePixelInfo(canvas.mapFromGlobal(QCursor::pos()));
    else if (!getImageProxy().hasImage())
        __statusBar->setPixelInfo(QString());
}

void VRLImageWidgetMediator::setNotice(const QString& notice) {
    VRLImageWidgetCanvas& canvas = getCanvas();
    if (notice == canvas.getNotice())
        return;
    canvas.setNotice(notice);
    if (!__statusBar)
        return;
    if (notice.isEmpty())
        __statusBar->clearMessage();
    else
        __statusBar->showMessage(notice);
}

void VRLImageWidgetMediator::changeZoom(const std::function<void(VRLImageWidgetCanvas&)>& change) {
    VRLImageWidgetCanvas& canvas = getCanvas();
    const QPoint center = canvas.viewCenter();
    change(canvas);
    canvas.setViewCenter(center);
    canvas.update();
    updateScrollBars();
    updateZoomInfo();
    updateActions();
    notifyViewChange();
}

void VRLImageWidgetMediator::scrollHorizontally(int pixels) {
    VRLImageWidgetCanvas& canvas = getCanvas();
    canvas.setViewOrigin(canvas.getViewOrigin() + QPoint(pixels, 0));
    if (__horizontalScrollBar)
        __horizontalScrollBar->setValue(canvas.getViewOrigin().x());
    notifyViewChange();
}

void VRLImageWidgetMediator::scrollVertically(int pixels) {
    VRLImageWidgetCanvas& canvas = getCanvas();
    canvas.setViewOrigin(canvas.getViewOrigin() + QPoint(0, pixels));
    if (__verticalScrollBar)
        __verticalScrollBar->setValue(canvas.getViewOrigin().y());
    notifyViewChange();
}

// One notch of a wheel is 120 eighths of a degree; touch pads send less at a time. Scrolling keeps what is less than an
// image pixel for the next event.
void VRLImageWidgetMediator::wheelEvent(QWheelEvent* event) {
    const VRLImageWidgetCanvas& canvas = getCanvas();
    event->ignore();
    if (!__actionsEnabled || !canvas.isEnabled() || getImageProxy().isEmpty())
        return;
    if (event->modifiers() & Qt::ControlModifier) {
        event->accept();
        __wheelZoom = std::clamp(__wheelZoom + event->angleDelta().y(), -1200, 1200);
        for (; std::abs(__wheelZoom) >= 120; __wheelZoom -= __wheelZoom > 0 ? 120 : -120)
            zoomAt(event->position().toPoint(), __wheelZoom > 0);
        return;
    }
    if (canvas.isBestFitMode())
        return;
    event->accept();
    const bool sideways = event->modifiers() & Qt::ShiftModifier;
    const QPoint delta = event->pixelDelta().isNull() ? event->angleDelta() * 60 / 120 : event->pixelDelta();
    __wheelScroll -= sideways ? delta.transposed() : delta;
    const float horizontal = canvas.getZoomFactor() * canvas.betaWidth();
    const float vertical = canvas.getZoomFactor() * canvas.betaHeight();
    const QPoint pixels(int(float(__wheelScroll.x()) / horizontal), int(float(__wheelScroll.y()) / vertical));
    __wheelScroll -= QPoint(int(float(pixels.x()) * horizontal), int(float(pixels.y()) * vertical));
    if (!pixels.isNull())
        panTo(canvas.getViewOrigin() + pixels);
}

} // namespace vorlen
