#include "ui/tools/startingtool.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointer>
#include <QScopedValueRollback>

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/operations/itemoperations.h"
#include "editing/operations/outlineshape.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/models/modelviews.h"

namespace vorlen {

Model* modelToDraw(ToolHost& host) {
    const ModelViews& views = host.modelViews();
    Model* const model = views.getCurrent();
    const QString name = model != nullptr ? QString::fromStdString(model->getName()) : QString();
    if (model == nullptr)
        host.setHint("There is no model to draw with. Make one: \"New model\" in the panel of models.");
    else if (views.isHidden(*model))
        host.setHint("The current model, " + name + ", is hidden. Show it in the panel of models first.");
    else if (views.isLocked(*model))
        host.setHint("The current model, " + name + ", is locked. Unlock it in the panel of models first.");
    else
        return model;
    return nullptr;
}

StartingTool::StartingTool(ToolHost& host, const char* command, const char* hint)
    : VRLSliceEditWidgetMediatorDelegate(host), __command(command), __hint(hint) {
}

void StartingTool::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    host().setRestingHint();
}

void StartingTool::cancel() {
    if (isActive())
        host().leaveTool();
}

void StartingTool::abandon() {
    if (isActive())
        deactivate();
}

QString StartingTool::restingHint(const StackSliceSelectionInfo&) const {
    const Model* const model = host().modelViews().getCurrent();
    if (model == nullptr)
        return "Make a model first: \"New model\" in the panel of models.";
    return "Model " + QString::fromStdString(model->getName()) + ". " + __hint + " Escape: done.";
}

// The tool that begins may run a loop of its own, in which this object is deleted.
void StartingTool::press(QMouseEvent& event) {
    if (!acts() || __begins || event.buttons() != Qt::LeftButton || stack() == nullptr)
        return anyEvent(&event);
    event.accept();
    if (!isOnImage(imagePoint(event.position().toPoint())))
        return;
    Model* const model = modelToDraw(host());
    if (model == nullptr)
        return;
    const bool points =
        model->getProperties().definesGeometry() && model->getProperties().getGeometry() == PolypointPrimitive;
    if (points)
        return addPoint(*model, event);
    const QPointer<StartingTool> self(this);
    __begins = true;
    host().begin(__command, *model, event);
    if (self)
        __begins = false;
    event.accept();
}

void StartingTool::addPoint(Model& model, const QMouseEvent& event) {
    const QPointF point = host().exactImagePoint(event.position());
    const ItemVertices vertices = verticesOf({{point.x(), point.y()}}, false);
    guarded(&canvas(), "The point cannot be added.",
            [&] { warnUnlessDone("Draw", createItem(*stack(), *slice(), model, vertices)); });
}

void StartingTool::mousePressEvent(QMouseEvent* event) {
    press(*event);
}

/// The second click of two quick ones is one more.
void StartingTool::mouseDoubleClickEvent(QMouseEvent* event) {
    press(*event);
}

void StartingTool::keyPressEvent(QKeyEvent* event) {
    anyEvent(event);
}

} // namespace vorlen
