#include "ui/slices/vrlsliceeditwidgetmediatorthresholdingdelegate.h"

#include <optional>

#include <QGuiApplication>
#include <QInputDialog>
#include <QMouseEvent>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/history/vrlactionhistory.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/models/guarded.h"
#include "ui/slices/regionoutline.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

const char* const title = "Automatic thresholding";
const char* const resultTitle = "Automatic thresholding result";

} // namespace

int VRLSliceEditWidgetMediatorThresholdingDelegate::__smoothingLevel = 0;
int VRLSliceEditWidgetMediatorThresholdingDelegate::__decimationLevel = 0;

VRLSliceEditWidgetMediatorThresholdingDelegate::VRLSliceEditWidgetMediatorThresholdingDelegate(
    VRLSliceEditWidgetMediator& mediator)
    : VRLSliceEditWidgetMediatorDelegate(mediator) {
    setBlocking(true);
    setPenAsMouse(true);
}

VRLSliceEditWidgetMediatorThresholdingDelegate::~VRLSliceEditWidgetMediatorThresholdingDelegate() {
    delete __rubberBand;
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::activate(const QString& modelName) {
    if (isActive() || history() == nullptr)
        return;
    Stack& stack = *slice()->getStack();
    const int index = stack.findModel(modelName.toStdString());
    if (index < 0)
        return;
    if (const QString problem = imageProblem(); !problem.isEmpty())
        return warn(title, problem);
    VRLSliceEditWidgetMediatorDelegate::activate();
    __model = &stack.getModel(index);
    canvas().setFocus();
    getMediator().setHint("Click two opposite corners of a box over the edge of a dark structure. To give up, click "
                          "twice, then Cancel.");
    QGuiApplication::setOverrideCursor(Qt::CrossCursor);
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    delete __rubberBand;
    __pressPosition.reset();
    __model = nullptr;
    QGuiApplication::restoreOverrideCursor();
    getMediator().setRestingHint();
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
    const QPointer<VRLImageWidgetMediatorDelegate> self(this);
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
    getMediator().setHint("Click the opposite corner of the box. To give up, click it, then Cancel.");
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::stretchTo(const QPoint& position) {
    if (imagePoint(*__pressPosition) != __corner)
        *__pressPosition = canvasPosition(__corner).toPoint();
    __rubberBand->setGeometry(QRect(*__pressPosition, position).normalized());
}

void VRLSliceEditWidgetMediatorThresholdingDelegate::run(const Vector<int>& corner) {
    BoundingBox<int> box(__corner, corner);
    box.rectify();
    if (!ask("Enter smoothing level:", __smoothingLevel, 50, 1))
        return;
    if (const QString problem = imageProblem(); !problem.isEmpty())
        return warn(title, problem);
    std::optional<RegionOutline> outline;
    {
        const WaitCursor wait;
        outline.emplace(canvas().getImageProxy().getImage(), box, __smoothingLevel);
    }
    if (!outline->isFound())
        return warn(title, "No starting point found. Retry with another ROI.");
    if (!ask("Enter decimation level:", __decimationLevel, 100, 5))
        return;
    Curve<int> curve;
    {
        const WaitCursor wait;
        curve = outline->follow(__decimationLevel);
        outline.reset();
    }
    if (curve.getSize() < 3)
        return inform(resultTitle, "The detected contour does not contain enough points\nHint: try using a smaller "
                                   "decimation level");
    auto item = std::make_unique<ModelItem>();
    item->setModel(__model);
    item->setSlice(slice());
    item->setVertices(curve);
    item->setClockwise(false);
    auto action = std::make_unique<VRLItemCreationAction>(*item);
    (void)item.release(); // the document's, or the action's, from here on
    applyStep(std::move(action));
    inform(resultTitle, QString("Curve created with %1 vertices").arg(curve.getSize()));
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

/// Why there is no image to work on; empty when there is one.
QString VRLSliceEditWidgetMediatorThresholdingDelegate::imageProblem() const {
    const VRLImageProxy& proxy = canvas().getImageProxy();
    if (proxy.hasImage())
        return QString();
    if (proxy.hasFailed())
        return proxy.getFailure();
    return proxy.isEmpty() ? "This slice has no image."
                           : "The image of this slice is still being read. Try again then.";
}

} // namespace vorlen
