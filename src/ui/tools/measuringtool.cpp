#include "ui/tools/measuringtool.h"

#include <cmath>

#include <QMouseEvent>
#include <QWidget>
#include <QtMath>

#include "document/stack.h"
#include "document/stackslice.h"

namespace vorlen {

namespace {

constexpr double reach = 8; // units of the canvas

bool isSize(float value) {
    return value > 0 && std::isfinite(value);
}

QString lengthText(const StackSlice& slice, const SliceDistance& distance) {
    const QString number = QString::number(distance.length, 'g', 5);
    if (!distance.calibrated || slice.getStack() == nullptr)
        return number + " pixels";
    return number + ' ' + QString::fromStdString(slice.getStack()->getLengthUnit().symbol());
}

/// From one place to the other, along columns and upwards.
QPointF wayOn(const StackSlice& slice, const QPointF& from, const QPointF& to) {
    const PixelCalibration& calibration = slice.getPixelCalibration();
    const bool calibrated = isSize(calibration.getPixelWidth()) && isSize(calibration.getPixelHeight());
    return {(to.x() - from.x()) * (calibrated ? double(calibration.getPixelWidth()) : 1),
            (from.y() - to.y()) * (calibrated ? double(calibration.getPixelHeight()) : 1)};
}

} // namespace

SliceDistance distanceOn(const StackSlice& slice, const QPointF& from, const QPointF& to) {
    const PixelCalibration& calibration = slice.getPixelCalibration();
    const QPointF way = wayOn(slice, from, to);
    SliceDistance distance;
    distance.length = std::hypot(way.x(), way.y());
    distance.degrees = distance.length > 0 ? qRadiansToDegrees(std::atan2(way.y(), way.x())) : 0;
    distance.calibrated = isSize(calibration.getPixelWidth()) && isSize(calibration.getPixelHeight());
    return distance;
}

double angleOn(const StackSlice& slice, const QPointF& from, const QPointF& at, const QPointF& to) {
    const QPointF a = wayOn(slice, at, from), b = wayOn(slice, at, to);
    return qRadiansToDegrees(std::abs(std::atan2(a.x() * b.y() - a.y() * b.x(), a.x() * b.x() + a.y() * b.y())));
}

void MeasuringTool::deactivate() {
    forget();
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    host().setRestingHint();
}

void MeasuringTool::cancel() {
    if (!__note.line.empty())
        forget();
    else if (isActive())
        host().leaveTool();
}

void MeasuringTool::abandon() {
    if (isActive())
        deactivate();
}

QString MeasuringTool::restingHint(const StackSliceSelectionInfo&) const {
    return "Drag: measure a distance. Drag on from its end: measure the angle. Escape: done.";
}

void MeasuringTool::forget() {
    __note = CanvasNote();
    __dragging = false;
    host().setNote(nullptr);
}

/// Two quick presses are two.
void MeasuringTool::mouseDoubleClickEvent(QMouseEvent* event) {
    mousePressEvent(event);
}

void MeasuringTool::mousePressEvent(QMouseEvent* event) {
    if (!acts() || event->buttons() != Qt::LeftButton)
        return anyEvent(event);
    event->accept();
    const QPointF point = host().exactImagePoint(event->position());
    const bool goesOn =
        __note.line.size() == 2 &&
        std::hypot(point.x() - __note.line[1].x(), point.y() - __note.line[1].y()) * double(host().zoom()) <= reach;
    if (!goesOn)
        __note.line = {point};
    __note.line.push_back(point);
    __dragging = true;
    follow(*event);
}

void MeasuringTool::follow(const QMouseEvent& event) {
    std::vector<QPointF>& line = __note.line;
    line.back() = host().exactImagePoint(event.position());
    const SliceDistance distance = distanceOn(*slice(), line[line.size() - 2], line.back());
    const QString degree = QString::fromUtf8("°");
    __note.text = line.size() == 3
                      ? QString::number(angleOn(*slice(), line[0], line[1], line[2]), 'f', 1) + degree
                      : lengthText(*slice(), distance) + "  " + QString::number(distance.degrees, 'f', 1) + degree;
    host().setNote(&__note);
    host().setHint(line.size() == 3 ? "Angle: " + __note.text
                                    : "Distance: " + lengthText(*slice(), distance) + ", " +
                                          QString::number(distance.degrees, 'f', 1) + degree + " from the rows.");
}

void MeasuringTool::mouseMoveEvent(QMouseEvent* event) {
    if (!acts() || !__dragging)
        return anyEvent(event);
    event->accept();
    if (event->buttons() & Qt::LeftButton)
        follow(*event);
    else
        __dragging = false; // the release went elsewhere
}

void MeasuringTool::mouseReleaseEvent(QMouseEvent* event) {
    if (!acts() || !__dragging || event->button() != Qt::LeftButton)
        return anyEvent(event);
    event->accept();
    follow(*event);
    __dragging = false;
    const QPointF& first = __note.line[__note.line.size() - 2];
    if (first == __note.line.back())
        forget(); // a click
}

} // namespace vorlen
