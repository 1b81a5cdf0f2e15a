#include "ui/tools/snakefixture.h"

#include <filesystem>

#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>

#include "document/stackwriter.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelevent.h"
#include "images/files/imagesourcefile.h"

namespace vorlen {

namespace {

constexpr int width = 320, height = 240;
constexpr double centreX = 160, centreY = 120;

/// Rings about the middle: the level changes by 60 at each radius, over about a pixel. The size is divided by scale.
Image rings(const std::vector<double>& radii, int scale = 1, int depth = 8, int channel = 0) {
    Image image(width / scale, height / scale, depth);
    image.clear();
    const int bytes = image.bytesPerPixel();
    for (int y = 0; y < image.getHeight(); ++y)
        for (int x = 0; x < image.getWidth(); ++x) {
            double value = 40;
            for (const double radius : radii)
                value += 60 * std::clamp(std::hypot(x - centreX / scale, y - centreY / scale) - radius + 0.5, 0.0, 1.0);
            image.getPixels()[y][bytes * x + channel] = static_cast<unsigned char>(std::lround(value));
        }
    return image;
}

double meanRadius(const ModelItem& item) {
    const double x = item.getSlice()->width() / 2, y = item.getSlice()->height() / 2;
    double sum = 0;
    for (int i = 0; i < item.getSize(); ++i)
        sum += std::hypot(item.getVertices()[i][0] - x, item.getVertices()[i][1] - y);
    return sum / item.getSize();
}

/// The mean radii of the slice's items but the first so many, rounded to tens.
std::vector<int> radiiOf(const StackSlice& slice, int first = 0) {
    std::vector<int> radii;
    for (int i = first; i < slice.getNumItems(); ++i)
        radii.push_back(10 * int(std::lround(meanRadius(slice.getItem(i)) / 10)));
    return radii;
}

void postKey(QWidget* widget, Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    QCoreApplication::postEvent(widget, new QKeyEvent(QEvent::KeyPress, key, modifiers));
}

} // namespace

/// One slice with a disc of radius 60, and seven slices for runs over a range.
class SnakeToolTest : public SnakeTest {
protected:
    StackSlice& showDisc(const Image& image) {
        StackSlice& slice = addSlice(image, "disc");
        showSlice(slice);
        return slice;
    }

    /// Slices s0 to s6, of half the size. A contour of radius 22 lies between two edges on s1, s4 and s5, and nearer
    /// to the inner one on s1 and s4.
    void addRange() {
        const std::vector<std::vector<double>> radii = {{40}, {10, 40}, {40}, {40}, {10, 40}, {10, 30}, {40}};
        for (std::size_t i = 0; i < radii.size(); ++i)
            addSlice(rings(radii[i], 2), std::string{'s', char('0' + i)});
        showSlice(stack.getSlice(3));
        addCircle(stack.getSlice(3), centreX / 2, centreY / 2, 22);
    }

    std::vector<std::string> slicesHeard() const {
        std::vector<std::string> names;
        const std::string start = "text Running snake on slice ";
        for (const std::string& text : watch.heard)
            if (text.compare(0, start.size(), start) == 0)
                names.push_back(text.substr(start.size()));
        return names;
    }

    std::vector<std::vector<int>> newRadii() const {
        std::vector<std::vector<int>> radii;
        for (int i = 0; i < stack.getNumSlices(); ++i)
            radii.push_back(radiiOf(stack.getSlice(i), i == 3 ? 1 : 0));
        return radii;
    }

    /// The document but for the slice that was segmented last, which an undo does not take back.
    std::string text() {
        stack.setLastSegmentedSlice("");
        return StackWriter().toText(stack, folder.path());
    }
};

TEST_F(SnakeToolTest, aContourRunsToTheEdgeBeforeTheUsersEyesAsOneStepOfTheHistory) {
    StackSlice& slice = showDisc(rings({60}));
    ModelItem& circle = addCircle(slice, centreX, centreY, 85);
    const auto drawn = coordinates(circle.getVertices());
    EXPECT_EQ(action("Run Snake")->shortcut(), QKeySequence("S"));
    QSignalSpy locks(mediator, &VRLSliceEditWidgetMediator::lockRequested);
    acceptParameters([&](QWidget& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Snake parameters");
        EXPECT_EQ(control<QDoubleSpinBox>(dialog, "Alpha").value(), 1);
        EXPECT_EQ(control<QDoubleSpinBox>(dialog, "Threshold").value(), 7);
        EXPECT_EQ(control<QDoubleSpinBox>(dialog, "Reg. max").value(), 2.5);
        EXPECT_EQ(control<QSpinBox>(dialog, "Scale").value(), 1);
        EXPECT_EQ(statusBar->getEditModeInfo(), "SNAKE");
        EXPECT_EQ(locks.count(), 1);
        EXPECT_FALSE(history().isStepOpen());
        control<QDoubleSpinBox>(dialog, "Reg. max").setValue(2);
    });
    PaintCounter paints;
    canvas->installEventFilter(&paints);
    std::vector<double> shownRadii;
    watch.atStep = [&](unsigned int step) {
        EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
        ASSERT_NE(canvas->getExtraItem(), nullptr);
        EXPECT_EQ(canvas->getExtraItem()->getSlice(), &slice);
        if (step % 5 == 1 && step > 5 && step < 500) // what the step before has shown
            shownRadii.push_back(meanRadius(*canvas->getExtraItem()));
    };
    const std::string before = text();
    runSnake();
    const std::string after = text();

    ASSERT_EQ(slice.getNumItems(), 2);
    EXPECT_EQ(coordinates(circle.getVertices()), drawn);
    EXPECT_EQ(slice.getItem(1).getModel(), model);
    EXPECT_NEAR(meanRadius(slice.getItem(1)), 60, 1.5);
    ASSERT_GT(shownRadii.size(), 10u);
    EXPECT_GT(shownRadii.front(), 80);
    EXPECT_LT(shownRadii[8], shownRadii.front() - 10);
    EXPECT_GE(paints.count, int(shownRadii.size()) - 1);

    ASSERT_GT(watch.heard.size(), 100u);
    EXPECT_EQ(watch.heard[0], "started Running snake...");
    EXPECT_EQ(watch.heard[1], "started Starting snake");
    EXPECT_EQ(watch.heard[2], "1/5000");
    EXPECT_EQ(watch.heard[watch.heard.size() - 2].rfind("finished The snake has ", 0), 0u);
    EXPECT_EQ(watch.heard.back(), "finished ");

    EXPECT_EQ(statusBar->getEditModeInfo(), "READY");
    EXPECT_EQ(canvas->getExtraItem(), nullptr);
    EXPECT_FALSE(snake->isActive());
    ASSERT_EQ(locks.count(), 2);
    EXPECT_TRUE(locks[0][0].toBool());
    EXPECT_FALSE(locks[1][0].toBool());

    history().undo();
    EXPECT_FALSE(history().isUndoable());
    EXPECT_EQ(text(), before);
    history().redo();
    EXPECT_EQ(text(), after);

    ASSERT_TRUE(model->hasSnakeConfig());
    EXPECT_EQ(model->getSnakeConfig().getRegMax(), 2);
    EXPECT_EQ(model->getSnakeConfig().getRegMin(), 1);
    EXPECT_EQ(model->getSnakeConfig().getDistance(), 50);
}

TEST_F(SnakeToolTest, givingUpTheParametersChangesNothingAndTheModelKeepsItsOwn) {
    StackSlice& slice = showDisc(rings({60}));
    addCircle(slice, centreX, centreY, 85);
    SnakeConfig stored;
    stored.setAlpha(2);
    stored.setScale(3);
    model->setSnakeConfig(stored);
    QSignalSpy locks(mediator, &VRLSliceEditWidgetMediator::lockRequested);
    script.then([&](QWidget& dialog) {
        EXPECT_EQ(control<QDoubleSpinBox>(dialog, "Alpha").value(), 2);
        EXPECT_EQ(control<QSpinBox>(dialog, "Scale").value(), 3);
        control<QSpinBox>(dialog, "Scale").setValue(5);
        ModalScript::click(dialog, "Cancel");
    });
    const std::string before = text();
    runSnake();
    EXPECT_EQ(text(), before);
    EXPECT_TRUE(watch.heard.empty());
    EXPECT_EQ(model->getSnakeConfig().getScale(), 3u);
    EXPECT_FALSE(history().isUndoable());
    EXPECT_EQ(statusBar->getEditModeInfo(), "READY");
    EXPECT_EQ(locks.count(), 2);
}

TEST_F(SnakeToolTest, theCommandIsForOneWholePolygon) {
    StackSlice& slice = showDisc(rings({60}));
    addCircle(slice, centreX, centreY, 85);
    EXPECT_TRUE(action("Run Snake")->isEnabled());
    slice.getItem(0).getSelection().set(false, 0, false);
    selectionChanged(slice);
    EXPECT_FALSE(action("Run Snake")->isEnabled());
    slice.getItem(0).getSelection().set(true);
    addItem(*model, slice, {{1, 1}, {9, 1}, {9, 9}}).getSelection().set(true);
    selectionChanged(slice);
    EXPECT_FALSE(action("Run Snake")->isEnabled());
    slice.getItem(0).getSelection().set(false);
    slice.getItem(1).getSelection().set(false);
    ModelItem& line = addItem(addModel(stack, "Line", PolylinePrimitive), slice, {{1, 1}, {9, 1}, {9, 9}});
    line.getSelection().set(true);
    selectionChanged(slice);
    EXPECT_FALSE(action("Run Snake")->isEnabled());
    line.getSelection().set(false);
    selectionChanged(slice);
    snake->activate(); // nothing is selected
    EXPECT_FALSE(snake->isActive());
}

TEST_F(SnakeToolTest, aClickRunsItByTheOptionsAndOtherOptionsRunItAgain) {
    StackSlice& slice = showDisc(rings({60}));
    addCircle(slice, centreX, centreY, 85);
    const VRLSnakeConfig before = VRLSliceEditWidgetMediatorSnakeDelegate::chosenConfig();
    mediator->chooseTool("tool.snake");
    const std::unique_ptr<QWidget> options(mediator->newToolOptions(&window));
    ASSERT_NE(options, nullptr);
    EXPECT_EQ(control<QDoubleSpinBox>(*options, "Threshold").value(), 7);
    QTest::mouseClick(canvas, Qt::LeftButton, {}, QPoint(5, 5)); // no outline
    EXPECT_EQ(slice.getNumItems(), 1);
    QTest::mouseClick(canvas, Qt::LeftButton, {}, QPoint(245, 120));
    ASSERT_EQ(radiiOf(slice, 1), std::vector<int>{60});
    EXPECT_EQ(history().getNumUndoSteps(), 1);
    EXPECT_EQ(mediator->getChosenTool(), "tool.snake"); // it stays on

    const std::uint64_t first = slice.getItem(1).getRevision();
    control<QDoubleSpinBox>(*options, "Reg. max").setValue(2.8);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return slice.getNumItems() == 2 && slice.getItem(1).getRevision() != first; }, 60000));
    EXPECT_EQ(radiiOf(slice, 1), std::vector<int>{60});
    EXPECT_EQ(history().getNumUndoSteps(), 1);
    EXPECT_EQ(model->getSnakeConfig().getRegMax(), 2.8f);

    history().undo(); // by the user: that was the last word
    control<QDoubleSpinBox>(*options, "Reg. max").setValue(2.6);
    QTest::qWait(600);
    EXPECT_EQ(slice.getNumItems(), 1);
    EXPECT_TRUE(script.seen.empty());
    VRLSliceEditWidgetMediatorSnakeDelegate::chooseConfig(before);
    mediator->chooseSelection();
}

TEST_F(SnakeToolTest, anOutlineIsReplacedOnWishAndOtherOptionsBeginWithItAsItWas) {
    StackSlice& slice = showDisc(rings({60}));
    const ModelItem& circle = addCircle(slice, centreX, centreY, 85);
    const VRLSnakeConfig before = VRLSliceEditWidgetMediatorSnakeDelegate::chosenConfig();
    mediator->chooseTool("tool.snake");
    const std::unique_ptr<QWidget> options(mediator->newToolOptions(&window));
    checkBox(*options, "Replace the outline").setChecked(true);
    QTest::mouseClick(canvas, Qt::LeftButton, {}, QPoint(245, 120));
    EXPECT_EQ(radiiOf(slice), std::vector<int>{60});
    EXPECT_EQ(history().getNumUndoSteps(), 1);
    const std::uint64_t first = circle.getRevision();
    control<QDoubleSpinBox>(*options, "Reg. max").setValue(2.8);
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return circle.getRevision() != first && history().getNumUndoSteps() == 1 && !snake->isActive(); },
        60000));
    EXPECT_EQ(radiiOf(slice), std::vector<int>{60});
    history().undo();
    EXPECT_NEAR(meanRadius(circle), 85, 1); // as it was drawn, not as the first run left it
    mediator->chooseSelection();

    acceptParameters([](QWidget& dialog) { // the wish is kept
        EXPECT_TRUE(checkBox(dialog, "Replace the outline").isChecked());
        checkBox(dialog, "Replace the outline").setChecked(false);
    });
    selectionChanged(slice);
    runSnake();
    EXPECT_EQ(slice.getNumItems(), 2);
    VRLSliceEditWidgetMediatorSnakeDelegate::chooseConfig(before);
}

TEST_F(SnakeToolTest, aSnakeThatCollapsesIsToldAndLeavesNothing) {
    StackSlice& slice = showDisc(TestImages::uniform(width, height, 8, 100));
    addCircle(slice, centreX, centreY, 12);
    acceptParameters();
    script.then([&](QWidget& dialog) {
        EXPECT_NE(canvas->getExtraItem(), nullptr); // what has become of the contour is still seen
        EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::ArrowCursor);
        ModalScript::click(dialog, "OK");
    });
    runSnake();
    ASSERT_EQ(script.seen.size(), 2u);
    EXPECT_EQ(script.seen[1],
              "Snake: The snake has aborted. Suggestions:\n- change the original contour;\n- change the "
              "snake parameters.");
    EXPECT_EQ(slice.getNumItems(), 1);
    EXPECT_EQ(canvas->getExtraItem(), nullptr);
    EXPECT_FALSE(history().isUndoable());
}

TEST_F(SnakeToolTest, anImageThatCannotBeReadIsNamed) {
    StackSlice& slice = showDisc(rings({60}));
    addCircle(slice, centreX, centreY, 85);
    const std::string file = dynamic_cast<const ImageSourceFile&>(slice.getImageSource()).getFilename();
    std::filesystem::remove(file);
    acceptParameters();
    script.thenClick("OK");
    runSnake();
    ASSERT_EQ(script.seen.size(), 2u);
    EXPECT_NE(script.seen[1].find(file), std::string::npos) << script.seen[1];
    EXPECT_EQ(slice.getNumItems(), 1);
    EXPECT_FALSE(snake->isActive());
    EXPECT_EQ(canvas->getExtraItem(), nullptr);
    EXPECT_EQ(watch.heard.back(), "finished ");
}

TEST_F(SnakeToolTest, escapeEndsTheRunAtOnceAndNoOtherInputPasses) {
    StackSlice& slice = showDisc(rings({60}));
    addCircle(slice, centreX, centreY, 85);
    QPushButton button(&window);
    QLineEdit field(&window);
    button.show();
    field.show();
    QSignalSpy clicks(&button, &QPushButton::clicked);
    unsigned int last = 0;
    watch.atStep = [&](unsigned int step) {
        last = step;
        if (step == 7) // in front of the events of step 10
            QTimer::singleShot(0, &window, [&] {
                EXPECT_FALSE(window.close());
                QTest::mouseClick(&button, Qt::LeftButton);
                QTest::keyClick(&field, Qt::Key_A);
                QMimeData data;
                QDragEnterEvent drag({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
                QCoreApplication::sendEvent(&window, &drag);
                EXPECT_FALSE(drag.isAccepted());
                action("Run Snake")->trigger(); // runs already
                action("Select all")->trigger();
            });
        if (step == 21)
            postKey(&field, Qt::Key_Escape);
    };
    acceptParameters();
    runSnake();
    EXPECT_EQ(last, 25u);
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(clicks.count(), 0);
    EXPECT_EQ(field.text(), "");
    EXPECT_EQ(slice.getNumItems(), 1);
    EXPECT_EQ(canvas->getExtraItem(), nullptr);
    EXPECT_FALSE(history().isUndoable());
    EXPECT_EQ(watch.heard.back(), "finished ");
    QTest::mouseClick(&button, Qt::LeftButton);
    EXPECT_EQ(clicks.count(), 1);

    watch.atStep = [&](unsigned int step) {
        last = step;
        if (step == 3)
            action("Cancel")->trigger();
    };
    acceptParameters();
    addCircle(slice, centreX, centreY, 85);
    runSnake();
    EXPECT_EQ(last, 3u);
}

TEST_F(SnakeToolTest, aRunWhoseSliceOrModelGoesAwayEndsWithoutATrace) {
    StackSlice& slice = showDisc(rings({60}));
    StackSlice& next = addSlice(rings({60}));
    QSignalSpy locks(mediator, &VRLSliceEditWidgetMediator::lockRequested);
    const std::function<void()> losses[] = {
        [&] { widget->clear(); },
        [&] { widget->setSlice(next); },
        [&] {
            VRLModelDeleteEvent event(model);
            VRLEventServer::notifyEvent(event);
            stack.removeModel(*model);
            delete model;
            model = nullptr;
        },
    };
    for (const auto& lose : losses) {
        showSlice(slice);
        addCircle(slice, centreX, centreY, 85);
        unsigned int last = 0;
        watch.atStep = [&](unsigned int step) {
            last = step;
            if (step == 13)
                lose();
        };
        const int numItems = slice.getNumItems();
        acceptParameters();
        runSnake();
        EXPECT_EQ(last, 13u);
        EXPECT_EQ(slice.getNumItems(), model != nullptr ? numItems : 0);
        EXPECT_FALSE(snake->isActive());
        EXPECT_EQ(statusBar->getEditModeInfo(), "READY");
        EXPECT_FALSE(locks.back()[0].toBool());
        EXPECT_FALSE(history().isUndoable());
    }
    // In front of the parameters, too.
    model = &addModel(stack, "Another");
    showSlice(slice);
    addCircle(slice, centreX, centreY, 85);
    script.then([&](QWidget& dialog) {
        widget->clear();
        EXPECT_FALSE(dialog.isVisible());
    });
    runSnake();
    EXPECT_FALSE(snake->isActive());
    EXPECT_EQ(locks.count(), 8);
}

TEST_F(SnakeToolTest, aRangeIsOneStepAndTheDialogsBeginWithWhatWasChosen) {
    addRange();
    acceptRange(2, true);
    const std::string before = text();
    runSnake();
    const std::string after = text();
    EXPECT_EQ(slicesHeard(), (std::vector<std::string>{"s3...", "s2...", "s1...", "s4...", "s5..."}));
    using Radii = std::vector<std::vector<int>>;
    EXPECT_EQ(newRadii(), (Radii{{}, {40}, {40}, {40}, {10}, {10}, {}}));
    EXPECT_EQ(statusBar->currentMessage(), "Snake: contours on 5 of 5 slices.");
    history().undo();
    EXPECT_FALSE(history().isUndoable());
    EXPECT_EQ(text(), before);
    history().redo();
    EXPECT_EQ(text(), after);
    history().undo();

    // A model that has parameters begins with a single slice.
    script.then([&](QWidget& dialog) {
        EXPECT_FALSE(checkBox(dialog, "Run on every slice").isChecked());
        EXPECT_FALSE(checkBox(dialog, "Use propagation").isEnabled());
        checkBox(dialog, "Run on every slice").click();
        EXPECT_EQ(control<QSpinBox>(dialog, "Slices on each side").value(), 10);
        dialog.close(); // is no answer: nothing runs
    });
    runSnake();
    EXPECT_FALSE(snake->isActive());
    EXPECT_FALSE(history().isUndoable());
    acceptRange(10, false);
    runSnake();
    EXPECT_EQ(newRadii(), (Radii{{40}, {10}, {40}, {40}, {10}, {30}, {40}}));
    // Once more: all but the slice where it begins have theirs.
    acceptRange(1, false);
    runSnake();
    EXPECT_EQ(statusBar->currentMessage(), "Snake: contours on 1 of 3 slices. 2 were outlined already.");
    history().undo();

    // One that has none begins with the slices of the run before.
    model = &addModel(stack, "Another");
    addCircle(stack.getSlice(3), centreX / 2, centreY / 2, 22);
    script.then([&](QWidget& dialog) {
        EXPECT_TRUE(checkBox(dialog, "Run on every slice").isChecked());
        EXPECT_FALSE(checkBox(dialog, "Use propagation").isChecked());
        EXPECT_EQ(control<QDoubleSpinBox>(dialog, "Threshold").value(), 7);
        ModalScript::click(dialog, "Cancel");
    });
    runSnake();
}

TEST_F(SnakeToolTest, aRangeThatIsStoppedKeepsTheSlicesThatAreDone) {
    addRange();
    acceptRange(0, false);
    const std::string before = text();
    watch.atText = [&](const std::string& heard) {
        if (heard != "Running snake on slice s1...")
            return;
        postKey(&window, Qt::Key_Escape);
        QTest::qSleep(300); // so that the run takes its next look at events
    };
    runSnake();
    EXPECT_EQ(slicesHeard(), (std::vector<std::string>{"s3...", "s2...", "s1..."}));
    EXPECT_EQ(newRadii(), (std::vector<std::vector<int>>{{}, {}, {40}, {40}, {}, {}, {}}));
    EXPECT_EQ(statusBar->currentMessage(), "The snake was stopped: contours on 2 of 7 slices.");
    history().undo();
    EXPECT_EQ(text(), before);
    EXPECT_FALSE(history().isUndoable());

    // In the midst of a slice, by way of the mediator that relays it.
    watch.atText = {};
    snake->removeMonitor(watch);
    mediator->addMonitor(watch);
    int steps = 0;
    watch.atStep = [&](unsigned int) {
        if (++steps == 30)
            mediator->cancel();
    };
    acceptRange(0, false);
    runSnake();
    mediator->removeMonitor(watch);
    EXPECT_EQ(steps, 30);
    EXPECT_EQ(newRadii(), std::vector<std::vector<int>>(7));
}

} // namespace vorlen
