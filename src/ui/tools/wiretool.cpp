#include "ui/tools/wiretool.h"

#include <algorithm>

#include <QMouseEvent>

#include "document/model.h"
#include "editing/operations/contouroperations.h"
#include "editing/operations/outlineshape.h"
#include "images/rasters/image.h"
#include "snake/snakeframe.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

constexpr double reach = 400; // pixels

} // namespace

void WireTool::begin(Model& model) {
    __ends.clear();
    __wire.reset();
    VRLSliceEditWidgetMediatorCreationDelegate::begin(model);
    host().setHint("Click: go on along the edge. Alt: straight. Return, a double click, or a click on the start: done. "
                   "Backspace: take back. Escape or right click: give up.");
}

void WireTool::end() {
    __wire.reset();
    VRLSliceEditWidgetMediatorCreationDelegate::end();
    __shown.reset();
}

/// The part of the image around the last vertex, from which the ways begin.
void WireTool::seedAtEnd() {
    __wire.reset();
    QString problem;
    const Image* const image = host().image(problem);
    const int size = item() != nullptr ? item()->getSize() : 0;
    if (image == nullptr || size == 0)
        return;
    const int column = int(std::lround(double(item()->getVertices()[size - 1][0])));
    const int row = int(std::lround(double(item()->getVertices()[size - 1][1])));
    if (column < 0 || row < 0 || column >= image->getWidth() || row >= image->getHeight())
        return;
    const WaitCursor cursor;
    Curve<float> place(2, 1, 1, 1, true);
    place[0][0] = float(column);
    place[0][1] = float(row);
    const SnakeFrame frame(image->getWidth(), image->getHeight(), 1, 1, place, reach);
    Curve<float> corner(2, 1, 1, 1, true);
    corner[0][0] = 0.5f; // the middle of the frame's first pixel
    corner[0][1] = 0.5f;
    corner = frame.toSlice(corner);
    __firstColumn = int(std::lround(double(corner[0][0])));
    __firstRow = int(std::lround(double(corner[0][1])));
    __wire = std::make_unique<LiveWire>(frame.pixels(*image));
    __wire->setSeed(row - __firstRow, column - __firstColumn);
}

/// Without the last vertex that there is. Straight where no other way is known.
WireTool::Pixels WireTool::wayTo(int column, int row) {
    const int i = row - __firstRow, j = column - __firstColumn;
    if (!__wire || __straight || __dragging || i < 0 || j < 0 || i >= __wire->getNumRows() ||
        j >= __wire->getNumColumns())
        return {{column, row}};
    Outline outline;
    for (const auto& [y, x] : __wire->path(i, j))
        outline.push_back({double(x + __firstColumn), double(y + __firstRow)});
    const ItemVertices thin = decimatedContour(verticesOf(outline, false), false, 1);
    Pixels way;
    for (int k = 1; k < thin.getNumVertices(); ++k)
        way.emplace_back(int(thin[k][0]), int(thin[k][1]));
    return way;
}

void WireTool::append(const Pixels& way) {
    for (const auto& [column, row] : way) {
        const ItemVertex vertex = itemVertex({double(column), double(row)});
        const int size = item()->getSize();
        if (size == 0 || item()->getVertices()[size - 1] != vertex)
            item()->appendVertex(vertex);
    }
}

void WireTool::appendVertex(const QPoint& position) {
    if (!acts())
        return;
    const auto point = imagePoint(position);
    if (!isOnImage(point))
        return;
    const int before = item()->getSize();
    append(before == 0 ? Pixels{{int(point[0]), int(point[1])}} : wayTo(int(point[0]), int(point[1])));
    if (item()->getSize() == before)
        return;
    __ends.push_back(before);
    if (!__dragging)
        seedAtEnd();
    __shown.reset();
    host().setPreview(item());
}

void WireTool::removeLastVertex() {
    if (!isActive() || __ends.empty())
        return VRLSliceEditWidgetMediatorCreationDelegate::removeLastVertex();
    const int before = __ends.back();
    __ends.pop_back();
    if (before == 0)
        return end();
    item()->removeVertices(before, item()->getSize() - 1);
    seedAtEnd();
    __shown.reset();
    host().setPreview(item());
}

void WireTool::apply() {
    if (acts() && item()->isClosed() && item()->getSize() > 1 && __ends.size() > 1) {
        __straight = false;
        seedAtEnd();
        const ItemVertex first = item()->getVertices()[0];
        Pixels way = wayTo(int(first[0]), int(first[1]));
        if (!way.empty())
            way.pop_back(); // the first vertex itself
        append(way);
    }
    VRLSliceEditWidgetMediatorCreationDelegate::apply();
}

void WireTool::showWayTo(const QPoint& position) {
    const auto point = imagePoint(position);
    if (!isOnImage(point) || item()->getSize() == 0 || isPointSet())
        return;
    __shown = std::make_unique<ModelItem>(*item());
    for (const auto& [column, row] : wayTo(int(point[0]), int(point[1])))
        __shown->appendVertex(itemVertex({double(column), double(row)}));
    host().setPreview(__shown.get());
    canvas().update();
}

void WireTool::mouseMoveEvent(QMouseEvent* event) {
    if (acts() && event->buttons() == Qt::NoButton) {
        __straight = (event->modifiers() & Qt::AltModifier) != 0;
        showWayTo(event->position().toPoint());
        return anyEvent(event);
    }
    __dragging = true;
    VRLSliceEditWidgetMediatorCreationDelegate::mouseMoveEvent(event);
    __dragging = false;
    if (acts() && event->buttons() == Qt::LeftButton)
        seedAtEnd();
}

} // namespace vorlen
