#include "ui/slices/vrlslicewidgetcanvas.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <vector>

#include <QPainter>
#include <QPen>
#include <QPixmap>
#include <QPolygon>
#include <QScopedValueRollback>
#include <QTransform>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "ui/slices/itemlook.h"
#include "ui/slices/outlinebatch.h"

namespace vorlen {

namespace {

/// Widths and sizes beyond all screens count as the greatest sensible one.
constexpr float greatestLength = 16384;

float sensible(float length) {
    return length > 0 ? std::min(length, greatestLength) : 0.0f;
}

/// Of a line, in whole pixels of the image.
float widthOf(const ModelItemProperties& look) {
    return std::floor(sensible(look.getLineWidth()));
}

QColor colorOf(const ModelItemProperties& look) {
    const Vector<int>& color = look.getColor();
    return QColor(std::clamp(color[0], 0, 255), std::clamp(color[1], 0, 255), std::clamp(color[2], 0, 255));
}

QPointF pointOf(const ModelItem& item, int i) {
    return QPointF(item.getCoordinate(i, 0), item.getCoordinate(i, 1));
}

/// From the first to the last pixel, both within.
QRect corners(int left, int top, int right, int bottom) {
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

/// The factors give all symbols the area of the circle of radius r.
void drawSymbol(QPainter& painter, VertexSymbol symbol, const QPointF& vertex, int r) {
    const double x = vertex.x();
    const double y = vertex.y();
    switch (symbol) {
    case CubeSymbol: {
        const int s = int(std::ceil(r * 1.7724538509055159));
        const int half = s / 2;
        painter.drawRect(QRectF(x - half, y - half, s, s));
        break;
    }
    case DotSymbol:
        painter.drawRect(QRectF(x, y, 1, 1));
        break;
    case DiamondSymbol: {
        const int d = int(std::ceil(r * 1.2533141373155001));
        const QPointF diamond[] = {QPointF(x - d, y), QPointF(x, y + d), QPointF(x + d, y), QPointF(x, y - d)};
        painter.drawPolygon(diamond, 4);
        break;
    }
    case TetrahedronSymbol: {
        const int t = int(r * 1.5551203015562138);
        const int u = int(t * 0.8660254037844386);
        const int half = t / 2;
        const QPointF triangle[] = {QPointF(x, y - t), QPointF(x - u, y + half), QPointF(x + u, y + half)};
        painter.drawPolygon(triangle, 3);
        break;
    }
    default:
        painter.drawEllipse(QRectF(x - r, y - r, 2 * r, 2 * r));
        break;
    }
}

void drawVertexCrosses(QPainter& painter, const QPolygonF& vertices, int r) {
    QPen pen = painter.pen();
    pen.setWidth(0);
    painter.setPen(pen);
    const int reach = r / 2;
    for (const QPointF& vertex : vertices) {
        painter.drawLine(vertex - QPointF(reach, 0), vertex + QPointF(reach, 0));
        painter.drawLine(vertex - QPointF(0, reach), vertex + QPointF(0, reach));
    }
}

void drawFirstMark(QPainter& painter, const QPoint& position) {
    painter.setBrush(Qt::yellow);
    painter.drawEllipse(corners(-4, -4, 4, 4).translated(position));
    painter.drawEllipse(corners(-1, -1, 1, 1).translated(position));
}

/// Marks at all these positions, each a white square in a black frame with another one around its middle. One picture
/// drawn many times, in one call: a contour may have ten thousand vertices.
void drawMarks(QPainter& painter, const std::vector<QPoint>& positions) {
    QPixmap mark(8, 8);
    mark.fill(Qt::black);
    QPainter inside(&mark);
    inside.fillRect(1, 1, 6, 6, Qt::white);
    inside.fillRect(2, 2, 4, 4, Qt::black);
    inside.fillRect(3, 3, 2, 2, Qt::white);
    inside.end();
    std::vector<QPainter::PixmapFragment> fragments;
    fragments.reserve(positions.size());
    for (const QPoint& position : positions)
        fragments.push_back(QPainter::PixmapFragment::create(position + QPoint(1, 1), mark.rect()));
    painter.drawPixmapFragments(fragments.data(), int(fragments.size()), mark, QPainter::OpaqueHint);
}

} // namespace

VRLSliceWidgetCanvas::VRLSliceWidgetCanvas(QWidget* parent) : VRLImageWidgetCanvas(parent) {
}

void VRLSliceWidgetCanvas::clear() {
    __slice = nullptr;
    VRLImageWidgetCanvas::clear();
}

void VRLSliceWidgetCanvas::setSlice(StackSlice& slice) {
    __slice = &slice;
    update();
}

void VRLSliceWidgetCanvas::paintItems(const StackSlice& slice, QPainter& painter) {
    for (int i = 0; i < slice.getNumItems(); ++i)
        if (isShown(slice.getItem(i)))
            paintItem(slice.getItem(i), painter);
}

bool VRLSliceWidgetCanvas::isShown(const ModelItem&) const {
    return true;
}

void VRLSliceWidgetCanvas::paintItems(const StackSlice& slice) {
    paintItemsWithin(slice, rect());
}

// Outlines that follow on one another are drawn together; what has symbols or marks is left to a painter.
void VRLSliceWidgetCanvas::paintItemsWithin(const StackSlice& slice, const QRect& area) {
    const QScopedValueRollback painted(__area, area);
    const double density = devicePixelRatioF();
    const QSize buffer = size() * density;
    const QRect within = QRectF(area.topLeft() * density, QSizeF(area.size()) * density).toAlignedRect();
    const QTransform toPixels = itemTransform() * QTransform::fromScale(density, density);
    OutlineBatch outlines;
    std::vector<const ModelItem*> others;
    for (int i = 0; i < slice.getNumItems(); ++i) {
        const ModelItem& item = slice.getItem(i);
        if (!isShown(item))
            continue;
        const ModelItemProperties look = lookOf(item);
        if (!areaOf(item, look).intersects(area))
            continue;
        if (drawnGeometryOf(item) == PolypointPrimitive || !item.getSelection().isEmpty()) {
            outlines.draw(buffer, within);
            others.push_back(&item);
        } else {
            paintRun(others, area);
            addOutline(item, look, toPixels, outlines);
        }
    }
    outlines.draw(buffer, within);
    paintRun(others, area);
}

void VRLSliceWidgetCanvas::addOutline(const ModelItem& item, const ModelItemProperties& look,
                                      const QTransform& toPixels, OutlineBatch& outlines) const {
    const QPolygonF polygon = outlineOf(item);
    const bool closed = drawnGeometryOf(item) != PolylinePrimitive;
    if (isThin(look))
        outlines.add(toPixels.map(polygon), closed, devicePixelRatioF(), QTransform(), colorOf(look));
    else
        outlines.add(polygon, closed, double(widthOf(look)), toPixels, colorOf(look));
}

/// Empties the run.
void VRLSliceWidgetCanvas::paintRun(std::vector<const ModelItem*>& run, const QRect& area) const {
    if (run.empty())
        return;
    withPainter([&](QPainter& painter) {
        const QTransform items = painter.transform();
        painter.resetTransform();
        painter.setClipRect(area);
        painter.setTransform(items);
        for (const ModelItem* const item : run)
            paintItem(*item, painter);
    });
    run.clear();
}

void VRLSliceWidgetCanvas::withPainter(const std::function<void(QPainter&)>& work) const {
    const std::unique_ptr<QPaintDevice> device = newPaintDevice();
    QPainter painter(device.get());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setTransform(itemTransform());
    work(painter);
}

/// From the places of items to those of the canvas.
QTransform VRLSliceWidgetCanvas::itemTransform() const {
    const double zoom = double(getZoomFactor());
    const QPointF place = imagePlace();
    QTransform transform = QTransform::fromTranslate(place.x(), place.y());
    transform.scale(zoom * double(betaWidth()), zoom * double(betaHeight()));
    return transform.translate(0.5 - getViewOrigin().x(), 0.5 - getViewOrigin().y());
}

void VRLSliceWidgetCanvas::setMode(CanvasMode mode) {
    __mode = mode;
    update();
}

void VRLSliceWidgetCanvas::paintGL() {
    beforePaintGL();
    if (__mode != ForegroundMode)
        paintImageGL();
    glMatrixMode(GL_MODELVIEW);
    if (__mode != BackgroundMode && __slice != nullptr)
        paintItems(*__slice);
}

void VRLSliceWidgetCanvas::paintItem(const ModelItem& item, QPainter& painter) const {
    const ModelItemProperties look = lookOf(item);
    if (!areaOf(item, look).intersects(paintedArea()))
        return;
    painter.save();
    if (drawnGeometryOf(item) == PolypointPrimitive)
        paintPointsItem(item, look, painter);
    else
        paintContourItem(item, look, painter);
    painter.restore();
    if (!item.getSelection().isEmpty()) {
        painter.save();
        paintItemSelection(item, painter);
        painter.restore();
    }
}

// No symbol reaches farther from its vertex than twice the point size, and no mark farther than 6 pixels of the screen.
// Coordinates may be any number.
QRect VRLSliceWidgetCanvas::areaOf(const ModelItem& item, const ModelItemProperties& look) const {
    const BoundingBox<double>& box = item.extent();
    if (!box.isValid())
        return QRect();
    const double size = double(sensible(look.getLineWidth())) + 2 * double(sensible(look.getPointSize())) + 1;
    const double zooms[] = {double(getZoomFactor() * betaWidth()), double(getZoomFactor() * betaHeight())};
    const int origins[] = {getViewOrigin().x(), getViewOrigin().y()};
    const QPointF place = imagePlace();
    const double places[] = {place.x(), place.y()};
    const int ends[] = {width(), height()};
    int first[2], last[2];
    for (int k = 0; k < 2; ++k) {
        const double low = places[k] + (box.getVertex1()[k] - origins[k] + 0.5 - size) * zooms[k] - 7;
        const double high = places[k] + (box.getVertex2()[k] - origins[k] + 0.5 + size) * zooms[k] + 7;
        first[k] = int(std::clamp(std::floor(low), 0.0, double(ends[k])));
        last[k] = int(std::clamp(std::ceil(high), 0.0, double(ends[k])));
    }
    return QRect(first[0], first[1], last[0] - first[0], last[1] - first[1]);
}

// A vertex within half a pixel of the screen from the last one that is drawn is left out, as far as the shape stays.
QPolygonF VRLSliceWidgetCanvas::outlineOf(const ModelItem& item) const {
    const int n = item.getSize();
    const double density = devicePixelRatioF();
    const double horZoom = double(getZoomFactor() * betaWidth()) * density;
    const double verZoom = double(getZoomFactor() * betaHeight()) * density;
    QPolygonF outline;
    outline.reserve(n);
    for (int i = 0; i < n; ++i) {
        const QPointF vertex = pointOf(item, i);
        if (i > 0 && i + 1 < n) {
            const double x = (vertex.x() - outline.last().x()) * horZoom;
            const double y = (vertex.y() - outline.last().y()) * verZoom;
            if (x * x + y * y < 0.25)
                continue;
        }
        outline.append(vertex);
    }
    if (n > 4 && outline.size() < 4) { // no larger than a pixel, and to be seen all the same
        outline.clear();
        for (int i = 0; i < 4; ++i)
            outline.append(pointOf(item, int(static_cast<long long>(n - 1) * i / 3)));
    }
    return outline;
}

/// Less than a pixel of the canvas wide: drawn as one.
bool VRLSliceWidgetCanvas::isThin(const ModelItemProperties& look) const {
    return widthOf(look) * getZoomFactor() < 1;
}

void VRLSliceWidgetCanvas::paintContourItem(const ModelItem& item, const ModelItemProperties& look,
                                            QPainter& painter) const {
    QPen pen = painter.pen();
    pen.setColor(colorOf(look));
    pen.setJoinStyle(Qt::RoundJoin);
    const bool thin = isThin(look);
    pen.setCosmetic(thin);
    pen.setWidthF(thin ? devicePixelRatioF() : double(widthOf(look)));
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    const QPolygonF polygon = outlineOf(item);
    if (drawnGeometryOf(item) == PolylinePrimitive)
        painter.drawPolyline(polygon);
    else
        painter.drawPolygon(polygon);
}

void VRLSliceWidgetCanvas::paintPointsItem(const ModelItem& item, const ModelItemProperties& look,
                                           QPainter& painter) const {
    QPen pen(colorOf(look), 0);
    pen.setJoinStyle(Qt::MiterJoin);
    if (getZoomFactor() >= 1)
        pen.setWidth(int(sensible(look.getLineWidth())));
    painter.setBrush(Qt::NoBrush);
    if (look.getVertexSymbolFilling()) {
        painter.setBrush(pen.color().darker(200));
        painter.setOpacity(opacityOf(item));
    }
    const VertexSymbol symbol = look.getVertexSymbol();
    const int r = int(sensible(look.getPointSize()));
    const QRectF seen = painter.transform().inverted().mapRect(QRectF(paintedArea()));
    const double reach = 2 * r + double(sensible(look.getLineWidth())) + 2 + 2 / double(getZoomFactor());
    QPolygonF vertices;
    for (int i = 0; i < item.getSize(); ++i) {
        const QPointF vertex = pointOf(item, i);
        if (seen.adjusted(-reach, -reach, reach, reach).contains(vertex))
            vertices.append(vertex);
    }
    if (symbol == DotSymbol) {
        pen.setWidth(0);
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.translate(-0.5, -0.5);
    }
    painter.setPen(pen);
    for (const QPointF& vertex : vertices)
        drawSymbol(painter, symbol, vertex, r);
    if (symbol != DotSymbol)
        drawVertexCrosses(painter, vertices, r);
}

// In coordinates of the widget, so that marks have the same size at all zooms. Where vertices lie close marks are left
// out, so that they don't hide what the outline lies on; not at the ends of what is selected.
void VRLSliceWidgetCanvas::paintItemSelection(const ModelItem& item, QPainter& painter) const {
    painter.resetTransform();
    painter.setOpacity(1);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(Qt::black, 1));
    const QRectF seen = QRectF(paintedArea()).adjusted(-6, -6, 6, 6);
    const ModelItemSelection& selection = item.getSelection();
    const Vertices<double>& vertices = item.getVertices();
    const int numBits = std::min(selection.getNumBits(), item.getSize());
    const int apart = drawnGeometryOf(item) == PolypointPrimitive ? 0 : 16;
    std::optional<QPointF> last;
    std::vector<QPoint> marks;
    for (int i = 0; i < numBits; ++i) {
        if (!selection.isSelected(i))
            continue;
        const bool isWithin = i > 0 && selection.isSelected(i - 1) && i + 1 < numBits && selection.isSelected(i + 1);
        const QPointF exact = convertToPosition(QPointF(vertices[i][0] + 0.5, vertices[i][1] + 0.5));
        const QPointF place(std::floor(exact.x()), std::floor(exact.y()));
        if (isWithin && last && (place - *last).manhattanLength() < apart)
            continue;
        last = place; // also where it is not painted: parts of a picture are to fit
        if (!seen.contains(place))
            continue;
        const QPoint position = place.toPoint();
        if (i == 0)
            drawFirstMark(painter, position);
        else
            marks.push_back(position);
    }
    drawMarks(painter, marks);
}

} // namespace vorlen
