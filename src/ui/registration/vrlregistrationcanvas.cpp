#include "ui/registration/vrlregistrationcanvas.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QMouseEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScreen>
#include <QTimer>
#include <QWheelEvent>

#include "document/modelitem.h"
#include "document/stackslice.h"
#include "images/rasters/image.h"
#include "numerics/maths.h"
#include "ui/cuts/greyimage.h"
#include "ui/slices/vrlpainter.h"

namespace vorlen {

namespace {

constexpr double degreesOfRadian = 180 / 3.14159265358979323846;
constexpr int blinkInterval = 500; // ms

/// A size of a pixel, which may come from a file with any number.
double pixelSize(float size) {
    return std::isfinite(size) && size > 0 ? double(size) : 1;
}

/// A thousandth of an image pixel is finer than any hand.
double toThousandth(double shift) {
    return std::round(shift * 1000) / 1000 + 0.0;
}

/// Whole tenths of a degree, and no more than the angle.
double actualAngle(double angle) {
    return std::floor(angle * 10 + 1e-6) / 10;
}

QRect imageRectangle(const StackSlice& slice) {
    if (slice.isEmpty())
        return {};
    return QRect(0, 0, slice.getImageSource().getSize2(), slice.getImageSource().getSize1());
}

/// Width and height of a section, in the length unit.
QSizeF physicalSize(const StackSlice& slice) {
    const QRect image = imageRectangle(slice);
    return {image.width() * pixelSize(slice.getPixelCalibration().getPixelWidth()),
            image.height() * pixelSize(slice.getPixelCalibration().getPixelHeight())};
}

/// Length units that a pixel of the display stands for, so that this size takes that share of the desktop, in percent.
double physicalRatio(const QSizeF& size, const QSize& desktop, unsigned int scale) {
    const double ratio = std::max(size.width() / std::round(desktop.width() * (scale * 0.01)),
                                  size.height() / std::round(desktop.height() * (scale * 0.01)));
    return ratio > 0 ? ratio : 1;
}

QPolygonF midpointLine(const QPoint& a, const QPoint& b, const QPoint& c, const QPoint& d) {
    const auto middle = [](const QPoint& p, const QPoint& q) {
        return QPointF(Maths::fround((p.x() + q.x()) * 0.5), Maths::fround((p.y() + q.y()) * 0.5));
    };
    return QPolygonF({middle(a, b), middle(c, d)});
}

/// Where the middle lies in a rectangle at the origin, at a whole place of the screen.
QPointF middleOf(const QRect& rectangle) {
    return QPoint(rectangle.width() / 2, rectangle.height() / 2);
}

} // namespace

VRLRegistrationCanvas::VRLRegistrationCanvas(QWidget* parent) : QFrame(parent) {
    setFrameStyle(QFrame::Box | QFrame::Plain);
    setContentsMargins(10, 10, 10, 10);
    setMinimumSize(200, 150);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName("Slice over the one before it");
    __blinkTimer = new QTimer(this);
    __blinkTimer->setInterval(blinkInterval);
    connect(__blinkTimer, &QTimer::timeout, this, [this] {
        setComparison(__comparison == SectionComparison::Foreground ? SectionComparison::Background
                                                                    : SectionComparison::Foreground);
    });
}

VRLRegistrationCanvas::~VRLRegistrationCanvas() = default;

void VRLRegistrationCanvas::setSlice(StackSlice& slice) {
    __foregroundSlice = &slice;
    __backgroundSlice = &slice.prevSlice();
    __landmarks.clear();
    __modelRegistration = Registration();
    updateImages();
    setRegistration(slice.getRegistration());
}

void VRLRegistrationCanvas::setRegistration(const Registration& registration) {
    __modelRegistration = toModel(registration);
    __rotationAngle = double(__modelRegistration.getRotationAngle());
    changed();
}

void VRLRegistrationCanvas::setScale(unsigned int scale) {
    const Registration registration = toWorld(__modelRegistration);
    __scale = scale;
    updateImages();
    __modelRegistration = toModel(registration);
    changed();
}

void VRLRegistrationCanvas::setTransparencyMode(ImageTransparencyMode mode) {
    __transparencyMap.setMode(mode);
    changed();
}

void VRLRegistrationCanvas::setFramesEnabled(bool enabled) {
    __framesEnabled = enabled;
    changed();
}

void VRLRegistrationCanvas::setCanvasMode(CanvasMode mode) {
    __canvasMode = mode;
    if (mode != ForegroundMode && (__foregroundImage == nullptr || __backgroundImage == nullptr))
        updateImages();
    changed();
}

void VRLRegistrationCanvas::setComparison(SectionComparison comparison) {
    __comparison = comparison;
    changed();
}

void VRLRegistrationCanvas::setBlinking(bool blinking) {
    if (blinking)
        __blinkTimer->start();
    else
        __blinkTimer->stop();
    setComparison(blinking ? SectionComparison::Foreground : SectionComparison::Overlay);
}

bool VRLRegistrationCanvas::isBlinking() const {
    return __blinkTimer->isActive();
}

void VRLRegistrationCanvas::clear(bool repaintNow) {
    __foregroundSlice = nullptr;
    __backgroundSlice = nullptr;
    __foregroundImage.reset();
    __backgroundImage.reset();
    __modelRegistration = Registration();
    __rotationAngle = 0;
    __landmarks.clear();
    changed();
    if (repaintNow)
        repaint();
}

void VRLRegistrationCanvas::refresh() {
    const Registration registration = toWorld(__modelRegistration);
    updateImages();
    __modelRegistration = toModel(registration);
    changed();
}

void VRLRegistrationCanvas::setEditable(bool editable) {
    __editable = editable;
}

void VRLRegistrationCanvas::setLandmarkMode(bool on) {
    __landmarkMode = on;
    setCursor(on ? Qt::CrossCursor : Qt::ArrowCursor);
}

void VRLRegistrationCanvas::setLandmarks(const std::vector<Landmark>& landmarks) {
    __landmarks = landmarks;
    update();
}

unsigned int VRLRegistrationCanvas::fittingScale(const StackSlice& slice) const {
    const QSizeF larger = physicalSize(slice).expandedTo(physicalSize(slice.prevSlice()));
    unsigned int scale = __scale;
    while (scale > 10) {
        const QSizeF shown = larger / physicalRatio(larger, screen()->size(), scale);
        if (shown.width() <= contentsRect().width() && shown.height() <= contentsRect().height())
            break;
        scale -= 10;
    }
    return scale;
}

void VRLRegistrationCanvas::updateConverters() {
    struct Side {
        const StackSlice& slice;
        VRLWMConverter& converter;
        double* step;
    };
    const Side sides[] = {{*__foregroundSlice, __foregroundConverter, __foregroundStep},
                          {*__backgroundSlice, __backgroundConverter, __backgroundStep}};
    const double ratio = physicalRatio(physicalSize(*__foregroundSlice).expandedTo(physicalSize(*__backgroundSlice)),
                                       screen()->size(), __scale);
    for (const Side& side : sides) {
        const QRect world = imageRectangle(side.slice);
        side.step[0] = pixelSize(side.slice.getPixelCalibration().getPixelWidth()) / ratio;
        side.step[1] = pixelSize(side.slice.getPixelCalibration().getPixelHeight()) / ratio;
        side.converter.setWorld(world);
        side.converter.setModel(QRect(0, 0, std::max(1, Maths::fround(world.width() * side.step[0])),
                                      std::max(1, Maths::fround(world.height() * side.step[1]))));
    }
}

void VRLRegistrationCanvas::updateImages() {
    const QScopedValueRollback updating(__updating, true);
    __foregroundImage.reset();
    __backgroundImage.reset();
    if (__foregroundSlice == nullptr || __backgroundSlice == nullptr)
        return;
    updateConverters();
    if (__canvasMode == ForegroundMode)
        return;
    __foregroundImage = loadImage(*__foregroundSlice, "foreground", __foregroundConverter);
    __backgroundImage = loadImage(*__backgroundSlice, "background", __backgroundConverter);
    notifyProgressed("");
}

std::unique_ptr<Image> VRLRegistrationCanvas::loadImage(const StackSlice& slice, const char* name,
                                                        const VRLWMConverter& converter) {
    auto image = std::make_unique<Image>();
    const auto tell = [this, name](const char* task) {
        notifyProgressed(std::string(task) + name + " slice image...");
    };
    const QRect model = converter.getModel();
    tell("Loading ");
    loadGrey(slice, *image);
    tell("Low-pass filtering ");
    smoothToSize(*image, model.width(), model.height());
    tell("Resizing ");
    resizeTo(*image, model.width(), model.height());
    return image;
}

SectionPlaces VRLRegistrationCanvas::places() const {
    return SectionPlaces(contentsRect().size(), __backgroundConverter.getModel().size(),
                         __foregroundConverter.getModel().size(), __modelRegistration.getHorShift(),
                         __modelRegistration.getVerShift(), double(__modelRegistration.getRotationAngle()));
}

void VRLRegistrationCanvas::changed() {
    __displayIsOld = true;
    update();
}

void VRLRegistrationCanvas::updateDisplay() {
    const QSize size = contentsRect().size().expandedTo(QSize(1, 1));
    if (__display.size() != size) {
        __display = QImage(size, QImage::Format_Indexed8);
        QList<QRgb> greys;
        greys.reserve(256);
        for (int grey = 0; grey < 256; ++grey)
            greys.append(qRgb(grey, grey, grey));
        __display.setColorTable(greys);
    }
    // A light palette has white around the sections, as the display: no second picture then.
    const QColor ground = palette().color(QPalette::Base);
    QImage drawn;
    if (ground != Qt::white) {
        drawn = QImage(size, QImage::Format_Indexed8);
        drawn.fill(0);
    }
    if (__canvasMode == ForegroundMode)
        __display.fill(255);
    else
        drawSections(__display, *__backgroundImage, *__foregroundImage, places(), __transparencyMap, __comparison,
                     drawn.isNull() ? nullptr : &drawn);
    __onGround = drawn.isNull() ? QImage() : onGround(__display, drawn, ground.rgb());
    __displayIsOld = false;
}

void VRLRegistrationCanvas::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setClipRect(contentsRect());
    drawImages(painter);
    painter.end();
    if (__canvasMode != BackgroundMode)
        drawItems();
    painter.begin(this);
    drawLandmarks(painter);
    painter.setPen(Qt::black);
    painter.drawRect(contentsRect().adjusted(0, 0, -1, -1));
}

void VRLRegistrationCanvas::drawImages(QPainter& painter) {
    if (__foregroundSlice == nullptr && !__updating)
        painter.drawText(contentsRect(), Qt::AlignCenter | Qt::TextWordWrap,
                         "Choose a slice in the list to lay it on the one before it");
    const bool complete =
        __foregroundSlice != nullptr && __backgroundSlice != nullptr &&
        (__canvasMode == ForegroundMode || (__foregroundImage != nullptr && __backgroundImage != nullptr));
    if (!complete || __updating)
        return;
    if (__displayIsOld)
        updateDisplay();
    painter.drawImage(contentsRect().topLeft(), __onGround.isNull() ? __display : __onGround);
    if (__framesEnabled)
        drawFrames(painter);
}

void VRLRegistrationCanvas::drawFrames(QPainter& painter) const {
    const SectionPlaces where = places();
    const QPoint corner = contentsRect().topLeft();
    const QRect background = where.backgroundFrame().translated(corner);
    painter.setPen(QPen(QColor(0, 170, 0), 1));
    painter.drawRect(background.adjusted(0, 0, -1, -1));
    painter.setPen(QPen(QColor(0, 170, 0), 1, Qt::DashLine));
    painter.drawLine(background.center().x(), background.top(), background.center().x(), background.bottom());
    painter.drawLine(background.left(), background.center().y(), background.right(), background.center().y());
    const QPolygon foreground = where.foregroundFrame().translated(corner);
    painter.setPen(QPen(QColor(0, 0, 255), 1));
    painter.drawPolygon(foreground);
    painter.setPen(QPen(QColor(0, 0, 255), 1, Qt::DashLine));
    painter.drawPolyline(midpointLine(foreground[0], foreground[1], foreground[2], foreground[3]));
    painter.drawPolyline(midpointLine(foreground[1], foreground[2], foreground[3], foreground[0]));
}

bool VRLRegistrationCanvas::shows(SectionComparison side) const {
    return __comparison == side ||
           (__comparison != SectionComparison::Foreground && __comparison != SectionComparison::Background);
}

void VRLRegistrationCanvas::drawItems() {
    if (__foregroundSlice == nullptr || __backgroundSlice == nullptr || __updating)
        return;
    const SectionPlaces where = places();
    const QPoint corner = contentsRect().topLeft();
    VRLPainter painter(this);
    painter.setClipRect(contentsRect());
    if (shows(SectionComparison::Background)) {
        painter.setWMConverter(__backgroundConverter);
        painter.setTranslation(corner + where.backgroundOrigin());
        drawItemsOf(painter, *__backgroundSlice);
    }
    if (shows(SectionComparison::Foreground)) {
        painter.setWMConverter(__foregroundConverter);
        painter.setTranslation(corner + where.foregroundOrigin());
        painter.setRotation(__modelRegistration.getRotationAngle());
        drawItemsOf(painter, *__foregroundSlice);
    }
}

void VRLRegistrationCanvas::drawItemsOf(VRLPainter& painter, const StackSlice& slice) const {
    for (int i = 0; i < slice.getNumItems(); ++i)
        painter.drawItem(slice.getItem(i));
}

/// A ring on the background, a cross on the foreground, and between the two of a pair a line.
void VRLRegistrationCanvas::drawLandmarks(QPainter& painter) const {
    if (__foregroundSlice == nullptr || __landmarks.empty())
        return;
    painter.save();
    painter.setClipRect(contentsRect());
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor green(0, 150, 0), blue(0, 60, 255), red(220, 0, 0);
    for (std::size_t i = 0; i < __landmarks.size(); ++i) {
        const Landmark& mark = __landmarks[i];
        const QPointF b = backgroundToCanvas(mark.background), f = foregroundToCanvas(mark.foreground);
        const auto pens = [&mark, &red](const QColor& color) { return QPen(mark.used ? color : red, 2); };
        if (mark.isPair()) {
            painter.setPen(QPen(mark.used ? QColor(255, 160, 0) : red, 1, Qt::DashLine));
            painter.drawLine(b, f);
        }
        if (mark.hasBackground) {
            painter.setPen(pens(green));
            painter.drawEllipse(b, 7, 7);
        }
        if (mark.hasForeground) {
            painter.setPen(pens(blue));
            painter.drawLine(f - QPointF(6, 6), f + QPointF(6, 6));
            painter.drawLine(f - QPointF(6, -6), f + QPointF(6, -6));
        }
        const QPointF label = (mark.hasBackground ? b : f) + QPointF(10, -8);
        const QString number = QString::number(i + 1);
        painter.setPen(Qt::white);
        painter.drawText(label + QPointF(1, 1), number);
        painter.setPen(mark.used ? Qt::black : red);
        painter.drawText(label, number);
    }
    painter.restore();
}

void VRLRegistrationCanvas::resizeEvent(QResizeEvent* event) {
    QFrame::resizeEvent(event);
    changed();
}

void VRLRegistrationCanvas::changeEvent(QEvent* event) {
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        changed();
}

void VRLRegistrationCanvas::mousePressEvent(QMouseEvent* event) {
    if (__landmarkMode && event->button() == Qt::LeftButton) {
        if (__foregroundSlice != nullptr)
            emit landmarkClicked(event->position());
        return;
    }
    if (event->button() == Qt::LeftButton)
        __dragMode = ShiftDrag;
    else if (event->button() == Qt::RightButton)
        __dragMode = RotateDrag;
    __lastPosition = event->pos();
}

void VRLRegistrationCanvas::mouseMoveEvent(QMouseEvent* event) {
    const bool dragged = (event->buttons() & (Qt::LeftButton | Qt::RightButton)) != 0;
    if (!dragged || !__editable || __foregroundSlice == nullptr ||
        (__landmarkMode && (event->buttons() & Qt::LeftButton) != 0))
        return;
    const Registration before = __modelRegistration;
    if (__dragMode == ShiftDrag) {
        const QPoint way = event->pos() - __lastPosition;
        __modelRegistration.setHorShift(before.getHorShift() + way.x());
        __modelRegistration.setVerShift(before.getVerShift() + way.y());
    } else {
        rotateBy(event->pos());
    }
    __lastPosition = event->pos();
    if (__modelRegistration == before)
        return;
    const double angle = __rotationAngle;
    emit registrationChanged(toWorld(__modelRegistration));
    __rotationAngle = angle; // who hears of it gives the registration back, in tenths
    changed();
}

// A notch is 120 eighths of a degree; touch pads send less at a time, and what is left over of more is dropped: each
// step reads the images anew.
void VRLRegistrationCanvas::wheelEvent(QWheelEvent* event) {
    event->accept();
    __wheel += event->angleDelta().y();
    if (std::abs(__wheel) < 120)
        return;
    const bool bigger = std::exchange(__wheel, 0) > 0;
    if (__foregroundSlice == nullptr)
        return;
    if (bigger)
        emit biggerWanted();
    else
        emit smallerWanted();
}

void VRLRegistrationCanvas::rotateBy(const QPoint& position) {
    const QPointF centre = QPointF(contentsRect().topLeft()) + middleOf(contentsRect()) +
                           QPointF(__modelRegistration.getHorShift(), __modelRegistration.getVerShift());
    const QPointF last = __lastPosition - centre, now = position - centre;
    if (last.isNull() || now.isNull())
        return;
    const double before = actualAngle(__rotationAngle);
    __rotationAngle += (std::atan2(now.y(), now.x()) - std::atan2(last.y(), last.x())) * degreesOfRadian;
    if (__rotationAngle < 0)
        __rotationAngle += 360;
    else if (__rotationAngle >= 360)
        __rotationAngle -= 360;
    if (actualAngle(__rotationAngle) != before)
        __modelRegistration.setRotationAngle(float(actualAngle(__rotationAngle)));
}

Registration VRLRegistrationCanvas::toWorld(const Registration& model) const {
    return Registration(toThousandth(model.getHorShift() / __foregroundStep[0]),
                        toThousandth(model.getVerShift() / __foregroundStep[1]), model.getRotationAngle());
}

Registration VRLRegistrationCanvas::toModel(const Registration& world) const {
    return Registration(world.getHorShift() * __foregroundStep[0], world.getVerShift() * __foregroundStep[1],
                        world.getRotationAngle());
}

QPointF VRLRegistrationCanvas::backgroundToCanvas(QPointF pixel) const {
    const QRect world = __backgroundConverter.getWorld();
    return QPointF(contentsRect().topLeft()) + middleOf(contentsRect()) +
           QPointF((pixel.x() - world.width() * 0.5) * __backgroundStep[0],
                   (pixel.y() - world.height() * 0.5) * __backgroundStep[1]);
}

QPointF VRLRegistrationCanvas::canvasToBackground(QPointF place) const {
    const QRect world = __backgroundConverter.getWorld();
    const QPointF seen = place - backgroundToCanvas(QPointF(world.width() * 0.5, world.height() * 0.5));
    return QPointF(seen.x() / __backgroundStep[0] + world.width() * 0.5,
                   seen.y() / __backgroundStep[1] + world.height() * 0.5);
}

QPointF VRLRegistrationCanvas::foregroundToCanvas(QPointF pixel) const {
    const QRect world = __foregroundConverter.getWorld();
    const double dx = (pixel.x() - world.width() * 0.5) * __foregroundStep[0];
    const double dy = (pixel.y() - world.height() * 0.5) * __foregroundStep[1];
    const double angle = double(__modelRegistration.getRotationAngle()) / degreesOfRadian;
    return QPointF(contentsRect().topLeft()) + middleOf(contentsRect()) +
           QPointF(std::cos(angle) * dx - std::sin(angle) * dy + __modelRegistration.getHorShift(),
                   std::sin(angle) * dx + std::cos(angle) * dy + __modelRegistration.getVerShift());
}

QPointF VRLRegistrationCanvas::canvasToForeground(QPointF place) const {
    const QRect world = __foregroundConverter.getWorld();
    const QPointF seen = place - foregroundToCanvas(QPointF(world.width() * 0.5, world.height() * 0.5));
    const double angle = double(__modelRegistration.getRotationAngle()) / degreesOfRadian;
    return QPointF(
        (std::cos(angle) * seen.x() + std::sin(angle) * seen.y()) / __foregroundStep[0] + world.width() * 0.5,
        (-std::sin(angle) * seen.x() + std::cos(angle) * seen.y()) / __foregroundStep[1] + world.height() * 0.5);
}

} // namespace vorlen
