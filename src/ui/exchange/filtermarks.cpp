#include "ui/exchange/filtermarks.h"

#include <cmath>

#include <QApplication>
#include <QEvent>
#include <QPainter>
#include <QPolygonF>

#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "reconstruction/stackreconstruction.h"
#include "ui/scenes/vrlrenderingmediator.h"
#include "ui/scenes/vrlrenderingwindow.h"
#include "ui/slices/vrlslicewidget.h"
#include "ui/slices/vrlslicewidgetcanvas.h"
#include "ui/viewer/shapepainterattributesgl.h"
#include "ui/viewer/viewercanvasgl.h"

namespace vorlen {

namespace {

const QColor markColour(255, 0, 255);

} // namespace

FilterMarks::FilterMarks(VRLSliceWidget& widget) : QWidget(&widget.getCanvas()), __widget(widget) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    widget.getCanvas().installEventFilter(this);
    connect(&widget, &VRLImageWidget::viewChanged, this, qOverload<>(&QWidget::update));
    setGeometry(widget.getCanvas().rect());
    show();
}

void FilterMarks::setPlan(const FilterPlan& plan) {
    __plan = plan.isEmpty() ? nullptr : &plan;
    update();
}

bool FilterMarks::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::Resize)
        setGeometry(__widget.getCanvas().rect());
    return QWidget::eventFilter(object, event);
}

void FilterMarks::paintEvent(QPaintEvent*) {
    __numCrosses = 0;
    const VRLSliceWidgetCanvas& canvas = __widget.getCanvas();
    const StackSlice* const slice = canvas.getSlice();
    if (__plan == nullptr || slice == nullptr)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPolygonF crosses;
    for (const FilterPlan::Loss& loss : __plan->losses) {
        if (loss.item->getSlice() != slice)
            continue;
        QPolygonF outline;
        for (int i = 0; i < loss.item->getSize(); ++i) {
            const Vector<double>& vertex = loss.item->getVertices()[i];
            const QPointF place = canvas.convertToPosition(QPointF(vertex[0] + 0.5, vertex[1] + 0.5));
            if (loss.isWhole())
                outline.append(place);
            if (loss.vertices.isSelected(i) && QRectF(rect()).adjusted(-5, -5, 5, 5).contains(place))
                crosses.append(place);
        }
        if (loss.isWhole() && loss.item->isConnected()) {
            painter.setPen(QPen(markColour, 2, Qt::DashLine));
            loss.item->isClosed() ? painter.drawPolygon(outline) : painter.drawPolyline(outline);
        }
    }
    QVector<QLineF> lines;
    lines.reserve(2 * crosses.size());
    for (const QPointF& place : crosses) {
        lines.append(QLineF(place - QPointF(3.5, 3.5), place + QPointF(3.5, 3.5)));
        lines.append(QLineF(place - QPointF(3.5, -3.5), place + QPointF(3.5, -3.5)));
    }
    painter.setPen(QPen(Qt::white, 3.5));
    painter.drawLines(lines);
    painter.setPen(QPen(markColour, 1.8));
    painter.drawLines(lines);
    __numCrosses = int(crosses.size());
}

FilterSceneMarks::FilterSceneMarks(const VRLStack& stack) : __stack(stack) {
    ShapePainterAttributesGL attributes;
    Vector<int> colour(3);
    colour[0] = markColour.red();
    colour[1] = markColour.green();
    colour[2] = markColour.blue();
    attributes.setColor(colour);
    attributes.setSymbolSize(5);
    __painter.setAttributes(attributes);
}

FilterSceneMarks::~FilterSceneMarks() {
    hide();
}

void FilterSceneMarks::setPlan(const FilterPlan& plan) {
    hide();
    const StackReconstruction<float> space(__stack);
    __dots = Vertices<float>(3, 0, int(plan.numVertices()), 1);
    for (const FilterPlan::Loss& loss : plan.losses) {
        const int slice = loss.item->getSlice() != nullptr ? __stack.findSlice(*loss.item->getSlice()) : -1;
        for (int i = 0; slice >= 0 && i < loss.item->getSize(); ++i)
            if (loss.vertices.isSelected(i)) {
                const Vector<double>& vertex = loss.item->getVertices()[i];
                const Vector<float> plane = space.toWorld(slice, float(vertex[0]), float(vertex[1]));
                Vector<float> place(3);
                place[0] = plane[0];
                place[1] = plane[1];
                place[2] = space.getZMap()[slice];
                if (std::isfinite(place[0]) && std::isfinite(place[1]) && std::isfinite(place[2]))
                    __dots.append(place);
            }
    }
    if (__dots.getNumVertices() > 0)
        show();
}

void FilterSceneMarks::show() {
    __painter.setShape(__dots);
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* const window = qobject_cast<VRLRenderingWindow*>(widget))
            if (window->getMediator().getStack() == &__stack) {
                window->getCanvas().addPainter(__painter);
                window->getCanvas().update();
            }
}

// Also from windows that show another stack by now.
void FilterSceneMarks::hide() {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* const window = qobject_cast<VRLRenderingWindow*>(widget)) {
            window->getCanvas().removePainter(__painter);
            window->getCanvas().update();
        }
}

} // namespace vorlen
