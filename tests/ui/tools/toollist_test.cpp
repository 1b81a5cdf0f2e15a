#include "ui/slices/drawingfixture.h"

#include <set>

#include <QContextMenuEvent>

#include "ui/slices/slicecommands.h"
#include "ui/tools/toollist.h"

namespace vorlen {

TEST(ToolList, theEditorsSheetTellsOfEachCommandOnce) {
    std::set<std::string> ids, keys, listed;
    for (const CommandInfo& info : sliceEditorCommands().commands) {
        EXPECT_TRUE(ids.insert(info.id).second) << info.id;
        EXPECT_TRUE(*info.keys == '\0' || keys.insert(info.keys).second) << info.keys;
        EXPECT_STRNE(info.tip, "") << info.id;
    }
    for (const CommandMenu& menu : sliceEditorCommands().menus)
        for (const char* id : menu.entries)
            EXPECT_TRUE(listed.insert(id).second) << id;
    EXPECT_EQ(listed, ids);
}

namespace {

/// Counts what it is shown, and keeps all of it or nothing.
class CountingTool : public VRLSliceEditWidgetMediatorDelegate {
public:
    using VRLSliceEditWidgetMediatorDelegate::VRLSliceEditWidgetMediatorDelegate;

    int numPresses = 0;
    int numMenus = 0;

protected:
    void mousePressEvent(QMouseEvent* event) override {
        ++numPresses;
        anyEvent(event);
    }
    void contextMenuEvent(QContextMenuEvent* event) override {
        ++numMenus;
        event->accept();
    }
};

} // namespace

TEST_F(DrawingTest, onlyTheCurrentToolIsShownTheInput) {
    CountingTool first(mediator->getToolHost());
    CountingTool second(mediator->getToolHost());
    ModelItem& contour = addItem(*polygon, *slice, square);
    click(QPoint(75, 100));
    EXPECT_TRUE(contour.getSelection().isComplete()); // the selection rests
    EXPECT_EQ(first.numPresses, 0);
    first.activate();
    EXPECT_TRUE(selection->isActive());
    click(QPoint(75, 100));
    EXPECT_EQ(first.numPresses, 1);
    EXPECT_TRUE(contour.getSelection().isComplete());
    trigger("Delete"); // not while a tool runs
    EXPECT_EQ(slice->getNumItems(), 1);
    second.activate();
    EXPECT_FALSE(first.isActive());
    press(QPoint(75, 100));
    EXPECT_EQ(first.numPresses, 1);
    EXPECT_EQ(second.numPresses, 1);
    // The menu of the press that a tool was shown is that tool's, also when it has ended meanwhile.
    second.deactivate();
    QContextMenuEvent menu(QContextMenuEvent::Mouse, QPoint(5, 5), canvas->mapToGlobal(QPoint(5, 5)));
    QCoreApplication::sendEvent(canvas, &menu);
    EXPECT_EQ(second.numMenus, 1);
    click(QPoint(75, 100));
    EXPECT_TRUE(contour.getSelection().isEmpty());
    second.activate();
    trigger("Cancel");
    EXPECT_FALSE(second.isActive());
}

} // namespace vorlen
