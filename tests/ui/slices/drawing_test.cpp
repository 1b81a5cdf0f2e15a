#include "ui/slices/drawingfixture.h"

#include <optional>
#include <random>

#include <QContextMenuEvent>
#include <QPointingDevice>
#include <QRubberBand>
#include <QScreen>
#include <QSpinBox>
#include <QTabletEvent>
#include <QTimer>

#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "support/eventrecorder.h"
#include "support/modalscript.h"

namespace vorlen {

TEST_F(DrawingTest, aContourIsDrawnByClicksDragsAndPenAndStoredCounterClockwise) {
    QSignalSpy locks(mediator, &VRLSliceEditWidgetMediator::lockRequested);
    expectSteps(1, [&] {
        choose("Draw", "Manual", "Polygon");
        EXPECT_EQ(statusBar->getEditModeInfo(), "CREATE");
        ASSERT_EQ(canvas->getExtraItem(), creation->getItem());
        EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::CrossCursor);
        press(QPoint(50, 50));
        drag(QPoint(50, 50)); // the same pixel once
        drag(QPoint(60, 50));
        release(QPoint(60, 50));
        mouse(QEvent::MouseMove, QPoint(70, 50), Qt::NoButton, Qt::NoButton);
        mouse(QEvent::MouseButtonPress, QPoint(70, 50), Qt::MiddleButton, Qt::MiddleButton);
        const auto pencil = QPointingDevice::PointerType::Pen;
        pen(QEvent::TabletPress, QPoint(100, 50), 0.25, pencil);
        pen(QEvent::TabletPress, QPoint(100, 50), 0.5, QPointingDevice::PointerType::Eraser);
        EXPECT_EQ(drawn(), (Points{{50, 50}, {60, 50}}));
        pen(QEvent::TabletPress, QPoint(100, 50), 0.26, pencil);
        pen(QEvent::TabletMove, QPoint(100, 80), 0.26, pencil);
        pen(QEvent::TabletMove, QPoint(100, 90), 0.2, pencil);
        press(QPoint(400, 90)); // outside of the image
        key(Qt::Key_A);         // kept, without effect
        doubleClick(QPoint(100, 100));
    });
    ASSERT_EQ(slice->getNumItems(), 1);
    EXPECT_EQ(verticesOf(slice->getItem(0)).size(), 5u);
    EXPECT_FALSE(slice->getItem(0).isClockwise());
    EXPECT_FALSE(creation->isActive());
    EXPECT_EQ(canvas->getExtraItem(), nullptr);
    EXPECT_EQ(statusBar->getEditModeInfo(), "READY");
    ASSERT_EQ(locks.count(), 2);
    EXPECT_TRUE(locks[0][0].toBool());
    EXPECT_FALSE(locks[1][0].toBool());
}

TEST_F(DrawingTest, keysTakeBackGiveUpAndFinish) {
    creation->activate("Line");
    key(Qt::Key_Backspace); // nothing to take back
    EXPECT_TRUE(creation->isActive());
    draw({{10, 10}, {20, 20}});
    QCursor::setPos(canvas->mapToGlobal(QPoint(40, 44)));
    key(Qt::Key_X);
    EXPECT_EQ(drawn(), (Points{{10, 10}, {20, 20}, {40, 44}}));
    key(Qt::Key_Backspace);
    key(Qt::Key_Backspace);
    EXPECT_EQ(drawn(), (Points{{10, 10}}));
    key(Qt::Key_Backspace);
    EXPECT_FALSE(creation->isActive());
    EXPECT_EQ(canvas->getExtraItem(), nullptr);

    expectSteps(1, [&] {
        creation->activate("Line");
        draw({{10, 10}, {20, 20}});
        key(Qt::Key_Return);
    });
    EXPECT_EQ(verticesOf(slice->getItem(0)), (Points{{10, 10}, {20, 20}}));

    expectSteps(0, [&] {
        creation->activate("Line");
        draw({{10, 10}, {20, 20}});
        action("Cancel")->trigger();
        EXPECT_FALSE(creation->isActive());
        creation->activate("Line");
        draw({{10, 10}});
        mouse(QEvent::MouseButtonPress, QPoint(5, 5), Qt::RightButton, Qt::RightButton);
        EXPECT_FALSE(creation->isActive());
        // The menu of that press does not come up.
        QContextMenuEvent menu(QContextMenuEvent::Mouse, QPoint(5, 5), canvas->mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(canvas, &menu);
        EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
        creation->activate("Line");
        key(Qt::Key_Return); // an empty item
        EXPECT_FALSE(creation->isActive());
        creation->activate("no such model");
        EXPECT_FALSE(creation->isActive());
    });
}

TEST_F(DrawingTest, contoursOfTooFewVerticesAreRefused) {
    ModalScript script;
    script.thenClick("OK");
    script.thenClick("OK");
    expectSteps(0, [&] {
        creation->activate("Polygon");
        draw({{10, 10}});
        doubleClick(QPoint(20, 20));
        EXPECT_FALSE(creation->isActive());
        creation->activate("Line");
        draw({{10, 10}});
        key(Qt::Key_Return);
        EXPECT_FALSE(creation->isActive());
    });
    EXPECT_EQ(slice->getNumItems(), 0);
    EXPECT_EQ(script.seen,
              (std::vector<std::string>{
                  "User error: Cannot create a closed contour with less than 3 points.\n\nCreation canceled.",
                  "User error: Cannot create an open contour with less than 2 points.\n\nCreation canceled."}));
}

// It stands in the history among the steps, and leaves what can be redone.
TEST_F(DrawingTest, aDrawingThatWasGivenUpIsKeptInTheHistory) {
    addItem(*polygon, *slice, {{150, 50}, {200, 50}, {200, 90}});
    const std::string before = text();
    const auto step = [this](int x) {
        creation->activate("Polygon");
        draw({{x, 10}, {x + 30, 10}, {x + 30, 40}});
        key(Qt::Key_Return);
    };
    step(10);
    step(60);
    const std::string after = text();
    history().undo();
    const auto expectKept = [&](const Points& points) {
        const auto* kept = dynamic_cast<const VRLDrawingDiscardAction*>(history().nextToUndo());
        ASSERT_NE(kept, nullptr);
        EXPECT_EQ(coordinates(kept->getVertices()), points);
        EXPECT_EQ(&kept->getModel(), other);
        EXPECT_EQ(&kept->getSlice(), slice);
        EXPECT_TRUE(history().isRedoable());
    };
    creation->activate("Other & more");
    draw({{10, 10}, {20, 10}});
    mouse(QEvent::MouseButtonPress, QPoint(5, 5), Qt::RightButton, Qt::RightButton);
    expectKept({{10, 10}, {20, 10}});
    history().undo();
    mediator->resumeDrawing(*other, makeVertices({{10, 10}, {20, 10}}));
    EXPECT_EQ(drawn(), (Points{{10, 10}, {20, 10}}));
    click(QPoint(20, 30));
    trigger("Cancel"); // as another one
    expectKept({{10, 10}, {20, 10}, {20, 30}});
    history().undo();
    // Given up as it came back it does not stand in the way a second time.
    mediator->resumeDrawing(*other, makeVertices({{10, 10}, {20, 10}, {20, 30}}));
    trigger("Cancel");
    EXPECT_EQ(history().getUndoDescription(false), "Item creation");
    EXPECT_EQ(undoAll(), 1);
    EXPECT_EQ(text(), before);
    while (history().isRedoable())
        history().redo();
    EXPECT_EQ(text(), after);
    // Nothing drawn, or taken back, is nothing to be kept.
    history().clear();
    creation->activate("Polygon");
    trigger("Cancel");
    creation->activate("Polygon");
    draw({{10, 10}});
    key(Qt::Key_Backspace);
    EXPECT_FALSE(creation->isActive());
    EXPECT_FALSE(history().isUndoable());
}

TEST_F(DrawingTest, pointsAreNotDrawnByDraggingAndPreferencesDropStraightRuns) {
    expectSteps(1, [&] {
        creation->activate("Dots");
        press(QPoint(10, 10));
        drag(QPoint(150, 150));
        draw({{30, 30}, {40, 40}});
        key(Qt::Key_Return);
    });
    EXPECT_EQ(verticesOf(slice->getItem(0)), (Points{{10, 10}, {30, 30}, {40, 40}}));
    VRLPreferences::enableAutoDecimation(true);
    creation->activate("Polygon");
    draw({{50, 50}, {50, 70}, {50, 100}, {100, 100}, {100, 50}});
    key(Qt::Key_Return);
    EXPECT_EQ(slice->getItem(1).getSize(), 4);
}

TEST_F(DrawingTest, drawingEndsWithItsModelAndItsSlice) {
    creation->activate("Other & more");
    draw({{10, 10}});
    VRLModelDeleteEvent event(other);
    mediator->notifyEvent(event);
    EXPECT_FALSE(creation->isActive());
    creation->activate("Polygon");
    draw({{10, 10}});
    showSlice(addSlice(TestImages::ramp(300, 200, 8)));
    EXPECT_FALSE(creation->isActive());
    creation->activate("Polygon");
    widget->clear();
    EXPECT_FALSE(creation->isActive());
    EXPECT_FALSE(selection->isActive());
    EXPECT_EQ(canvas->getExtraItem(), nullptr);
}

TEST_F(DrawingTest, clicksToggleAndWithoutShiftDeselectTheRest) {
    ModelItem& contour = addItem(*polygon, *slice, square);
    ModelItem& open = addItem(*line, *slice, {{150, 50}, {200, 50}});
    ModelItem& points = addItem(*dots, *slice, {{150, 150}, {200, 150}});
    EventRecorder recorder;
    click(QPoint(75, 100));
    EXPECT_TRUE(contour.getSelection().isComplete());
    EXPECT_EQ(recorder.take(), (std::vector<std::string>{"itemSelect", "sliceItemSelection"}));
    click(QPoint(175, 60), Qt::ShiftModifier); // at the tolerance
    EXPECT_TRUE(contour.getSelection().isComplete());
    EXPECT_TRUE(open.getSelection().isComplete());
    click(QPoint(250, 20), Qt::ShiftModifier);
    EXPECT_TRUE(open.getSelection().isComplete());
    click(QPoint(151, 151));
    EXPECT_TRUE(contour.getSelection().isEmpty());
    EXPECT_TRUE(open.getSelection().isEmpty());
    EXPECT_TRUE(points.getSelection().isSelected(0));
    click(QPoint(199, 151));
    EXPECT_FALSE(points.getSelection().isSelected(0));
    click(QPoint(150, 150), Qt::ShiftModifier);
    EXPECT_TRUE(points.getSelection().isComplete());
    click(QPoint(250, 20));
    EXPECT_TRUE(points.getSelection().isEmpty());
    recorder.take();
    click(QPoint(250, 20)); // nothing changes
    EXPECT_TRUE(recorder.take().empty());
    EXPECT_FALSE(history().isUndoable());
    VRLPreferences::setClickTolerance(3);
    click(QPoint(175, 55));
    EXPECT_TRUE(open.getSelection().isEmpty());
}

TEST_F(DrawingTest, aClickTakesTheNearestAndTheNextOnesWhenRepeated) {
    ModelItem& outer = addItem(*polygon, *slice, square);
    ModelItem& inner = addItem(*other, *slice, {{54, 54}, {54, 96}, {96, 96}, {96, 54}});
    const auto selected = [&] { return std::pair(!outer.getSelection().isEmpty(), !inner.getSelection().isEmpty()); };
    const std::pair onlyOuter(true, false), onlyInner(false, true), both(true, true), none(false, false);
    click(QPoint(75, 95));
    EXPECT_EQ(selected(), onlyInner);
    click(QPoint(75, 95));
    EXPECT_EQ(selected(), onlyOuter);
    click(QPoint(75, 95));
    EXPECT_EQ(selected(), onlyInner);
    click(QPoint(75, 101));
    EXPECT_EQ(selected(), onlyOuter);
    click(QPoint(75, 95), Qt::ShiftModifier);
    EXPECT_EQ(selected(), both);
    click(QPoint(75, 95), Qt::ShiftModifier);
    EXPECT_EQ(selected(), onlyOuter);
    click(QPoint(75, 109)); // in reach of the outer one alone
    EXPECT_EQ(selected(), none);

    // A hand that trembles draws no box.
    press(QPoint(75, 101));
    drag(QPoint(77, 102));
    release(QPoint(77, 102));
    EXPECT_EQ(selected(), onlyOuter);
    EXPECT_TRUE(outer.getSelection().isComplete());

    // The tolerance counts on the screen.
    action("Cancel")->trigger();
    canvas->setZoomFactor(4);
    const auto onScreen = [&](int x, int y) { return mediator->getToolHost().canvasPosition(point(x, y)).toPoint(); };
    canvas->setViewOrigin(QPoint(60, 60));
    click(onScreen(75, 104));
    EXPECT_EQ(selected(), none);
    click(onScreen(75, 102));
    EXPECT_EQ(selected(), onlyOuter);
}

// Qt makes a double click of the second of two quick presses.
TEST_F(DrawingTest, aQuickSecondPressIsNotLost) {
    ModelItem& outer = addItem(*polygon, *slice, square);
    ModelItem& inner = addItem(*other, *slice, {{54, 54}, {54, 96}, {96, 96}, {96, 54}});
    doubleClick(QPoint(75, 95));
    EXPECT_TRUE(outer.getSelection().isComplete() && inner.getSelection().isEmpty());
    key(Qt::Key_Escape);
    action("Cancel")->trigger();
    doubleClick(QPoint(75, 109)); // in reach of the outer one alone, which stays
    EXPECT_TRUE(outer.getSelection().isComplete() && inner.getSelection().isEmpty());
    edition->activate();
    expectSteps(1, [&] {
        click(QPoint(51, 51));
        mouse(QEvent::MouseButtonDblClick, QPoint(51, 51), Qt::LeftButton, Qt::LeftButton);
        drag(QPoint(40, 30));
        drag(QPoint(20, 30));
        release(QPoint(20, 30));
    });
    EXPECT_EQ(verticesOf(outer)[0], std::make_pair(20, 30));
    edition->cancel();
}

TEST_F(DrawingTest, aBoxTogglesTheVerticesInIt) {
    ModelItem& contour = addItem(*polygon, *slice, square);
    const auto dragBox = [&](QPoint from, QPoint to) {
        press(from, Qt::ShiftModifier);
        drag((from + to) / 2);
        drag(to);
        EXPECT_NE(canvas->findChild<QRubberBand*>(), nullptr);
        release(to);
        EXPECT_EQ(canvas->findChild<QRubberBand*>(), nullptr);
    };
    const auto onScreen = [&] {
        QTest::qWait(100);
        const QPoint corner = canvas->mapTo(canvas->window(), QPoint(0, 0));
        return canvas->screen()->grabWindow(canvas->window()->winId(), corner.x() + 110, corner.y() + 35, 30, 60);
    };
    const QImage before = onScreen().toImage();
    dragBox(QPoint(120, 120), QPoint(75, 30)); // the right half, backwards
    EXPECT_EQ(onScreen().toImage(), before) << "the box is still to be seen";
    EXPECT_EQ(contour.getSelection().getSize(), 2);
    EXPECT_TRUE(contour.getSelection().isSelected(2));
    EXPECT_TRUE(contour.getSelection().isSelected(3));
    dragBox(QPoint(30, 120), QPoint(120, 75)); // the lower half
    EXPECT_TRUE(contour.getSelection().isSelected(1));
    EXPECT_FALSE(contour.getSelection().isSelected(2));
    EXPECT_FALSE(mouse(QEvent::MouseButtonRelease, QPoint(5, 5), Qt::LeftButton, Qt::NoButton));
    action("Cancel")->trigger();
    EXPECT_TRUE(contour.getSelection().isEmpty());

    // A box whose release went to a menu is forgotten when the pointer moves on, or presses again.
    press(QPoint(30, 30));
    drag(QPoint(120, 120));
    mouse(QEvent::MouseMove, QPoint(140, 140), Qt::NoButton, Qt::NoButton);
    EXPECT_EQ(canvas->findChild<QRubberBand*>(), nullptr);
    press(QPoint(30, 30));
    drag(QPoint(120, 120));
    click(QPoint(200, 30));
    EXPECT_EQ(canvas->findChild<QRubberBand*>(), nullptr);
    EXPECT_TRUE(contour.getSelection().isEmpty());
}

TEST_F(DrawingTest, commandsAndMenusFollowTheSelection) {
    ModelItem& contour = addItem(*polygon, *slice, square);
    ModelItem& points = addItem(*dots, *slice, {{150, 150}, {200, 150}});
    const auto state = [&] {
        QTest::qWait(0);
        const std::unique_ptr<QMenu> menu = mediator->newContextMenu();
        QString enabled;
        for (const QString title : {"Draw", "Edit", "Select", "Convert", "Delete"})
            enabled += entry(*menu, title).isEnabled() ? title.left(1) + title.right(1) + " " : QString();
        enabled += action("Edit points")->isEnabled() ? "points " : "";
        enabled += entry(*entry(*menu, "Edit").menu(), "Properties...").isEnabled() ? "properties " : "";
        enabled += entry(*entry(*menu, "Edit").menu(), "Decimate (Douglas-Peucker)").isEnabled() ? "peucker " : "";
        for (const QString tool : {"Run Snake", "Split contour", "Change origin", "Smooth (Fourier)"})
            EXPECT_EQ(action(tool)->isEnabled(), action("Resample")->isEnabled());
        enabled += action("Resample")->isEnabled() ? "tools " : "";
        return enabled.trimmed();
    };
    EXPECT_EQ(state(), "Dw St properties");
    choose("Select", "", "Polygon");
    EXPECT_TRUE(contour.getSelection().isComplete());
    EXPECT_EQ(state(), "Dw Et Ct De points properties peucker tools");
    {
        const std::unique_ptr<QMenu> menu = mediator->newContextMenu();
        QMenu& convert = *entry(*menu, "Convert").menu();
        EXPECT_TRUE(entry(convert, "Other && more").isEnabled());
        EXPECT_FALSE(entry(convert, "Line").isEnabled());
    }
    selection->selectAllModelItems();
    EXPECT_TRUE(points.getSelection().isComplete());
    EXPECT_EQ(state(), "Dw Et De");
    selection->cancelSelection();
    selection->selectModelItems("Dots");
    EXPECT_EQ(state(), "Dw Et Ct De points");
    selection->cancelSelection();
    selectSome(contour, {0, 2});
    EXPECT_EQ(state(), "Dw Et Ct De points properties");
    ModelItem& open = addItem(*line, *slice, {{150, 20}, {200, 20}, {210, 30}});
    contour.getSelection().set(false);
    select(open);
    EXPECT_EQ(state(), "Dw Et Ct De points properties peucker");
    delete &open;
    select(points);
    expectSteps(1, [&] { action("Delete")->trigger(); });
    history().undo();
    EXPECT_EQ(mediator->buildSliceModelList(), QStringList({"Dots", "Polygon"}));
    EXPECT_EQ(mediator->buildStackModelList(), QStringList({"Dots", "Line", "Other & more", "Polygon"}));
    EXPECT_EQ(mediator->buildPolygonModelList(), QStringList({"Other & more", "Polygon"}));
}

TEST_F(DrawingTest, commandsOnTheSelectionAreOneStepAndTellWhatTheyDid) {
    ModelItem& straight = addItem(*line, *slice, {{10, 10}, {20, 10}, {30, 10}, {30, 40}});
    ModelItem& contour = addItem(*polygon, *slice, square);
    select(straight);
    select(contour);
    ModalScript script;
    script.thenClick("OK");
    expectSteps(1, [&] { selection->decimateSelection(); });
    EXPECT_EQ(script.seen.back(), "Contour decimation: Line\n\nRemoved 1 vertices out of 4 (25%)");
    selectSome(contour, {0, 1});
    script.thenClick("OK");
    expectSteps(1, [&] { selection->removeSelection(); });
    EXPECT_TRUE(QString::fromStdString(script.seen.back())
                    .startsWith("Vertex suppresion: Polygon:\n\nCould not remove selected vertices"));
    ASSERT_EQ(slice->getNumItems(), 1);
    select(contour);
    expectSteps(1, [&] { choose("Convert", "", "Other && more"); });
    EXPECT_EQ(contour.getModel(), other);
    select(contour);
    expectSteps(0, [&] { selection->convertSelection("Other & more"); });
}

TEST_F(DrawingTest, whatAnEditionHasDoneCanBeUndoneInIt) {
    ModelItem& contour = addItem(*polygon, *slice, square);
    const Points drawnBefore = verticesOf(contour);
    expectSteps(1, [&] { EXPECT_TRUE(moveVertex(stack, contour, 1, point(60, 120))); });
    history().redo();
    const Points before = verticesOf(contour);
    select(contour);
    edition->activate();
    const auto move = [this](QPoint from, QPoint to) {
        press(from);
        drag(to);
        release(to);
    };
    key(Qt::Key_Z, Qt::ControlModifier); // what was done before the edition stays
    EXPECT_EQ(verticesOf(contour), before);
    move(QPoint(50, 50), QPoint(30, 30));
    const Points moved = verticesOf(contour);
    edition->setInsertMode();
    click(QPoint(100, 75));
    const Points inserted = verticesOf(contour);
    ASSERT_NE(inserted, moved);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(verticesOf(contour), moved);
    edition->undo();
    EXPECT_EQ(verticesOf(contour), before);
    edition->undo();
    EXPECT_EQ(verticesOf(contour), before);
    key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(verticesOf(contour), moved);
    QTest::keyClick(edition->getToolBar(), Qt::Key_R, Qt::ControlModifier); // the tool window may have the keyboard
    EXPECT_EQ(verticesOf(contour), inserted);
    EXPECT_TRUE(edition->isActive());
    action("Cancel")->trigger();
    EXPECT_EQ(undoAll(), 3);
    EXPECT_EQ(verticesOf(contour), drawnBefore);
}

TEST_F(DrawingTest, verticesAreMovedInsertedAndDeletedInStepsOfTheirOwn) {
    ModelItem& contour = addItem(*polygon, *slice, square);
    edition->activate();
    EXPECT_FALSE(edition->isActive()); // nothing is selected
    select(contour);
    QSignalSpy locks(mediator, &VRLSliceEditWidgetMediator::lockRequested);
    edition->activate();
    edition->activate();
    EXPECT_EQ(statusBar->getEditModeInfo(), "MOVE");
    EXPECT_TRUE(edition->getToolBar()->isVisible());
    expectSteps(0, [&] {
        press(QPoint(50, 61)); // too far
        drag(QPoint(10, 10));
        release(QPoint(10, 10));
        press(QPoint(52, 52)); // no move
        release(QPoint(52, 52));
    });
    expectSteps(1, [&] {
        press(QPoint(55, 58));
        drag(QPoint(40, 40));
        drag(QPoint(30, 30));
        release(QPoint(30, 30));
    });
    EXPECT_EQ(verticesOf(contour)[0], std::make_pair(30, 30));
    edition->setInsertMode();
    expectSteps(1, [&] {
        click(QPoint(75, 103));
        click(QPoint(250, 150)); // off the contour
    });
    EXPECT_EQ(verticesOf(contour)[2], std::make_pair(75, 103));
    edition->setDeleteMode();
    EXPECT_EQ(statusBar->getEditModeInfo(), "DELETE");
    ModalScript script;
    script.thenClick("OK");
    expectSteps(2, [&] {
        press(QPoint(30, 30));
        drag(QPoint(150, 150));
        drag(QPoint(75, 103));
        drag(QPoint(100, 100)); // three are left
    });
    EXPECT_EQ(contour.getSize(), 3);
    EXPECT_EQ(script.seen[0],
              "Warning: You cannot remove any vertex from this contour.\n\nReason: cannot make a closed "
              "contour with less than 3 vertices.");
    action("Cancel")->trigger();
    EXPECT_FALSE(edition->isActive());
    EXPECT_FALSE(edition->getToolBar()->isVisible());
    EXPECT_EQ(statusBar->getEditModeInfo(), "");
    EXPECT_EQ(locks.count(), 2);
}

TEST_F(DrawingTest, editionInsertsPointsAnywhere) {
    ModelItem& points = addItem(*dots, *slice, {{150, 150}});
    select(points);
    edition->activate();
    edition->setInsertMode();
    expectSteps(1, [&] { click(QPoint(20, 190)); });
    EXPECT_EQ(verticesOf(points)[1], std::make_pair(20, 190));
    edition->deactivate();
}

TEST_F(DrawingTest, anEditionEndsWithItsItemAndTakesADragBack) {
    ModelItem& contour = addItem(*polygon, *slice, square);
    select(contour);
    expectSteps(0, [&] {
        edition->activate();
        press(QPoint(50, 50));
        drag(QPoint(20, 20));
        edition->cancel();
    });
    EXPECT_EQ(verticesOf(contour), square);
    expectSteps(1, [&] { // a drag whose release went elsewhere is done
        edition->activate();
        press(QPoint(50, 50));
        drag(QPoint(20, 20));
        mouse(QEvent::MouseMove, QPoint(25, 25), Qt::NoButton, Qt::NoButton);
        edition->cancel();
    });
    history().undo();
    edition->activate();
    press(QPoint(50, 50));
    drag(QPoint(20, 20));
    selection->removeSelection();
    EXPECT_FALSE(edition->isActive());
    drag(QPoint(30, 30));
    release(QPoint(30, 30));
    history().undo();
    EXPECT_EQ(slice->getNumItems(), 1);
}

TEST_F(DrawingTest, theEditionHasAMenuAndAToolWindowOfItsOwn) {
    select(addItem(*polygon, *slice, square));
    edition->activate();
    QStringList texts;
    QTimer::singleShot(0, [&] {
        if (auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            for (const QAction* each : menu->actions())
                texts << each->text().remove('&');
            menu->actions()[1]->trigger();
            menu->close();
        }
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), canvas->mapToGlobal(QPoint(5, 5)));
    QCoreApplication::sendEvent(canvas, &event);
    EXPECT_EQ(texts,
              QStringList({"Move points", "Insert points", "Delete points", "", "Undo", "Redo", "", "End edition"}));
    EXPECT_EQ(statusBar->getEditModeInfo(), "INSERT");
    EXPECT_EQ(edition->getToolBar()->windowTitle(), "Vertex edition tools");
    EXPECT_EQ(edition->getToolBar()->pos(), canvas->mapToGlobal(QPoint(10, 10)));
    edition->getToolBar()->close();
    EXPECT_FALSE(edition->isActive());
    edition->activate();
    EXPECT_EQ(statusBar->getEditModeInfo(), "MOVE");
}

TEST_F(DrawingTest, propertiesOfTheSelectedItemAreEditedInADialog) {
    addItem(*polygon, *slice, square);
    selection->editSelectionProperties(); // nothing is selected
    selection->selectAllModelItems();
    ModalScript script;
    script.thenReject();
    selection->editSelectionProperties();
    EXPECT_EQ(script.seen.size(), 1u);
}

TEST_F(DrawingTest, anEditorMayGoWhileSomethingIsDrawn) {
    auto* const second = new VRLSliceEditWidget;
    second->initialize();
    second->setImageServer(server);
    second->setSlice(*slice);
    second->getMediator().findChild<VRLSliceEditWidgetMediatorCreationDelegate*>()->activate("Polygon");
    EXPECT_NE(QGuiApplication::overrideCursor(), nullptr);
    testing::internal::CaptureStderr();
    delete second;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    ASSERT_TRUE(settle());
}

/// A user who does anything at all, of a fixed seed: each command of the table as often as its weight says. A further
/// command of the editor is one more line. Message boxes and dialogs are closed as they come.
class RestlessUserTest : public DrawingTest {
protected:
    struct Command {
        int weight;
        const char* name;
        std::function<void()> work;
    };

    void SetUp() override {
        DrawingTest::SetUp();
        slices[0] = slice;
        slices[1] = &addSlice(TestImages::ramp(300, 200, 8));
        addItem(*polygon, *slice, square);
        addItem(*dots, *slice, {{150, 150}, {200, 150}});
        addItem(*line, *slice, {{150, 50}, {200, 50}, {220, 70}});
        addItem(*other, *slices[1], {{20, 20}, {20, 150}, {250, 150}, {240, 80}});
        closer.setInterval(0);
        QObject::connect(&closer, &QTimer::timeout, [this] { close(); });
        closer.start();
        QObject::connect(mediator, &VRLSliceEditWidgetMediator::lockRequested, [this](bool on) { locked = on; });
    }

    int below(int n) { return int(random() % unsigned(n)); }
    bool rarely() { return below(8) == 0; }
    QPoint anywhere() { return QPoint(below(340) - 20, below(240) - 20); }

    /// Often on a vertex, else anywhere.
    QPoint somewhere() {
        if (slice->getNumItems() > 0 && below(2) == 0) {
            const ModelItem& item = slice->getItem(below(slice->getNumItems()));
            if (item.getSize() > 0) {
                const Vector<double>& vertex = item.getVertices()[below(item.getSize())];
                const QPointF at = canvas->convertToPosition(QPointF(vertex[0] + 0.5, vertex[1] + 0.5));
                return QPoint(int(at.x()), int(at.y()));
            }
        }
        return anywhere();
    }
    Qt::KeyboardModifiers modifiers() {
        const Qt::KeyboardModifiers choices[] = {Qt::NoModifier, Qt::NoModifier, Qt::ShiftModifier,
                                                 Qt::ControlModifier};
        return choices[below(4)];
    }
    Qt::MouseButton button() {
        return rarely() ? (below(2) == 0 ? Qt::RightButton : Qt::MiddleButton) : Qt::LeftButton;
    }
    void chooseAny(const QString& title, const QString& subTitle = QString()) {
        const std::unique_ptr<QMenu> menu = mediator->newContextMenu();
        QAction* chosen = &entry(*menu, title);
        if (!subTitle.isEmpty() && chosen->isEnabled())
            chosen = &entry(*chosen->menu(), subTitle);
        if (!chosen->isEnabled() || chosen->menu()->actions().isEmpty())
            return;
        const QList<QAction*> entries = chosen->menu()->actions();
        entries[below(int(entries.size()))]->trigger();
    }
    void edit(const QString& text) {
        const std::unique_ptr<QMenu> menu = mediator->newContextMenu();
        entry(*entry(*menu, "Edit").menu(), text).trigger();
    }
    void anyKey() {
        const Qt::Key keys[] = {Qt::Key_Return, Qt::Key_Backspace, Qt::Key_X, Qt::Key_Enter, Qt::Key_A, Qt::Key_Space};
        const Qt::Key code = keys[below(6)];
        if (code == Qt::Key_X)
            QCursor::setPos(canvas->mapToGlobal(anywhere()));
        key(code);
        if (below(4) != 0) {
            QKeyEvent event(QEvent::KeyRelease, code, Qt::NoModifier);
            QCoreApplication::sendEvent(canvas, &event);
        }
    }

    /// What has opened: menus go, boxes are accepted, dialogs of tools get a number first and may be rejected. Their
    /// own random numbers keep the course of the commands apart from that of the timer.
    void close() {
        if (QWidget* const popup = QApplication::activePopupWidget()) {
            popup->close();
            return;
        }
        auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr)
            return;
        if (auto* const box = dialog->findChild<QSpinBox*>())
            box->setValue(int(dialogRandom() % 20));
        // Properties are no steps of the history.
        if (qobject_cast<QMessageBox*>(dialog) == nullptr &&
            (dialogRandom() % 4 == 0 || dialog->windowTitle() == "Properties"))
            dialog->reject();
        else
            dialog->accept();
    }

    void selectOne() {
        if (locked || slice->getNumItems() == 0)
            return;
        selection->cancelSelection();
        select(slice->getItem(below(slice->getNumItems())));
    }
    void useTool(const QString& text) {
        selectOne();
        edit(text);
    }

    std::vector<Command> commands() {
        return {
            {8, "draw", [this] { chooseAny("Draw", "Manual"); }},
            {4, "select", [this] { chooseAny("Select"); }},
            {4, "convert", [this] { chooseAny("Convert"); }},
            {3, "decimate", [this] { edit("Decimate"); }},
            {3, "resample", [this] { useTool("Resample"); }},
            {3, "change origin", [this] { useTool("Change origin"); }},
            {3, "smooth", [this] { useTool("Smooth (Fourier)"); }},
            {3, "Douglas-Peucker", [this] { useTool("Decimate (Douglas-Peucker)"); }},
            {3, "split", [this] { useTool("Split contour"); }},
            {2, "fill gaps", [this] { trigger(below(2) == 0 ? "Fill gap" : "Fill all gaps"); }},
            {2, "copy", [this] { trigger("Copy to slices..."); }},
            {1, "snake", [this] { useTool("Run Snake"); }},
            {3, "automatic", [this] { chooseAny("Draw", "Automatic"); }},
            {1, "properties", [this] { edit("Properties..."); }},
            {6, "edit points", [this] { trigger("Edit points"); }},
            {2, "select all", [this] { trigger("Select all"); }},
            {2, "delete", [this] { trigger("Delete"); }},
            {2, "cancel", [this] { trigger("Cancel"); }},
            {30, "click", [this] { click(somewhere(), modifiers()); }},
            {8, "double click", [this] { doubleClick(somewhere()); }},
            {16, "drag",
             [this] {
                 press(somewhere(), modifiers());
                 for (int n = below(5); n >= 0; --n)
                     drag(anywhere());
                 release(anywhere());
             }},
            {5, "press",
             [this] {
                 const Qt::MouseButton which = button();
                 mouse(QEvent::MouseButtonPress, somewhere(), which, which, modifiers());
             }},
            {6, "move",
             [this] {
                 mouse(QEvent::MouseMove, anywhere(), Qt::NoButton, below(2) == 0 ? Qt::LeftButton : Qt::NoButton);
             }},
            {4, "release", [this] { mouse(QEvent::MouseButtonRelease, anywhere(), button(), Qt::NoButton); }},
            {10, "pen",
             [this] {
                 const auto kind = rarely() ? QPointingDevice::PointerType::Eraser : QPointingDevice::PointerType::Pen;
                 pen(QEvent::TabletPress, somewhere(), 0.1 * below(11), kind);
                 for (int n = below(5); n >= 0; --n)
                     pen(QEvent::TabletMove, anywhere(), 0.1 * below(11), kind);
                 pen(QEvent::TabletRelease, anywhere(), 0, kind);
             }},
            {20, "key", [this] { anyKey(); }},
            {3, "context menu",
             [this] {
                 const QPoint at = anywhere();
                 QContextMenuEvent event(QContextMenuEvent::Mouse, at, canvas->mapToGlobal(at));
                 QCoreApplication::sendEvent(canvas, &event);
             }},
            {8, "edit mode",
             [this] {
                 const QList<QAction*> modes = edition->getToolBar()->findChild<QToolBar*>()->actions();
                 if (edition->isActive())
                     modes[below(rarely() ? 6 : 3)]->trigger();
             }},
            {1, "close the tools", [this] { edition->getToolBar()->close(); }},
            {3, "undo",
             [this] {
                 if (!locked) // the window around it is locked while an interaction runs
                     history().undo();
             }},
            {3, "redo",
             [this] {
                 if (!locked)
                     history().redo();
             }},
            {2, "other slice",
             [this] {
                 slice = slices[below(2)];
                 widget->setSlice(*slice);
             }},
            {3, "zoom",
             [this] {
                 const QString zooms[] = {"Zoom in", "Zoom out", "Best fit"};
                 trigger(zooms[below(3)]);
             }},
            {2, "scroll",
             [this] {
                 const QString ways[] = {"Scroll up", "Scroll down", "Scroll left", "Scroll right", "[Center]"};
                 trigger(ways[below(5)]);
             }},
            {1, "mode",
             [this] {
                 const QString modes[] = {"Display images only", "Display items only", "Display images and items"};
                 trigger(modes[below(3)]);
             }},
            {1, "decimation on or off", [this] { VRLPreferences::enableAutoDecimation(below(2) == 0); }},
            {1, "tolerance", [this] { VRLPreferences::setClickTolerance(below(20)); }},
            {1, "contrast",
             [this] { canvas->setBlackAndWhite(0.1f * float(below(5)), 0.5f + 0.1f * float(below(5))); }},
        };
    }

    /// The slice that the stack remembers is where the user was last, undone or not.
    std::string document() {
        stack.setLastSegmentedSlice("slice");
        return text();
    }

    std::mt19937 random{20260717};
    std::mt19937 dialogRandom{1};
    bool locked = false;
    StackSlice* slices[2];
    QTimer closer;
};

// Whatever the user does, undoing all of it leads back to the first document, and redoing it to the last. The variable
// VORLEN_FUZZ_ACTIONS sets another number of actions, VORLEN_FUZZ_SEED another course.
TEST_F(RestlessUserTest, allOfALongSessionIsUndone) {
    bool isNumber = false;
    const int wanted = qEnvironmentVariableIntValue("VORLEN_FUZZ_ACTIONS", &isNumber);
    const int numActions = isNumber ? wanted : 10000;
    if (const int seed = qEnvironmentVariableIntValue("VORLEN_FUZZ_SEED", &isNumber); isNumber)
        random.seed(unsigned(seed));
    const std::string first = document();
    const std::vector<Command> table = commands();
    int sum = 0;
    for (const Command& command : table)
        sum += command.weight;
    std::vector<int> counts(table.size());
    for (int i = 0; i < numActions; ++i) {
        std::size_t k = 0;
        for (int ticket = below(sum); ticket >= table[k].weight; ++k)
            ticket -= table[k].weight;
        SCOPED_TRACE(std::string("action ") + std::to_string(i) + ": " + table[k].name);
        table[k].work();
        ++counts[k];
        ASSERT_EQ(mediator->getSlice(), slice);
        ASSERT_FALSE(creation->isActive() && edition->isActive());
        if (below(8) == 0)
            QCoreApplication::processEvents(); // paints
        else
            QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
    }
    trigger("Cancel");
    ASSERT_FALSE(locked);
    while (history().isRedoable())
        history().redo();
    for (std::size_t k = 0; k < table.size(); ++k)
        EXPECT_TRUE(counts[k] > 0 || numActions < 5000) << table[k].name;
    const std::string last = document();
    EXPECT_NE(last, first);
    const int steps = undoAll();
    EXPECT_GT(steps, numActions / 100);
    EXPECT_EQ(document(), first);
    while (history().isRedoable())
        history().redo();
    EXPECT_EQ(document(), last);
}

// In every state the status bar says what the next input does and how to get out, and the pointer has the shape of it.
TEST_F(DrawingTest, pointerAndStatusBarTellWhatAClickWillDo) {
    ModelItem& contour = addItem(*polygon, *slice, square);
    ModelItem& points = addItem(*dots, *slice, {{150, 150}, {200, 150}});
    QTest::qWait(0);
    const auto told = [&](const QStringList& words, std::optional<Qt::CursorShape> shape) {
        QTest::qWait(0);
        for (const QString& word : words)
            EXPECT_TRUE(statusBar->currentMessage().contains(word))
                << word.toStdString() << " is not in: " << statusBar->currentMessage().toStdString();
        const QCursor* const cursor = QGuiApplication::overrideCursor();
        EXPECT_EQ(cursor != nullptr, shape.has_value());
        if (cursor != nullptr && shape) {
            EXPECT_EQ(cursor->shape(), *shape);
        }
    };
    const QStringList resting = {"Click: select", "Right click: draw"};
    told(resting, {});
    statusBar->showMessage("Something else.");
    told({"Something else."}, {});
    statusBar->clearMessage();
    told(resting, {});
    click(QPoint(75, 100));
    told({"Delete: remove", "E: edit points", "Escape: deselect"}, {});
    click(QPoint(150, 150), Qt::ShiftModifier);
    told({"Delete: remove", "Escape: deselect"}, {});
    EXPECT_FALSE(statusBar->currentMessage().contains("E: edit")); // two items
    trigger("Cancel");
    told(resting, {});

    for (const QString name : {"Polygon", "Line", "Dots"}) {
        choose("Draw", "Manual", name);
        told({name == "Dots" ? "Click: add a point" : "Click or drag: draw", "Return", "Backspace", "Escape"},
             Qt::CrossCursor);
        click(QPoint(20, 20));
        statusBar->clearMessage(); // as the tips of tools do
        told({"Escape or right click: give up"}, Qt::CrossCursor);
        trigger("Cancel");
        told({"The drawing was given up. Undo (Ctrl+Z) brings it back."}, {});
        selectionChanged();
        told(resting, {});
    }
    for (ModelItem* item : {&contour, &points}) {
        item->getSelection().set(true);
        selectionChanged();
        edition->activate();
        told({"Drag a vertex", "Escape: end"}, Qt::PointingHandCursor);
        edition->setInsertMode();
        told({"insert", "Escape: end"}, Qt::PointingHandCursor);
        edition->setDeleteMode();
        told({"delete", "Escape: end"}, Qt::PointingHandCursor);
        trigger("Cancel"); // deselects too
        told(resting, {});
    }

    zoomTo(3);
    creation->activate("Line");
    key(Qt::Key_Space);
    told({"Drag: move the view", "Release"}, Qt::OpenHandCursor);
    QKeyEvent up(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier);
    QCoreApplication::sendEvent(canvas, &up);
    told({"Click or drag: draw"}, Qt::CrossCursor);
    creation->cancel();
    widget->clear();
    QTest::qWait(0);
    EXPECT_EQ(statusBar->currentMessage(), "");
}

// What is drawn, hit and moved lies under the pointer at every zoom and everywhere in the image.
TEST_F(DrawingTest, theTipOfThePointerCountsAtEveryZoom) {
    const QPoint places[] = {{100, 60}, {100, 100}, {140, 100}};
    for (const float zoom : {2.0f, 5.0f, 0.5f}) {
        zoomTo(zoom);
        canvas->setViewOrigin(QPoint(60, 40));
        const auto positionOf = [&](const QPoint& pixel) {
            const QPointF at = canvas->convertToPosition(QPointF(pixel) + QPointF(0.5, 0.5));
            return QPoint(int(at.x()), int(at.y()));
        };
        creation->activate("Line");
        for (const QPoint& place : places)
            click(positionOf(place));
        // The middle of a pixel of the canvas: at twice the size a quarter of the image's off the middle of that.
        using Places = std::vector<std::pair<double, double>>;
        const double off = zoom == 2 ? 0.25 : 0;
        EXPECT_EQ(decimals(creation->getItem()->getVertices()),
                  (Places{{100 + off, 60 + off}, {100 + off, 100 + off}, {140 + off, 100 + off}}))
            << zoom;
        key(Qt::Key_Return);
        ASSERT_EQ(slice->getNumItems(), 1) << zoom;
        ModelItem& item = slice->getItem(0);
        VRLPreferences::setClickTolerance(0);
        click(positionOf(QPoint(100, 80)));
        EXPECT_TRUE(item.getSelection().isComplete()) << zoom;
        edition->activate();
        press(positionOf(QPoint(140, 100)));
        drag(positionOf(QPoint(130, 90)));
        release(positionOf(QPoint(130, 90)));
        edition->cancel();
        EXPECT_EQ(decimals(item.getVertices())[2], std::make_pair(130 + off, 90 + off)) << zoom;
        delete &item;
    }
}

TEST_F(DrawingTest, shortcutsWorkOnTheCanvas) {
    addItem(*polygon, *slice, square);
    window.activateWindow();
    if (!QTest::qWaitForWindowActive(&window, 2000))
        GTEST_SKIP() << "no active windows on this display";
    canvas->setFocus();
    QTest::keyClick(canvas, Qt::Key_A, Qt::ControlModifier);
    EXPECT_NE(slice->getSelectedItem(), nullptr);
    QTest::keyClick(canvas, Qt::Key_E);
    EXPECT_TRUE(edition->isActive());
    QTest::keyClick(canvas, Qt::Key_Delete); // not while the edition runs
    EXPECT_EQ(slice->getNumItems(), 1);
    edition->cancel();
    QTest::keyClick(canvas, Qt::Key_Delete);
    EXPECT_EQ(slice->getNumItems(), 0);
}

// An item in the making is painted; VORLEN_SCREENSHOT names a file for the window.
TEST_F(DrawingTest, whatIsBeingDrawnIsSeen) {
    window.resize(1150, 300);
    polygon->getItemProperties().setColor(0, 255, 0);
    polygon->getItemProperties().setLineWidth(3);
    addItem(*dots, *slice, {{220, 40}, {250, 90}});
    select(addItem(*line, *slice, {{150, 150}, {200, 120}, {280, 160}}));
    const QRgb before = picture().pixel(75, 50);
    EXPECT_TRUE(statusBar->currentMessage().contains("Delete: remove"));
    creation->activate("Polygon");
    EXPECT_TRUE(statusBar->currentMessage().contains("Escape"));
    draw({{50, 50}, {100, 50}, {120, 90}, {60, 120}});
    QTest::qWait(60);
    EXPECT_FALSE(isNear(before, qRgb(0, 255, 0), 60));
    EXPECT_TRUE(isNear(picture().pixel(75, 50), qRgb(0, 255, 0), 60));
    if (qEnvironmentVariableIsSet("VORLEN_SCREENSHOT"))
        window.grab().save(qEnvironmentVariable("VORLEN_SCREENSHOT"));
}

} // namespace vorlen
