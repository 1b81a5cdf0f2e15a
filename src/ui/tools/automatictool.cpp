#include "ui/tools/automatictool.h"

#include <algorithm>
#include <cmath>

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWidget>

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/operations/outlineinbox.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/models/modelviews.h"
#include "ui/tools/automaticoptions.h"
#include "ui/tools/startingtool.h"

namespace vorlen {

namespace {

constexpr double reachOfClick = 120;    // units of the canvas
constexpr int leastReach = 16;          // pixels
constexpr int greatestReach = 1000;     // pixels
constexpr double mostPixels = 16777216; // in a box that is followed live
const char* const failure = "There is no outline to be had from this box. Try another one.";

} // namespace

int AutomaticTool::__smoothing = 1;
int AutomaticTool::__simplification = 1;
AutomaticTool::Side AutomaticTool::__side = AutomaticTool::Side::Either;

AutomaticTool::AutomaticTool(ToolHost& host) : VRLSliceEditWidgetMediatorDelegate(host) {
    setPenAsMouse(true);
    __found.outline = Curve<double>(2, 0, 0, 1, false);
}

AutomaticTool::~AutomaticTool() = default;

void AutomaticTool::deactivate() {
    giveUp();
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    host().setRestingHint();
}

void AutomaticTool::cancel() {
    if (!isActive())
        return;
    if (__model == nullptr)
        return host().leaveTool();
    giveUp();
    host().setRestingHint();
}

void AutomaticTool::abandon() {
    if (isActive())
        deactivate();
}

void AutomaticTool::modelGone(const Model& model) {
    if (&model == __model)
        giveUp();
}

QString AutomaticTool::restingHint(const StackSliceSelectionInfo&) const {
    const Model* const model = host().modelViews().getCurrent();
    if (model == nullptr)
        return "Make a model first: \"New model\" in the panel of models.";
    return "Model " + QString::fromStdString(model->getName()) +
           ". Drag a box around a structure, or click on it. Escape: done.";
}

QWidget* AutomaticTool::newOptions(QWidget* parent) {
    return new AutomaticOptions(*this, parent);
}

void AutomaticTool::setSmoothing(int smoothing) {
    __smoothing = std::clamp(smoothing, 0, BoxOutline::maxSmoothing);
    if (hasBox() && __model != nullptr)
        searchBox();
    emit optionsChanged();
}

void AutomaticTool::setSide(Side side) {
    __side = side;
    find();
}

void AutomaticTool::setSimplification(int simplification) {
    __simplification = std::max(simplification, 0);
    find();
}

int AutomaticTool::getThreshold() const {
    if (!hasBox())
        return 0;
    return __threshold ? *__threshold : __search->getProposedThreshold();
}

void AutomaticTool::setThreshold(int threshold) {
    __threshold = threshold;
    find();
}

void AutomaticTool::proposeThreshold() {
    __threshold.reset();
    find();
}

void AutomaticTool::giveUpByKey() {
    host().cancelCommand().trigger();
}

void AutomaticTool::giveUp() {
    __model = nullptr;
    __pressed.reset();
    __dragging = false;
    __search.reset();
    __seed.reset();
    __threshold.reset();
    __found = BoxOutline::Found();
    __found.outline = Curve<double>(2, 0, 0, 1, false);
    __note = CanvasNote();
    host().setPreview(nullptr);
    host().setNote(nullptr);
    __preview.reset();
    canvas().update();
    emit optionsChanged();
}

std::optional<ImageParts> AutomaticTool::imageOrHint() {
    QString problem;
    std::optional<ImageParts> image = host().imageParts(problem);
    if (!image)
        host().setHint(problem);
    return image;
}

/// Whether there is a model to outline, and an image; else says what is missing.
bool AutomaticTool::isReady() {
    Model* const model = modelToDraw(host());
    if (model == nullptr)
        return false;
    if (!model->getProperties().definesGeometry() || model->getProperties().getGeometry() != PolygonPrimitive) {
        host().setHint("Only models of closed outlines can be outlined automatically.");
        return false;
    }
    if (!imageOrHint())
        return false;
    if (__model != nullptr && __model != model)
        giveUp();
    __model = model;
    return true;
}

void AutomaticTool::begin(QMouseEvent& event) {
    if (!acts() || event.buttons() != Qt::LeftButton || stack() == nullptr || __pressed)
        return anyEvent(&event);
    event.accept();
    if (isReady())
        markCorner(event.position().toPoint());
}

void AutomaticTool::markCorner(const QPoint& position) {
    __pressed = position;
    __corner = imagePoint(position);
}

void AutomaticTool::mousePressEvent(QMouseEvent* event) {
    begin(*event);
}

void AutomaticTool::mouseDoubleClickEvent(QMouseEvent* event) {
    begin(*event);
}

void AutomaticTool::mouseMoveEvent(QMouseEvent* event) {
    if (!acts() || !__pressed)
        return anyEvent(event);
    event->accept();
    if (!(event->buttons() & Qt::LeftButton)) { // the release went elsewhere
        __pressed.reset();
        if (__dragging)
            giveUp();
        return;
    }
    dragTo(event->position().toPoint());
}

void AutomaticTool::dragTo(const QPoint& position) {
    if (!__dragging && (position - *__pressed).manhattanLength() < QApplication::startDragDistance())
        return;
    if (!__dragging) { // another box
        const QPoint pressed = *__pressed;
        Model* const model = __model;
        giveUp();
        __model = model;
        __pressed = pressed;
        __dragging = true;
        host().setHint("Release: find the outline in the box. Escape: give up.");
    }
    __box = boxTo(position);
    showBox();
}

void AutomaticTool::mouseReleaseEvent(QMouseEvent* event) {
    if (!acts() || !__pressed || event->button() != Qt::LeftButton)
        return anyEvent(event);
    event->accept();
    dragTo(event->position().toPoint());
    const QPoint pressed = *__pressed;
    __pressed.reset();
    if (__dragging) {
        __dragging = false;
        searchBox();
    } else if (hasOutline()) {
        accept();
    } else {
        searchAround(pressed);
    }
}

void AutomaticTool::keyPressEvent(QKeyEvent* event) {
    const bool takes = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!acts() || !takes || !hasOutline())
        return anyEvent(event);
    event->accept();
    accept();
}

/// The part of it that lies on the image; none of it may.
BoundingBox<int> AutomaticTool::onImage(int left, int top, int right, int bottom) const {
    QString problem;
    const std::optional<ImageParts> image = host().imageParts(problem);
    const int width = image ? image->getWidth() : 0, height = image ? image->getHeight() : 0;
    Vector<int> low(2), high(2);
    low[0] = std::max(std::min(left, right), 0);
    low[1] = std::max(std::min(top, bottom), 0);
    high[0] = std::min(std::max(left, right), width - 1);
    high[1] = std::min(std::max(top, bottom), height - 1);
    return {low, high};
}

BoundingBox<int> AutomaticTool::boxTo(const QPoint& position) const {
    const Vector<int> to = imagePoint(position);
    return onImage(__corner[0], __corner[1], to[0], to[1]);
}

void AutomaticTool::showBox() {
    const double left = __box.getVertex1()[0] - 0.5, right = __box.getVertex2()[0] + 0.5;
    const double top = __box.getVertex1()[1] - 0.5, bottom = __box.getVertex2()[1] + 0.5;
    __note.line = {{left, top}, {left, bottom}, {right, bottom}, {right, top}, {left, top}};
    if (left >= right || top >= bottom)
        __note.line.clear();
    host().setNote(&__note);
}

BoxOutline::Choice AutomaticTool::choice() const {
    return {.threshold = getThreshold(), .side = __side, .seed = __seed, .tolerance = double(__simplification)};
}

/// In the box as it is, with what is chosen.
void AutomaticTool::searchBox() {
    const std::optional<ImageParts> image = imageOrHint();
    const double width = __box.getVertex2()[0] - __box.getVertex1()[0] + 1.0;
    const double height = __box.getVertex2()[1] - __box.getVertex1()[1] + 1.0;
    if (!image || width < 3 || height < 3 || width * height > mostPixels) {
        giveUp();
        if (image)
            host().setHint(width < 3 || height < 3 ? "The box is too small. Drag it around a structure."
                                                   : "The box is too large. Drag it around one structure.");
        return;
    }
    guarded(&canvas(), failure, [&] {
        __search.reset(); // memory
        __search = std::make_unique<BoxOutline>(*image, __box, __smoothing);
        find();
    });
}

/// In the least box around the place in which what is there ends. Where it ends in none, as what surrounds it is of the
/// same grey in places, at the threshold at which it stands alone near the place; where there is none, in the greatest.
void AutomaticTool::searchAround(const QPoint& position) {
    const auto place = imagePoint(position);
    const std::optional<ImageParts> image = imageOrHint();
    if (!image || !isOnImage(place)) {
        giveUp();
        host().setHint("There is no image here.");
        return;
    }
    __threshold.reset();
    const int column = int(place[0]), row = int(place[1]);
    __seed = std::make_pair(column, row);
    const double zoom = std::max(double(host().zoom()), 1e-3);
    int reach = int(std::clamp(reachOfClick / zoom, double(leastReach), double(greatestReach)));
    const int nearest = reach;
    guarded(&canvas(), failure, [&] {
        for (;; reach = std::min(2 * reach, greatestReach)) {
            __box = onImage(column - reach, row - reach, column + reach, row + reach);
            __search = std::make_unique<BoxOutline>(*image, __box, __smoothing);
            if (reach >= greatestReach || !__search->find(choice()).touchesBox)
                break;
        }
        if (__search->find(choice()).touchesBox)
            searchAlone(*image, onImage(column - nearest, row - nearest, column + nearest, row + nearest));
        find();
    });
}

/// Takes the box where what is at the seed stands alone in it at some threshold, which is then the chosen one.
void AutomaticTool::searchAlone(const ImageParts& image, const BoundingBox<int>& box) {
    auto search = std::make_unique<BoxOutline>(image, box, __smoothing);
    const std::optional<int> threshold = search->thresholdAlone(*__seed, __side);
    if (!threshold)
        return;
    __search = std::move(search);
    __box = box;
    __threshold = threshold;
}

void AutomaticTool::find() {
    if (__model == nullptr || !hasBox() || slice() == nullptr) {
        emit optionsChanged();
        return;
    }
    __found = __search->find(choice());
    __preview = std::make_unique<ModelItem>();
    __preview->setModel(__model);
    __preview->setSlice(slice());
    __preview->setVertices(verticesOf(__found));
    host().setPreview(__preview.get());
    const QString grey = QString::number(__search->valueOf(getThreshold()), 'g', 5);
    __note.text = hasOutline() ? (__found.darker ? "darker than " : "brighter than ") + grey : QString("nothing found");
    showBox();
    canvas().update();
    const QString end = __found.touchesBox ? " The outline ends at the box: drag a larger one for all of it." : "";
    host().setHint(hasOutline() ? "Return, a click or another slice: take the outline of " +
                                      QString::number(__preview->getSize()) +
                                      " vertices. Drag: another box. Escape: give up." + end
                                : "There is no outline here. Change the threshold, or drag a box around a structure.");
    emit optionsChanged();
}

bool AutomaticTool::accept() {
    if (!hasOutline() || __model == nullptr || stack() == nullptr || slice() == nullptr)
        return false;
    Model& model = *__model;
    const BoxOutline::Found found = __found;
    giveUp();
    bool added = false;
    guarded(&canvas(), "The outline cannot be added.", [&] {
        const Outcome outcome = addFound(*stack(), *slice(), model, found);
        added = bool(outcome);
        if (added)
            host().setRestingHint();
        else
            host().setHint(QString::fromStdString(outcome.getReason()) + ".");
    });
    return added;
}

QString AutomaticTool::takeShown() {
    if (!isActive() || __pressed || !hasOutline() || __model == nullptr || slice() == nullptr)
        return QString();
    const QString what =
        QString("The outline of \"%1\" on %2 was taken.")
            .arg(QString::fromStdString(__model->getName()), QString::fromStdString(slice()->getName()));
    return accept() ? what : QString();
}

} // namespace vorlen
