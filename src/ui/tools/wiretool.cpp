#include "ui/tools/wiretool.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include <QMouseEvent>
#include <QVBoxLayout>

#include "document/model.h"
#include "editing/operations/contouroperations.h"
#include "editing/operations/outlineshape.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "snake/snakeframe.h"
#include "ui/tools/optionslider.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

constexpr double spurWidth = 1; // pixels

} // namespace

int WireTool::__reach = 400;
int WireTool::__thinning = 1;

void WireTool::setReach(int reach) {
    __reach = std::clamp(reach, 20, 2000);
}

void WireTool::setThinning(int thinning) {
    __thinning = std::clamp(thinning, 0, 20);
}

QWidget* WireTool::newWireOptions(QWidget* parent) {
    auto* const options = new QWidget(parent);
    auto* const reach = new OptionSlider(
        "Reach", "How many pixels from the last click the edges are followed; a small one is faster", options);
    reach->setObjectName("wire.reach");
    reach->setRange(20, 2000);
    reach->setValue(__reach);
    auto* const thinning =
        new OptionSlider("Simplify", "How many vertices are left out; 0: none but those in line", options);
    thinning->setObjectName("wire.thinning");
    thinning->setRange(0, 20);
    thinning->setValue(__thinning);
    auto* const layout = new QVBoxLayout(options);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(reach);
    layout->addWidget(thinning);
    connect(reach, &OptionSlider::chosen, options, &WireTool::setReach);
    connect(thinning, &OptionSlider::chosen, options, &WireTool::setThinning);
    return options;
}

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
    const std::optional<ImageParts> image = host().imageParts(problem);
    const int size = item() != nullptr ? item()->getSize() : 0;
    if (!image || size == 0)
        return;
    const int column = int(std::lround(double(item()->getVertices()[size - 1][0])));
    const int row = int(std::lround(double(item()->getVertices()[size - 1][1])));
    if (column < 0 || row < 0 || column >= image->getWidth() || row >= image->getHeight())
        return;
    const WaitCursor cursor;
    Curve<float> place(2, 1, 1, 1, true);
    place[0][0] = float(column);
    place[0][1] = float(row);
    const SnakeFrame frame(image->getWidth(), image->getHeight(), 1, 1, place, __reach);
    Curve<float> corner(2, 1, 1, 1, true);
    corner[0][0] = 0.5f; // the middle of the frame's first pixel
    corner[0][1] = 0.5f;
    corner = frame.toSlice(corner);
    __firstColumn = int(std::lround(double(corner[0][0])));
    __firstRow = int(std::lround(double(corner[0][1])));
    try {
        __wire = std::make_unique<LiveWire>(frame.pixels(image->read(frame.window())));
        __wire->setSeed(row - __firstRow, column - __firstColumn);
    } catch (const FileError&) { // of a part that cannot be read the ways are straight
        __wire.reset();
        host().setHint("The image cannot be read here, so that ways are straight.");
    }
}

/// Without the last vertex that there is, up to the place. Straight where no other way is known.
WireTool::Way WireTool::wayTo(const Vector<double>& place) {
    const OutlinePoint goal = {place[0], place[1]};
    const int i = int(std::lround(place[1])) - __firstRow, j = int(std::lround(place[0])) - __firstColumn;
    if (!__wire || __straight || __dragging || i < 0 || j < 0 || i >= __wire->getNumRows() ||
        j >= __wire->getNumColumns())
        return {goal};
    Outline outline;
    for (const auto& [y, x] : __wire->edge(i, j))
        outline.push_back({x + __firstColumn, y + __firstRow});
    const Vertices<double>& vertices = item()->getVertices();
    const int size = item()->getSize();
    outline.front() = {vertices[size - 1][0], vertices[size - 1][1]};
    if (outline.size() == 1)
        return {goal};
    outline.back() = goal;
    const ItemVertices thin = decimatedContour(verticesOf(outline, false), false, __thinning);
    Way way;
    way.reserve(std::size_t(thin.getNumVertices()));
    for (int k = 1; k < thin.getNumVertices(); ++k)
        way.push_back({thin[k][0], thin[k][1]});
    return way;
}

void WireTool::append(const Way& way) {
    for (const OutlinePoint& place : way) {
        const ItemVertex vertex = itemVertex(place);
        const int size = item()->getSize();
        if (size == 0 || item()->getVertices()[size - 1] != vertex)
            item()->appendVertex(vertex);
    }
}

void WireTool::appendVertex(const QPoint& position) {
    if (!acts() || !isOnImage(imagePoint(position)))
        return;
    const Vector<double> place = vertexAt(position);
    const int before = item()->getSize();
    append(before == 0 ? Way{{place[0], place[1]}} : wayTo(place));
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
        Way way = wayTo(Vector<double>(item()->getVertices()[0]));
        if (!way.empty())
            way.pop_back(); // the first vertex itself
        append(way);
        // A click beside the edge was reached from it and left to it on the same way.
        if (item()->getSize() > 3)
            item()->setVertices(withoutSpurs(item()->getVertices(), spurWidth));
    }
    VRLSliceEditWidgetMediatorCreationDelegate::apply();
}

void WireTool::showWayTo(const QPoint& position) {
    if (!isOnImage(imagePoint(position)) || item()->getSize() == 0 || isPointSet())
        return;
    __shown = std::make_unique<ModelItem>(*item());
    for (const OutlinePoint& place : wayTo(vertexAt(position)))
        __shown->appendVertex(itemVertex(place));
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
