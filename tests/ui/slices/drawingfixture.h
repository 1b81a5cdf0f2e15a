#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <QAction>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPointingDevice>
#include <QTabletEvent>

#include "document/stacksliceselectioninfo.h"
#include "document/stackwriter.h"
#include "editing/actions/vrldrawingdiscardaction.h"
#include "editing/history/vrlactionhistory.h"
#include "support/testcontours.h"
#include "ui/session/vrlpreferences.h"
#include "ui/slices/widgetfixture.h"
#include "ui/tools/vrlsliceeditwidgetmediatorcreationdelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatoreditiondelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorselectiondelegate.h"

namespace vorlen {

/// A canvas on which a position is an image pixel, with a model of each geometry.
class DrawingTest : public WidgetTest {
protected:
    void SetUp() override {
        VRLPreferences::enableAutoDecimation(false);
        VRLPreferences::setClickTolerance(10);
        show(300, 200);
        slice = &addSlice(TestImages::ramp(300, 200, 8));
        polygon = &addModel(stack, "Polygon");
        other = &addModel(stack, "Other & more");
        line = &addModel(stack, "Line", PolylinePrimitive);
        dots = &addModel(stack, "Dots", PolypointPrimitive);
        stack.setLastSegmentedSlice("slice"); // as every change of an item does, undone or not
        showSlice(*slice);
        ASSERT_EQ(canvas->getZoomFactor(), 1);
        selection = mediator->findChild<VRLSliceEditWidgetMediatorSelectionDelegate*>();
        creation = mediator->findChild<VRLSliceEditWidgetMediatorCreationDelegate*>();
        edition = mediator->findChild<VRLSliceEditWidgetMediatorEditionDelegate*>();
        canvas->setFocus();
    }

    void TearDown() override {
        VRLPreferences::enableAutoDecimation(false);
        VRLPreferences::setClickTolerance(10);
        widget->clear();
        EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    }

    bool mouse(QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons buttons,
               Qt::KeyboardModifiers modifiers = {}) {
        QMouseEvent event(type, QPointF(at), canvas->mapToGlobal(QPointF(at)), button, buttons, modifiers);
        event.ignore();
        QCoreApplication::sendEvent(canvas, &event);
        return event.isAccepted();
    }
    void press(QPoint at, Qt::KeyboardModifiers modifiers = {}) {
        mouse(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton, modifiers);
    }
    void drag(QPoint at) { mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton); }
    void release(QPoint at) { mouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton); }
    void click(QPoint at, Qt::KeyboardModifiers modifiers = {}) {
        press(at, modifiers);
        release(at);
    }
    void doubleClick(QPoint at) {
        click(at);
        mouse(QEvent::MouseButtonDblClick, at, Qt::LeftButton, Qt::LeftButton);
        release(at);
    }
    void key(Qt::Key code, Qt::KeyboardModifiers modifiers = {}) {
        QKeyEvent event(QEvent::KeyPress, code, modifiers);
        QCoreApplication::sendEvent(canvas, &event);
    }
    void pen(QEvent::Type type, QPoint at, double pressure, QPointingDevice::PointerType kind) {
        const QPointingDevice device("pen", 1, QInputDevice::DeviceType::Stylus, kind,
                                     QInputDevice::Capability::Pressure, 1, 1);
        QTabletEvent event(type, &device, QPointF(at), canvas->mapToGlobal(QPointF(at)), pressure, 0, 0, 0, 0, 0,
                           Qt::NoModifier, Qt::LeftButton, Qt::LeftButton);
        QCoreApplication::sendEvent(canvas, &event);
    }
    void draw(const Points& points) {
        for (const auto& [x, y] : points)
            click(QPoint(x, y));
    }
    Points drawn() const {
        return creation->getItem() != nullptr ? coordinates(creation->getItem()->getVertices()) : Points();
    }
    static Points verticesOf(const ModelItem& item) { return coordinates(item.getVertices()); }
    std::string text() { return StackWriter().toText(stack, folder.path()); }
    VRLActionHistory& history() { return *stack.history(); }
    /// The number of steps, without drawings that were given up.
    int undoAll() {
        int n = 0;
        while (history().isUndoable()) {
            n += dynamic_cast<const VRLDrawingDiscardAction*>(history().nextToUndo()) == nullptr;
            history().undo();
        }
        return n;
    }
    /// The operation is this many steps of the history, which lead back to the document before and on to that after.
    void expectSteps(int steps, const std::function<void()>& operation) {
        history().clear();
        const std::string before = text();
        operation();
        const std::string after = text();
        EXPECT_EQ(undoAll(), steps);
        EXPECT_EQ(text(), before);
        while (history().isRedoable())
            history().redo();
        EXPECT_EQ(text(), after);
        EXPECT_EQ(steps == 0, before == after);
    }
    void select(ModelItem& item) {
        item.getSelection().set(true);
        selectionChanged();
    }
    void selectionChanged() {
        StackSliceSelectionInfo info;
        info.setSlice(slice);
        mediator->selectionChange(info);
    }
    void selectSome(ModelItem& item, const std::vector<int>& vertices) {
        item.getSelection().set(false);
        for (const int i : vertices)
            item.getSelection().set(true, i, false);
        selectionChanged();
    }
    QAction& entry(QMenu& menu, const QString& title) {
        for (QAction* candidate : menu.actions())
            if (candidate->text().remove('&') == QString(title).remove('&'))
                return *candidate;
        throw std::runtime_error("no entry " + title.toStdString());
    }
    void trigger(const QString& text) {
        if (QAction* const command = action(text))
            command->trigger();
    }
    void choose(const QString& menuTitle, const QString& subTitle, const QString& name) {
        const std::unique_ptr<QMenu> menu = mediator->newContextMenu();
        QMenu* sub = entry(*menu, menuTitle).menu();
        if (!subTitle.isEmpty())
            sub = entry(*sub, subTitle).menu();
        entry(*sub, name).trigger();
    }

    StackSlice* slice = nullptr;
    Model* polygon = nullptr;
    Model* other = nullptr;
    Model* line = nullptr;
    Model* dots = nullptr;
    VRLSliceEditWidgetMediatorSelectionDelegate* selection = nullptr;
    VRLSliceEditWidgetMediatorCreationDelegate* creation = nullptr;
    VRLSliceEditWidgetMediatorEditionDelegate* edition = nullptr;
};

} // namespace vorlen
