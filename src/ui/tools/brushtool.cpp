#include "ui/tools/brushtool.h"

#include <algorithm>
#include <cmath>

#include <QCursor>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QWidget>

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/models/modelviews.h"
#include "ui/tools/optionslider.h"
#include "ui/tools/startingtool.h"

namespace vorlen {

double BrushTool::__radius = 12;

BrushTool::BrushTool(ToolHost& host) : VRLSliceEditWidgetMediatorDelegate(host) {
}

BrushTool::~BrushTool() = default;

void BrushTool::activate() {
    VRLSliceEditWidgetMediatorDelegate::activate();
    updateCursor();
}

void BrushTool::deactivate() {
    giveUp();
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    canvas().unsetCursor();
    host().setRestingHint();
}

void BrushTool::cancel() {
    if (__model != nullptr)
        giveUp();
    else if (isActive())
        host().leaveTool();
}

void BrushTool::abandon() {
    if (isActive())
        deactivate();
}

void BrushTool::modelGone(const Model& model) {
    if (&model == __model)
        giveUp();
}

QString BrushTool::restingHint(const StackSliceSelectionInfo&) const {
    const Model* const model = host().modelViews().getCurrent();
    if (model == nullptr)
        return "Make a model first: \"New model\" in the panel of models.";
    return "Model " + QString::fromStdString(model->getName()) +
           ". Drag: paint. Ctrl+drag: erase. [ and ]: smaller and larger brush. Escape: done.";
}

void BrushTool::setRadius(double radius) {
    __radius = std::clamp(radius, 1.0, 200.0);
    if (isActive())
        updateCursor();
    emit optionsChanged();
}

QWidget* BrushTool::newOptions(QWidget* parent) {
    auto* const size =
        new OptionSlider("Size", "How wide the brush is on the screen. Keys: [ smaller, ] larger", parent);
    size->setObjectName("brush.size");
    size->setRange(2, 400);
    size->setValue(int(std::lround(2 * __radius)));
    connect(size, &OptionSlider::chosen, this, [this](int value) { setRadius(value / 2.0); });
    connect(this, &BrushTool::optionsChanged, size, [size] { size->setValue(int(std::lround(2 * __radius))); });
    return size;
}

/// A circle of the brush's size, black and white so that it is seen on every image.
void BrushTool::updateCursor() {
    const int size = 2 * int(std::ceil(__radius)) + 5;
    QPixmap picture(size, size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF middle(size / 2.0, size / 2.0); // size is odd
    painter.setPen(QPen(Qt::black, 3));
    painter.drawEllipse(middle, __radius, __radius);
    painter.setPen(QPen(Qt::white, 1));
    painter.drawEllipse(middle, __radius, __radius);
    painter.drawPoint(middle);
    painter.end();
    canvas().setCursor(QCursor(picture, size / 2, size / 2));
}

void BrushTool::giveUp() {
    if (__model == nullptr)
        return;
    __model = nullptr;
    __everyMove.reset();
    host().setPreview(nullptr);
    __preview.reset();
    host().requestLock(false);
    canvas().update();
}

void BrushTool::begin(QMouseEvent& event) {
    if (!acts() || event.buttons() != Qt::LeftButton || stack() == nullptr || __model != nullptr)
        return anyEvent(&event);
    event.accept();
    Model* const model = modelToDraw(host());
    if (model == nullptr)
        return;
    if (!model->getProperties().definesGeometry() || model->getProperties().getGeometry() != PolygonPrimitive)
        return host().setHint("The brush paints models of closed outlines alone.");
    __erasing = (event.modifiers() & Qt::ControlModifier) != 0;
    const double aspect = double(slice()->getPixelCalibration().getAspectRatio());
    __stroke = BrushStroke();
    __stroke.aspect = aspect > 0 && std::isfinite(aspect) ? aspect : 1;
    // The longer side of a pixel is as many units of the canvas as the zoom tells.
    __stroke.radius = __radius / double(host().zoom()) * std::max(1.0, __stroke.aspect);
    __model = model;
    __everyMove = std::make_unique<EveryMove>();
    __preview = std::make_unique<ModelItem>();
    __preview->setModel(model);
    __preview->setSlice(slice());
    host().setPreview(__preview.get());
    host().requestLock(true);
    addPoint(event);
}

void BrushTool::addPoint(const QMouseEvent& event) {
    const QPointF point = host().exactImagePoint(event.position());
    __stroke.points.push_back({point.x(), point.y()});
    const std::vector<Outline> outlines = paintedOutlines(*slice(), *__model, __stroke, __erasing);
    __preview->setVertices(outlines.empty() ? ItemVertices(2, 0, 0, 1) : verticesOf(outlines.front(), true));
    canvas().update();
}

void BrushTool::mousePressEvent(QMouseEvent* event) {
    begin(*event);
}

void BrushTool::mouseDoubleClickEvent(QMouseEvent* event) {
    begin(*event);
}

void BrushTool::mouseMoveEvent(QMouseEvent* event) {
    if (!acts() || __model == nullptr)
        return anyEvent(event);
    event->accept();
    if (event->buttons() & Qt::LeftButton)
        addPoint(*event);
    else
        giveUp(); // the release went elsewhere
}

void BrushTool::mouseReleaseEvent(QMouseEvent* event) {
    if (!acts() || __model == nullptr || event->button() != Qt::LeftButton)
        return anyEvent(event);
    event->accept();
    Model& model = *__model;
    giveUp();
    guarded(&canvas(), "The outline cannot be painted.", [&] {
        const Outcome outcome = __erasing ? eraseOutline(*stack(), *slice(), model, __stroke)
                                          : paintOutline(*stack(), *slice(), model, __stroke);
        if (!outcome)
            host().setHint(QString::fromStdString(outcome.getReason()) + ".");
    });
}

} // namespace vorlen
