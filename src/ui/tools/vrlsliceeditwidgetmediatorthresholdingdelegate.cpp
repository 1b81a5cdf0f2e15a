#include "ui/tools/vrlsliceeditwidgetmediatorthresholdingdelegate.h"

#include <QGuiApplication>
#include <QInputDialog>
#include <QMouseEvent>

#include "document/model.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "editing/operations/outlinebythreshold.h"
#include "editing/operations/regionoutline.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

const char* const title = "Automatic thresholding";
const char* const resultTitle = "Automatic thresholding result";

} // namespace

int VRLSliceEditWidgetMediatorThresholdingDelegate::__smoothingLevel = 0;
int VRLSliceEditWidgetMediatorThresholdingDelegate::__decimationLevel = 0;

VRLSliceEditWidgetMediatorThresholdingDelegate::VRLSliceEditWidgetMediatorThresholdingDelegate(ToolHost& host)
    : VRLSliceEditWidgetMediatorDelegate(host) {
    setBlocking(true);
    setPenAsMouse(true);
}

VRLSliceEditWidgetMediatorThresholdingDelegate::~VRLSliceEditWidgetMediatorThresholdingDelegate() {
    delete __rubberBand;
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::activate(const QString& modelName) {
    if (isActive() || stack() == nullptr)
        return;
    const int index = stack()->findModel(modelName.toStdString());
    if (index < 0 || !imageOrWarning())
        return;
    VRLSliceEditWidgetMediatorDelegate::activate();
    __model = &stack()->getModel(index);
    canvas().setFocus();
    host().setHint("Click two opposite corners of a box over the edge of a dark structure. Escape: give up.");
    QGuiApplication::setOverrideCursor(Qt::CrossCursor);
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    delete __rubberBand;
    canvas().update(); // over OpenGL its picture would stay
    __pressPosition.reset();
    __model = nullptr;
    QGuiApplication::restoreOverrideCursor();
    host().setRestingHint();
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::cancel() {
    abandon();
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::abandon() {
    if (isActive())
        deactivate();
}

// The questions run loops of their own, in which the interaction may be ended and this object deleted.
void VRLSliceEditWidgetMediatorThresholdingDelegate::mousePressEvent(QMouseEvent* event) {
    if (!acts())
        return anyEvent(event);
    event->accept();
    const QPoint position = event->position().toPoint();
    const Vector<int> point = imagePoint(position);
    if (event->buttons() != Qt::LeftButton || !isOnImage(point))
        return;
    if (!__pressPosition)
        return markFirst(position);
    stretchTo(position);
    const QPointer<QObject> self(this);
    guarded(&canvas(), "There is no outline to be had from this box. Try another one.", [&] { run(point); });
    if (self && isActive())
        deactivate();
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::mouseMoveEvent(QMouseEvent* event) {
    if (acts() && __rubberBand) {
        stretchTo(event->position().toPoint());
        __rubberBand->show();
    }
    anyEvent(event);
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::markFirst(const QPoint& position) {
    __corner = imagePoint(position);
    __pressPosition = std::make_unique<QPoint>(position);
    __rubberBand = new QRubberBand(QRubberBand::Rectangle, &canvas());
    __rubberBand->setWindowOpacity(0.5);
    host().setHint("Click the opposite corner of the box. Escape: give up.");
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::stretchTo(const QPoint& position) {
    if (imagePoint(*__pressPosition) != __corner)
        *__pressPosition = host().canvasPosition(__corner.toType<double>()).toPoint();
    __rubberBand->setGeometry(QRect(*__pressPosition, position).normalized());
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::run(const Vector<int>& corner) {
    BoundingBox<int> box(__corner, corner);
    box.rectify();
    if (!ask("Enter smoothing level:", __smoothingLevel, 50, 1))
        return;
    const std::optional<ImageParts> image = imageOrWarning();
    if (!image)
        return;
    std::optional<RegionOutline> outline;
    {
        const WaitCursor wait;
        outline.emplace(*image, box, __smoothingLevel);
    }
    if (!outline->isFound())
        return warn(title, noOutlineInBox);
    if (!ask("Enter decimation level:", __decimationLevel, 100, 5))
        return;
    Curve<double> curve;
    const bool isCut = outline->isCut();
    {
        const WaitCursor wait;
        curve = outline->follow(__decimationLevel);
        outline.reset();
    }
    if (stack() == nullptr)
        return;
    const Outcome outcome = addOutline(*stack(), *slice(), *__model, curve);
    QString result = outcome ? QString("Curve created with %1 vertices").arg(curve.getSize())
                             : QString::fromStdString(outcome.getReason());
    if (outcome && isCut)
        result += "\nIt is cut off: the structure goes on beyond the part of this large section that fits into memory";
    inform(resultTitle, result);
}

/// Puts the answer into the level. False when the user, or the end of the interaction, cancels.
bool VRLSliceEditWidgetMediatorThresholdingDelegate::ask(const QString& question, int& level, int most, int step) {
    const QPointer<QObject> self(this);
    bool accepted = false;
    QGuiApplication::setOverrideCursor(Qt::ArrowCursor);
    const int answer = QInputDialog::getInt(&canvas(), title, question, level, 0, most, step, &accepted);
    QGuiApplication::restoreOverrideCursor();
    if (accepted)
        level = answer;
    return accepted && self && isActive();
}

/// None without an image, and then the user has been told why.
std::optional<ImageParts> VRLSliceEditWidgetMediatorThresholdingDelegate::imageOrWarning() const {
    QString problem;
    std::optional<ImageParts> image = host().imageParts(problem);
    if (!image)
        warn(title, problem);
    return image;
}

} // namespace vorlen
