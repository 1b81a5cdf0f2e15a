#include "ui/cuts/cutspanel.h"

#include <algorithm>
#include <cmath>

#include <QMouseEvent>
#include <QPainter>

#include "document/stackslice.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/modelviews.h"
#include "ui/session/crosshair.h"
#include "ui/slices/crosshairlines.h"

namespace vorlen {

namespace {

constexpr int margin = 8;
constexpr int heading = 18;  // pixels above a cut
constexpr int laterBy = 100; // milliseconds
constexpr double pointSize = 3;

double lengthOf(double from, double to) {
    return std::isfinite(to - from) ? std::max(1e-9, to - from) : 1;
}

/// How many pixels a unit of length has in two cuts of these widths and of this height that stand side by side, or one
/// above the other, in an area. The height counts only where the cuts are not stretched.
double scaleFor(const QSize& area, const double* widths, double height, bool beside, bool stretched) {
    const double width = beside ? widths[0] + widths[1] : std::max(widths[0], widths[1]);
    const double room = beside ? area.width() - 3 * margin : area.width() - 2 * margin;
    const double tall = beside ? area.height() - heading - margin : (area.height() - 2 * heading - 2 * margin) / 2.0;
    const double across = room / width;
    return std::max(0.0, stretched ? across : std::min(across, tall / height));
}

} // namespace

CutsPanel::CutsPanel(const ModelViews& views, QWidget* parent) : QWidget(parent), __views(views) {
    setMinimumSize(160, 120);
    setAccessibleName("Cuts through the stack");
    setToolTip("Cuts through the stack at the crosshair. Press or drag to go to a slice and a place.");
    __later.setSingleShot(true);
    __later.setInterval(laterBy);
    connect(&__later, &QTimer::timeout, this, &CutsPanel::refresh);
    connect(&__pictures, &SectionPictures::pictureRead, this, &CutsPanel::changeLater);
    connect(&__pictures, &SectionPictures::finished, this, [this] {
        readMissing();
        refresh();
    });
    connect(&__views, &ModelViews::changed, this, &CutsPanel::refresh);
    connect(&Crosshair::crosshair(), &Crosshair::placeChanged, this, [this](const VRLStack* stack) {
        if (stack == __stack)
            refresh();
    });
}

CutsPanel::~CutsPanel() = default;

QSize CutsPanel::sizeHint() const {
    return {420, 240};
}

void CutsPanel::setStack(VRLStack* stack) {
    if (stack != __stack)
        __pictures.forget();
    __stack = stack;
    __slice = nullptr;
    readMissing();
    refresh();
}

void CutsPanel::setSlice(const StackSlice* slice) {
    __slice = slice;
    update();
}

void CutsPanel::setStretched(bool stretched) {
    if (stretched == __stretched)
        return;
    __stretched = stretched;
    refresh();
    emit stretchedChanged(stretched);
}

bool CutsPanel::isComplete() const {
    return __stack != nullptr && __pictures.isComplete(*__stack);
}

/// Only what can be seen is read.
void CutsPanel::readMissing() {
    if (__stack != nullptr && isVisible())
        __pictures.readMissing(*__stack);
}

void CutsPanel::forgetPictures() {
    __pictures.forget();
    readMissing();
    refresh();
}

void CutsPanel::refresh() {
    __old = true;
    update();
}

/// Those that come at short intervals make one change.
void CutsPanel::changeLater() {
    if (!__later.isActive())
        __later.start();
}

/// Where the cuts run.
SpacePlace CutsPanel::place() const {
    if (__stack != nullptr)
        if (const auto chosen = Crosshair::crosshair().placeIn(*__stack))
            return *chosen;
    SpacePlace middle{(__frame.from[0] + __frame.to[0]) / 2, -(__frame.from[1] + __frame.to[1]) / 2};
    middle.slice = std::max(0, __stack == nullptr || __slice == nullptr ? -1 : __stack->findSlice(*__slice));
    return middle;
}

/// Side by side or one above the other, whichever shows more.
void CutsPanel::layOut() {
    const double widths[] = {lengthOf(__frame.from[0], __frame.to[0]), lengthOf(__frame.from[1], __frame.to[1])};
    const double height = lengthOf(__heights.from(), __heights.to());
    const double besideScale = scaleFor(size(), widths, height, true, __stretched);
    const double aboveScale = scaleFor(size(), widths, height, false, __stretched);
    const bool beside = __stretched ? 2 * width() >= 3 * this->height() : besideScale >= aboveScale;
    const double scale = beside ? besideScale : aboveScale;
    const int room = beside ? this->height() - heading - margin : (this->height() - 2 * heading - 2 * margin) / 2;
    const int tall = std::max(1, __stretched ? room : int(std::lround(scale * height)));
    for (int which = 0; which < 2; ++which) {
        const int wide = std::max(1, int(std::lround(scale * widths[which])));
        const int left = beside && which == 1 ? __rects[0].right() + 1 + margin : margin;
        const int top = heading + (!beside && which == 1 ? __rects[0].bottom() + 1 + margin : 0);
        __rects[which] = QRect(left, top, wide, tall);
    }
}

// A row of the picture is one of the slice that it lies in.
void CutsPanel::updateCuts() {
    __frame = cutFrameOf(*__stack, [this](const StackSlice& slice) { return __pictures.pictureOf(slice); });
    __heights = CutHeights(*__stack);
    layOut();
    // Whole numbers are the middles of pixels for what is drawn on them.
    for (int i = 0; i < __stack->getNumSlices(); ++i) {
        const PixelCalibration& pixel = __stack->getSlice(i).getPixelCalibration();
        const RigidMotion half{0, -0.5 * double(pixel.getPixelWidth()), -0.5 * double(pixel.getPixelHeight())};
        CutSection& section = __frame.sections[std::size_t(i)];
        if (half.isFinite())
            section.place = section.place * half;
    }
    const SpacePlace at = place();
    for (int which = 0; which < 2; ++which) {
        const int rows = __rects[which].height();
        std::vector<CutSection> sections;
        sections.reserve(std::size_t(rows));
        for (int row = 0; row < rows; ++row) {
            const double z = __heights.from() + (row + 0.5) / rows * (__heights.to() - __heights.from());
            const int slice = __heights.sliceAt(z);
            sections.push_back(slice < 0 ? CutSection() : __frame.sections[std::size_t(slice)]);
        }
        __at[which] = along(1 - which, at);
        __cuts[which] = cutThrough(sections, which == 0, __at[which], __frame.from[which], __frame.to[which],
                                   __rects[which].width());
        __crossings[which] = crossingsOf(*__stack, which == 0, __at[which],
                                         [this](const ModelItem& item) { return __views.isShown(item); });
    }
    __old = false;
}

QRect CutsPanel::cutRect(int which) const {
    return __rects[which];
}

QPointF CutsPanel::positionOf(int which, const SpacePlace& place) const {
    const QRectF rect(__rects[which]);
    const double x = (along(which, place) - __frame.from[which]) / lengthOf(__frame.from[which], __frame.to[which]);
    const double height = __heights.positionOf(place.slice);
    const double z = (height - __heights.from()) / lengthOf(__heights.from(), __heights.to());
    return {rect.left() + x * rect.width(), rect.bottom() - z * rect.height()};
}

std::optional<SpacePlace> CutsPanel::placeAt(const QPoint& position) const {
    for (int which = 0; which < 2; ++which) {
        const QRect& rect = __rects[which];
        if (__stack == nullptr || !rect.contains(position))
            continue;
        const double x = __frame.from[which] +
                         (position.x() + 0.5 - rect.left()) / rect.width() * (__frame.to[which] - __frame.from[which]);
        const double z =
            __heights.to() - (position.y() + 0.5 - rect.top()) / rect.height() * (__heights.to() - __heights.from());
        const int slice = __heights.sliceAt(z);
        if (slice < 0)
            continue;
        const double height = double(__stack->getSlice(slice).getAbsolutePosition());
        return which == 0 ? SpacePlace{x, -__at[0], height, slice} : SpacePlace{__at[1], -x, height, slice};
    }
    return std::nullopt;
}

void CutsPanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (__stack == nullptr || __stack->getNumSlices() == 0)
        return;
    if (__old)
        updateCuts();
    for (int which = 0; which < 2; ++which)
        paintCut(painter, which);
    if (!isComplete()) {
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(rect().adjusted(margin, 0, -margin, -2), Qt::AlignRight | Qt::AlignBottom,
                         "Reading the images...");
    }
}

void CutsPanel::paintCut(QPainter& painter, int which) const {
    const QRect& rect = __rects[which];
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(QRect(rect.left(), rect.top() - heading, std::max(rect.width(), 120), heading),
                     Qt::AlignLeft | Qt::AlignVCenter, which == 0 ? "XZ" : "YZ");
    painter.fillRect(rect, palette().base());
    painter.drawImage(rect, __cuts[which]);
    painter.save();
    painter.setClipRect(rect);
    for (const CutPoint& point : __crossings[which]) {
        const SpacePlace place{point.along, -point.along, 0, point.slice};
        const QPointF at = positionOf(which, place);
        painter.fillRect(QRectF(at.x() - pointSize / 2, at.y() - pointSize / 2, pointSize, pointSize),
                         QColor(point.color));
    }
    painter.restore();
    SpacePlace shown = place();
    shown.slice = __slice == nullptr ? nearestSlice(*__stack, shown) : std::max(0, __stack->findSlice(*__slice));
    paintCrosshair(painter, QRectF(rect), positionOf(which, shown), false);
}

void CutsPanel::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    __old = true;
}

void CutsPanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    readMissing();
}

void CutsPanel::choose(const QPoint& position) {
    if (__stack != nullptr && __stack->getNumSlices() > 0 && __old)
        updateCuts(); // slices may have come and gone since they were painted
    if (const auto chosen = placeAt(position))
        emit placeChosen(*chosen);
}

void CutsPanel::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        choose(event->position().toPoint());
}

void CutsPanel::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() == Qt::LeftButton)
        choose(event->position().toPoint());
}

void CutsPanel::stackCloseEvent(VRLStackCloseEvent& event) {
    if (__stack != nullptr && event.getStack() == __stack)
        setStack(nullptr);
}

void CutsPanel::stackRegistrationEvent(VRLStackRegistrationEvent&) {
    changeLater();
}

void CutsPanel::stackSliceSpacingEvent(VRLStackSliceSpacingEvent&) {
    changeLater();
}

void CutsPanel::stackImageCalibrationEvent(VRLStackImageCalibrationEvent&) {
    changeLater();
}

/// At once, as the slice may be deleted any time from now on.
void CutsPanel::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (__stack == nullptr || &action.getStack() != __stack)
        return;
    if (action.getSlice() == __slice)
        __slice = nullptr;
    forgetPictures();
}

void CutsPanel::sliceImageSourceEvent(VRLSliceImageSourceEvent& event) {
    if (__stack != nullptr && event.getSlice() != nullptr && event.getSlice()->getStack() == __stack)
        forgetPictures();
}

void CutsPanel::modelCreateEvent(VRLModelCreateEvent&) {
    changeLater();
}

void CutsPanel::modelDeleteEvent(VRLModelDeleteEvent&) {
    changeLater();
}

void CutsPanel::modelPropertiesEvent(VRLModelPropertiesEvent&) {
    changeLater();
}

void CutsPanel::modelItemCreateEvent(VRLModelItemCreateEvent&) {
    changeLater();
}

void CutsPanel::modelItemDeleteEvent(VRLModelItemDeleteEvent&) {
    changeLater();
}

void CutsPanel::modelItemVertexEvent(VRLModelItemVertexEvent&) {
    changeLater();
}

void CutsPanel::modelItemAttributeEvent(VRLModelItemAttributeEvent&) {
    changeLater();
}

void CutsPanel::modelItemConvertEvent(VRLModelItemConvertEvent&) {
    changeLater();
}

} // namespace vorlen
