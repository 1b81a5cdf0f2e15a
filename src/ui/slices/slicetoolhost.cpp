#include "ui/slices/slicetoolhost.h"

#include <cmath>
#include <utility>

#include "images/sections/tiledsection.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"

namespace vorlen {

QWidget& SliceToolHost::canvas() const {
    return __mediator.getCanvas();
}

StackSlice* SliceToolHost::slice() const {
    return __mediator.getSlice();
}

std::optional<ImageParts> SliceToolHost::imageParts(QString& problem) const {
    const VRLImageProxy& proxy = __mediator.getImageProxy();
    if (proxy.hasImage() && !proxy.isOverview())
        return ImageParts(proxy.getImage());
    if (std::shared_ptr<TiledSection> section = __mediator.getCanvas().getSection();
        section != nullptr && !section->getLevels().empty())
        return ImageParts(std::move(section));
    if (proxy.hasFailed())
        problem = proxy.getFailure();
    else
        problem = proxy.isEmpty() ? "This slice has no image."
                                  : "The image of this slice is still being read. Try again then.";
    return std::nullopt;
}

Vector<int> SliceToolHost::imagePoint(const QPoint& position) const {
    return __mediator.getCanvas().convertToVectori(position);
}

// A position stands for the middle of the canvas's pixel.
QPointF SliceToolHost::exactImagePoint(const QPointF& position) const {
    const VRLSliceEditWidgetCanvas& canvas = __mediator.getCanvas();
    const double middle = 0.5 / canvas.devicePixelRatioF();
    return canvas.convertToImagePoint(position + QPointF(middle, middle)) - QPointF(0.5, 0.5);
}

// To hundredths: finer than a hand at any zoom, and short in a file.
Vector<double> SliceToolHost::vertexAt(const QPointF& position) const {
    constexpr double parts = 100;
    const VRLSliceEditWidgetCanvas& canvas = __mediator.getCanvas();
    Vector<double> point = imagePoint(position.toPoint()).toType<double>();
    const QPointF place = exactImagePoint(position);
    const auto zoom = double(canvas.getZoomFactor());
    if (zoom * double(canvas.betaWidth()) > 1)
        point[0] = std::round(place.x() * parts) / parts;
    if (zoom * double(canvas.betaHeight()) > 1)
        point[1] = std::round(place.y() * parts) / parts;
    return point;
}

bool SliceToolHost::isOnImage(const Vector<int>& pixel) const {
    const VRLImageProxy& proxy = __mediator.getImageProxy();
    return !proxy.isEmpty() && QRect(QPoint(0, 0), proxy.getOriginalImageSize()).contains(pixel[0], pixel[1]);
}

QPointF SliceToolHost::canvasPosition(const Vector<double>& place) const {
    return __mediator.getCanvas().convertToPosition(QPointF(place[0] + 0.5, place[1] + 0.5));
}

float SliceToolHost::zoom() const {
    return __mediator.getCanvas().getZoomFactor();
}

void SliceToolHost::setPreview(ModelItem* item) {
    __mediator.getCanvas().setExtraItem(item);
}

void SliceToolHost::setRubberLine(const QLineF* line) {
    __mediator.getCanvas().setRubberLine(line);
}

void SliceToolHost::setNote(const CanvasNote* note) {
    __mediator.getCanvas().setNote(note);
}

void SliceToolHost::setHint(const QString& text) {
    __mediator.setHint(text);
}

void SliceToolHost::setRestingHint() {
    __mediator.setRestingHint();
}

void SliceToolHost::setEditMode(const QString& word) {
    if (VRLSliceEditWidgetStatusBar* const statusBar = __mediator.getStatusBar())
        statusBar->setEditModeInfo(word);
}

void SliceToolHost::requestLock(bool on) {
    __mediator.requestLock(on);
}

void SliceToolHost::selectionChanged() {
    __mediator.updateSelection();
}

ModelViews& SliceToolHost::modelViews() const {
    return __mediator.modelViews();
}

void SliceToolHost::begin(const char* command, const Model& model, QEvent& input) {
    __mediator.begin(command, model, input);
}

bool SliceToolHost::isChosen(const char* command) const {
    return __mediator.getChosenTool() == command;
}

void SliceToolHost::leaveTool() {
    __mediator.chooseSelection();
}

QAction& SliceToolHost::cancelCommand() const {
    return __mediator.getCancelCommand();
}

void SliceToolHost::showSlice(StackSlice& slice) {
    __mediator.requestSlice(slice);
}

ProgressMonitor& SliceToolHost::monitor() const {
    return __mediator;
}

void SliceToolHost::toolStarts(VRLSliceEditWidgetMediatorDelegate& tool) {
    __mediator.toolStarts(tool);
}

void SliceToolHost::toolEnds(VRLSliceEditWidgetMediatorDelegate& tool) {
    __mediator.toolEnds(tool);
}

} // namespace vorlen
