#include "ui/slices/vrlsliceeditwidgetcanvas.h"

#include <utility>

#include <QOpenGLContext>
#include <QPainter>
#include <QPen>
#include <QPolygonF>
#include <QTimer>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/models/modeltable.h"
#include "ui/models/modelviews.h"
#include "ui/session/vrlpreferences.h"
#include "ui/slices/crosshairlines.h"
#include "ui/slices/itemlook.h"
#include "ui/slices/scalebar.h"
#include "ui/tools/canvasnote.h"

namespace vorlen {

namespace {

constexpr int longestWait = 250; // milliseconds

} // namespace

VRLSliceEditWidgetCanvas::VRLSliceEditWidgetCanvas(QWidget* parent) : VRLSliceWidgetCanvas(parent) {
}

// The context goes in the destructor of a base, when this object is none of its class any more.
VRLSliceEditWidgetCanvas::~VRLSliceEditWidgetCanvas() {
    disconnect(__contextGoes);
    forgetPicture();
}

void VRLSliceEditWidgetCanvas::clear() {
    __extraItem = nullptr;
    __rubberLine = nullptr;
    __note = nullptr;
    __crosshair.reset();
    __ghosts.clear();
    __sinceSlice.invalidate();
    VRLSliceWidgetCanvas::clear();
}

void VRLSliceEditWidgetCanvas::setSlice(StackSlice& slice) {
    if (&slice != getSlice()) {
        __ghosts.clear();
        const bool keeps = getSlice() != nullptr && (getImageProxy().hasImage() || waitsForImage());
        __sinceSlice.invalidate();
        if (keeps) {
            __sinceSlice.start();
            QTimer::singleShot(longestWait, this, qOverload<>(&QWidget::update));
        }
    }
    VRLSliceWidgetCanvas::setSlice(slice);
}

void VRLSliceEditWidgetCanvas::setGhosts(std::vector<NeighbourOutline> ghosts) {
    __ghosts = std::move(ghosts);
    update();
}

void VRLSliceEditWidgetCanvas::setExtraItem(ModelItem* item) {
    __extraItem = item;
    update();
}

void VRLSliceEditWidgetCanvas::setNote(const CanvasNote* note) {
    __note = note;
    update();
}

void VRLSliceEditWidgetCanvas::setCrosshair(const std::optional<QPointF>& place, bool dashed) {
    if (place == __crosshair && dashed == __crosshairDashed)
        return;
    __crosshair = place;
    __crosshairDashed = dashed;
    update();
}

void VRLSliceEditWidgetCanvas::setScaleBarShown(bool shown) {
    __scaleBarShown = shown;
    update();
}

void VRLSliceEditWidgetCanvas::setRubberLine(const QLineF* line) {
    __rubberLine = line;
    update();
}

void VRLSliceEditWidgetCanvas::paintItems(const StackSlice& slice, QPainter& painter) {
    VRLSliceWidgetCanvas::paintItems(slice, painter);
    paintUnfinished(painter);
}

void VRLSliceEditWidgetCanvas::paintItems(const StackSlice& slice) {
    VRLSliceWidgetCanvas::paintItems(slice);
    withPainter([this](QPainter& painter) { paintUnfinished(painter); });
}

bool VRLSliceEditWidgetCanvas::isShown(const ModelItem& item) const {
    return __modelViews == nullptr || __modelViews->isShown(item);
}

void VRLSliceEditWidgetCanvas::setKeepingPicture(bool on) {
    __keepingPicture = on;
    forgetPicture();
    update();
}

void VRLSliceEditWidgetCanvas::initializeGL() {
    VRLSliceWidgetCanvas::initializeGL();
    __contextGoes =
        connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &VRLSliceEditWidgetCanvas::forgetPicture);
}

void VRLSliceEditWidgetCanvas::paintGL() {
    if (!__keepingPicture) {
        __lastPainted = rect();
        VRLSliceWidgetCanvas::paintGL();
        return;
    }
    if (waitsForImage()) {
        __lastPainted = QRegion();
        beforePaintGL();
        return __picture.show();
    }
    __sinceSlice.invalidate();
    const KeptPicture::View view = presentView();
    std::vector<KeptPicture::Item> items = presentItems();
    __lastPainted = __picture.staleRegion(view, items);
    beforePaintGL();
    // Some drivers reach a row of pixels beyond a clip: each part is taken at once, and all of the picture shown at
    // last.
    for (const QRect& area : __lastPainted) {
        paintAnew(area);
        __picture.take(area, size() * devicePixelRatioF(), view.density);
    }
    if (!__lastPainted.isEmpty())
        __picture.remember(view, std::move(items));
    if (__lastPainted != QRegion(rect()))
        __picture.show();
    if (hasOverlay())
        withPainter([this](QPainter& painter) { paintOverlay(painter); });
}

/// What was there is shown on while an image is read, but not for long: it is another slice's.
bool VRLSliceEditWidgetCanvas::waitsForImage() {
    const VRLImageProxy& proxy = getImageProxy();
    return __sinceSlice.isValid() && __sinceSlice.elapsed() < longestWait && !proxy.isEmpty() && !proxy.hasImage() &&
           !proxy.hasFailed() && __picture.fits(size(), devicePixelRatioF());
}

bool VRLSliceEditWidgetCanvas::hasOverlay() const {
    return getSlice() != nullptr && (__extraItem != nullptr || __rubberLine != nullptr || !__ghosts.empty() ||
                                     __note != nullptr || __scaleBarShown || __crosshair);
}

void VRLSliceEditWidgetCanvas::paintOverlay(QPainter& painter) const {
    if (getMode() != BackgroundMode)
        paintUnfinished(painter);
    paintNote(painter);
    if (__crosshair) {
        const QPointF at = painter.transform().map(*__crosshair);
        painter.save();
        painter.resetTransform();
        paintCrosshair(painter, QRectF(rect()), at, __crosshairDashed);
        painter.restore();
    }
    if (!__scaleBarShown)
        return;
    painter.resetTransform();
    const double across = double(getZoomFactor() * betaWidth());
    const LengthUnit unit = getSlice()->getStack() != nullptr ? getSlice()->getStack()->getLengthUnit() : LengthUnit();
    paintScaleBar(painter, rect(),
                  scaleBarFor(double(getSlice()->getPixelCalibration().getPixelWidth()) / across, unit, width()));
}

KeptPicture::View VRLSliceEditWidgetCanvas::presentView() const {
    KeptPicture::View view;
    view.size = size();
    view.density = devicePixelRatioF();
    view.origin = getViewOrigin();
    view.zoom = getZoomFactor();
    view.betaWidth = betaWidth();
    view.betaHeight = betaHeight();
    view.mode = getMode();
    view.background = VRLPreferences::getImageCanvasBackgroundColor();
    view.slice = getSlice();
    view.image = paintedImage();
    view.imageRevision = getImageRevision();
    view.view = currentView();
    view.black = getBlack();
    view.white = getWhite();
    view.notice = getNotice();
    view.visible = isVisible();
    return view;
}

std::vector<KeptPicture::Item> VRLSliceEditWidgetCanvas::presentItems() const {
    std::vector<KeptPicture::Item> items;
    if (getSlice() == nullptr || getMode() == BackgroundMode)
        return items;
    const StackSlice& slice = *getSlice();
    items.reserve(std::size_t(slice.getNumItems()));
    for (int i = 0; i < slice.getNumItems(); ++i) {
        const ModelItem& item = slice.getItem(i);
        if (!isShown(item))
            continue;
        const ModelItemProperties look = lookOf(item);
        const QRect area = areaOf(item, look);
        if (!area.isEmpty())
            items.push_back(
                {item.getRevision(), look, drawnGeometryOf(item), opacityOf(item), item.getSelection(), area});
    }
    return items;
}

void VRLSliceEditWidgetCanvas::paintAnew(const QRect& area) {
    if (area != rect()) {
        const double density = devicePixelRatioF();
        glEnable(GL_SCISSOR_TEST);
        glScissor(qRound(area.x() * density), qRound((height() - area.y() - area.height()) * density),
                  qRound(area.width() * density), qRound(area.height() * density));
        glClear(GL_COLOR_BUFFER_BIT);
    }
    if (getMode() != ForegroundMode)
        paintImageGL();
    glDisable(GL_SCISSOR_TEST);
    if (getMode() != BackgroundMode && getSlice() != nullptr)
        paintItemsWithin(*getSlice(), area);
}

/// The slice before in long dashes, the one behind in short ones.
void VRLSliceEditWidgetCanvas::paintGhosts(QPainter& painter) const {
    painter.save();
    painter.setBrush(Qt::NoBrush);
    const QRectF seen = painter.transform().inverted().mapRect(QRectF(rect()));
    for (const NeighbourOutline& ghost : __ghosts) {
        if (__modelViews != nullptr && __modelViews->isHidden(*ghost.model))
            continue;
        QPolygonF outline;
        outline.reserve(qsizetype(ghost.points.size()));
        for (const OutlinePoint& point : ghost.points)
            outline.append(QPointF(point.x, point.y));
        if (!outline.boundingRect().adjusted(-1, -1, 1, 1).intersects(seen))
            continue;
        QColor color = colorOf(*ghost.model);
        color.setAlpha(170);
        QPen pen(color, 1, Qt::CustomDashLine);
        pen.setCosmetic(true);
        pen.setDashPattern(ghost.before ? QList<qreal>{6, 4} : QList<qreal>{2, 3});
        painter.setPen(pen);
        if (ghost.geometry == PolygonPrimitive)
            painter.drawPolygon(outline);
        else if (ghost.geometry == PolypointPrimitive)
            for (const QPointF& point : outline)
                painter.drawEllipse(point, 2, 2);
        else
            painter.drawPolyline(outline);
    }
    painter.restore();
}

/// White in black, so that it is seen on every image, with the text beside the last point.
void VRLSliceEditWidgetCanvas::paintNote(QPainter& painter) const {
    if (__note == nullptr || __note->line.empty())
        return;
    QPolygonF line;
    line.reserve(qsizetype(__note->line.size()));
    for (const QPointF& point : __note->line)
        line.append(painter.transform().map(point));
    painter.save();
    painter.resetTransform();
    for (const auto& [color, width] : {std::make_pair(Qt::black, 3), std::make_pair(Qt::white, 1)}) {
        painter.setPen(QPen(color, width));
        painter.setBrush(Qt::NoBrush);
        painter.drawPolyline(line);
        for (const QPointF& point : line)
            painter.drawEllipse(point, 3, 3);
    }
    paintLabel(painter, line.last() + QPointF(12, -12), __note->text);
    painter.restore();
}

void VRLSliceEditWidgetCanvas::paintUnfinished(QPainter& painter) const {
    paintGhosts(painter);
    if (__extraItem != nullptr)
        paintItem(*__extraItem, painter);
    if (__rubberLine != nullptr) {
        QPen pen(Qt::magenta, 3, Qt::DashLine);
        pen.setCosmetic(true);
        painter.save();
        painter.setPen(pen);
        painter.drawLine(*__rubberLine);
        painter.restore();
    }
}

void VRLSliceEditWidgetCanvas::forgetPicture() {
    if (context() == nullptr)
        return;
    makeCurrent();
    __picture.clear();
    doneCurrent();
}

} // namespace vorlen
