#include "ui/scenes/vrlrenderingwindow.h"

#include <QAction>
#include <QDir>
#include <QInputDialog>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrleventbatch.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/onestep.h"
#include "editing/stacks/vrlstackserver.h"
#include "shapes/quadmesh.h"
#include "support/commands.h"
#include "support/heldmemory.h"
#include "support/modalscript.h"
#include "support/vectors.h"
#include "ui/scenes/renderingcommands.h"
#include "ui/scenes/renderingstack.h"
#include "ui/scenes/vrlmodelpaintergl.h"
#include "ui/scenes/vrlrenderingmediator.h"
#include "ui/scenes/vrlrenderingpaintergl.h"
#include "ui/scenes/vrlrenderingtoolbar.h"
#include "ui/session/crosshair.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/viewer/viewerposepanel.h"
#include "ui/viewer/vrlcreatevideodialog.h"

namespace vorlen {

namespace {

/// A shown window on an open stack.
class VRLRenderingWindowTest : public ::testing::Test {
protected:
    VRLRenderingWindowTest() {
        QSettings().clear();
        VRLStackServer::stackServer.addStack(stack);
        BackgroundGL black;
        black.setColor(vectorOf<int>({0, 0, 0}));
        black.setGradientEnabled(false);
        window->getCanvas().setBackground(black);
        window->setStack(stack);
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window));
    }
    ~VRLRenderingWindowTest() override {
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
        sendDeletions();
        EXPECT_EQ(window, nullptr);
    }

    static void sendDeletions() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

    VRLRenderingMediator& mediator() { return window->getMediator(); }
    int numPainters() { return int(mediator().getPainters().size()); }
    VRLRenderingPainterGL& painter(int k) { return *mediator().getPainters()[std::size_t(k)]; }
    /// What the painter shows changes with this pointer.
    const void* shape(int k) { return painter(k).getModelPainter(); }
    float width(int k, int axis = 0) { return painter(k).boundingBox().width(axis); }
    bool listsAreAlike() {
        const auto& shown = window->getCanvas().getPainters();
        if (int(shown.size()) != numPainters())
            return false;
        for (int k = 0; k < numPainters(); ++k)
            if (shown[std::size_t(k)] != &painter(k))
                return false;
        return true;
    }
    template <class Event, class... Arguments>
    void send(Arguments... arguments) {
        Event event(arguments...);
        sender.notifyEvent(event);
    }
    QAction& command(const char* id) { return mediator().commands().action(id); }
    QMenu* menu(const QString& title) {
        for (QMenu* found : window->findChildren<QMenu*>())
            if (found->title().remove('&') == title)
                return found;
        return nullptr;
    }
    /// Number of pixels of nearly this hue.
    int count(int channel) {
        const QImage picture = window->getCanvas().grabFramebuffer();
        int number = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x) {
                const QColor color = picture.pixelColor(x, y);
                const int channels[] = {color.red(), color.green(), color.blue()};
                const int others = std::max(channels[(channel + 1) % 3], channels[(channel + 2) % 3]);
                number += channels[channel] > others + 60 ? 1 : 0;
            }
        return number;
    }

    VRLStack& stack = *makeRenderingStack().release(); // the stack server takes it over
    Model& cube = stack.getModel(0);
    Model& dots = stack.getModel(1);
    QPointer<VRLRenderingWindow> window = new VRLRenderingWindow;
    VRLEventClient sender;
    ModalScript user;
    QTemporaryDir folder;
};

} // namespace

TEST_F(VRLRenderingWindowTest, aClickOnASurfaceSetsTheCrosshair) {
    ViewerCanvasGL& canvas = window->getCanvas();
    const Crosshair& crosshair = Crosshair::crosshair();
    // The cube lies left of the middle of the scene, its upper cap toward the viewer.
    mediator().resetPose();
    const QPoint cap(canvas.width() / 2 - canvas.width() / 8, canvas.height() / 2);
    const auto place = canvas.placeAt(cap);
    ASSERT_TRUE(place);
    EXPECT_NEAR((*place)[2], 30, 1);
    EXPECT_GT((*place)[0], 0);
    EXPECT_LT((*place)[0], 40);
    EXPECT_NEAR((*place)[1], -20, 2);
    EXPECT_FALSE(canvas.placeAt(QPoint(2, 2)));

    QTest::mouseClick(&canvas, Qt::LeftButton, {}, cap);
    EXPECT_FALSE(crosshair.placeIn(stack)); // hidden
    command("view.crosshair").trigger();
    QTest::mouseClick(&canvas, Qt::LeftButton, {}, cap);
    ASSERT_TRUE(crosshair.placeIn(stack));
    EXPECT_NEAR(crosshair.placeIn(stack)->x, double((*place)[0]), 1e-3);
    ASSERT_TRUE(canvas.getMark());
    const QImage picture = canvas.grabFramebuffer();
    int yellow = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const QColor color = picture.pixelColor(x, y);
            yellow += color.red() > 200 && color.green() > 150 && color.blue() < 90 ? 1 : 0;
        }
    EXPECT_GT(yellow, 20);
    Crosshair::crosshair().setPlace(stack, {60, -20, 10});
    EXPECT_EQ((*canvas.getMark())[0], 60);
    command("view.crosshair").trigger();
    EXPECT_FALSE(canvas.getMark());
}

TEST_F(VRLRenderingWindowTest, showsTheModelsOfItsStack) {
    EXPECT_EQ(window->windowTitle(), "small");
    EXPECT_EQ(numPainters(), 2);
    EXPECT_TRUE(listsAreAlike());
    window->getMediator().setRevStandardPose1();
    const int blue = count(2), green = count(1);
    EXPECT_GT(blue, 1000);
    EXPECT_GT(green, 20);
    EXPECT_GT(blue, 4 * green);
    // Hidden, the cube goes from the picture.
    cube.getItemProperties().setRenderingVisibility(false);
    send<VRLModelPropertiesEvent>(&cube);
    EXPECT_EQ(count(2), 0);
    EXPECT_GT(count(1), 20);
}

TEST_F(VRLRenderingWindowTest, anEditOfAContourRebuildsItsModelAlone) {
    Model& other = addModel(stack, "other");
    addItem(other, stack.getSlice(0), square(10));
    send<VRLModelCreateEvent>(&other);
    ASSERT_EQ(numPainters(), 3);
    EXPECT_TRUE(listsAreAlike());
    const void* cubeShape = shape(0);
    const void* otherShape = shape(2);
    const float radius = window->getCanvas().getRadius();
    ModelItem& item = cube.getItem(0);
    item.setVertices(makeVertices(square(200)));
    send<VRLModelItemVertexEvent>(&item);
    EXPECT_NE(shape(0), cubeShape);
    EXPECT_EQ(shape(2), otherShape);
    EXPECT_NEAR(width(0), 400, 1e-2);
    EXPECT_GT(window->getCanvas().getRadius(), 3 * radius);
}

TEST_F(VRLRenderingWindowTest, itemsComeAndGo) {
    ModelItem& branch = addItem(cube, stack.getSlice(1), square(10, 40, 0));
    send<VRLModelItemCreateEvent>(&branch);
    EXPECT_EQ(dynamic_cast<const QuadMesh<float>*>(painter(0).getModelPainter()->getShape()), nullptr);
    EXPECT_NEAR(width(0), 100, 1e-3);
    Model& destination = addModel(stack, "destination");
    send<VRLModelCreateEvent>(&destination);
    branch.setModel(&destination);
    branch.attachToModel();
    send<VRLModelItemConvertEvent>(&branch, &cube, &destination);
    EXPECT_NEAR(width(0), 40, 1e-3);
    EXPECT_NEAR(width(2), 20, 1e-3);
    branch.detach();
    send<VRLModelItemDeleteEvent>(&branch);
    EXPECT_FALSE(painter(2).boundingBox().isValid());
    delete &branch;

    ModelItem& points = dots.getItem(0);
    points.getProperties().setColor(255, 0, 0);
    send<VRLModelItemAttributeEvent>(&points);
    mediator().setRevStandardPose1();
    EXPECT_GT(count(0), 20);
    EXPECT_EQ(count(1), 0);

    send<VRLModelDeleteEvent>(&dots);
    EXPECT_EQ(numPainters(), 2);
    EXPECT_TRUE(listsAreAlike());
    EXPECT_EQ(painter(1).getModel(), &destination);
}

TEST_F(VRLRenderingWindowTest, changesThatMoveSlicesRebuildAll) {
    const auto rebuilt = [this](const std::function<void()>& change) {
        const void* before = shape(0);
        change();
        EXPECT_TRUE(listsAreAlike());
        return shape(0) != before;
    };
    stack.getSlice(3).setAbsolutePosition(130);
    EXPECT_TRUE(rebuilt([this] { send<VRLSliceSpacingEvent>(&stack.getSlice(3)); }));
    EXPECT_NEAR(width(0, 2), 130, 1e-3);
    EXPECT_TRUE(rebuilt([this] { send<VRLStackRegistrationEvent>(&stack); }));
    EXPECT_TRUE(rebuilt([this] { send<VRLStackImageCalibrationEvent>(&stack); }));
    auto* action = new VRLSliceInsertionDeletionAction(stack.getSlice(3));
    const std::unique_ptr<VRLSliceInsertionDeletionAction> owned(action);
    action->setDeletionMode();
    action->setSlicePosition(3);
    EXPECT_TRUE(rebuilt([this, action] {
        action->apply();
        sender.notifyAction(*action);
    }));
    EXPECT_NEAR(width(0, 2), 20, 1e-3);

    // Of another stack and its models nothing is heard.
    VRLStack other;
    other.setName("other");
    Model& model = addModel(other, "model");
    EXPECT_FALSE(rebuilt([this, &other, &model] {
        send<VRLStackRegistrationEvent>(&other);
        send<VRLStackSliceSpacingEvent>(&other);
        send<VRLStackImageCalibrationEvent>(&other);
        send<VRLModelCreateEvent>(&model);
        send<VRLModelPropertiesEvent>(&model);
        send<VRLModelDeleteEvent>(&model);
    }));
    EXPECT_EQ(numPainters(), 2);
}

TEST_F(VRLRenderingWindowTest, aBatchRefreshesOnceAtItsEnd) {
    class Paints : public QObject {
    public:
        int number = 0;
        bool eventFilter(QObject*, QEvent* event) override {
            number += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
    } paints;
    QTest::qWait(20);
    window->getCanvas().installEventFilter(&paints);
    inEventBatch([&] {
        for (const char* name : {"a", "b", "c"})
            send<VRLModelCreateEvent>(&addModel(stack, name));
        send<VRLStackImageCalibrationEvent>(&stack);
        send<VRLStackSliceSpacingEvent>(&stack);
        send<VRLModelDeleteEvent>(&dots);
        stack.deleteModel(1);
        EXPECT_EQ(numPainters(), 2);
        EXPECT_EQ(paints.number, 0);
        window->getCanvas().grabFramebuffer(); // draws safely without the model
    });
    QTest::qWait(20); // paints that follow fast on another are put off by Qt
    EXPECT_EQ(paints.number, 1);
    EXPECT_EQ(numPainters(), 4);
    EXPECT_TRUE(listsAreAlike());
    inEventBatch([] {});
    QTest::qWait(20);
    EXPECT_EQ(paints.number, 1);

    // Changes of items and looks, too: the model is made once, at the end.
    paints.number = 0;
    const void* const before = shape(0);
    inEventBatch([&] {
        for (int k = 0; k < cube.getNumItems(); ++k) {
            send<VRLModelItemVertexEvent>(&cube.getItem(k));
            send<VRLModelItemAttributeEvent>(&cube.getItem(k));
        }
        send<VRLModelPropertiesEvent>(&cube);
        EXPECT_EQ(shape(0), before);
        EXPECT_EQ(paints.number, 0);
    });
    EXPECT_NE(shape(0), before);
    QTest::qWait(20);
    EXPECT_EQ(paints.number, 1);
    // A step of the history is a batch, forth and back.
    Model& fresh = addModel(stack, "fresh");
    send<VRLModelCreateEvent>(&fresh);
    const int place = numPainters() - 1;
    const auto expectOnePaint = [&](const std::function<void()>& change, int numItems) {
        paints.number = 0;
        change();
        QTest::qWait(20);
        EXPECT_EQ(paints.number, 1);
        EXPECT_EQ(painter(place).getItemPainters().size(), std::size_t(numItems));
    };
    fresh.getProperties().setGeometry(PolypointPrimitive);
    send<VRLModelPropertiesEvent>(&fresh);
    expectOnePaint(
        [&] {
            inOneStep(stack, "", [&](EditStep& step) {
                for (int k = 0; k < 3; ++k) {
                    auto item = std::make_unique<ModelItem>();
                    item->setModel(&fresh);
                    item->setSlice(&stack.getSlice(k));
                    item->setVertices(makeVertices({{k, k}}));
                    applyCreation(step, std::move(item));
                }
            });
        },
        3);
    expectOnePaint([&] { stack.history()->undo(); }, 0);
    expectOnePaint([&] { stack.history()->redo(); }, 3);
}

TEST_F(VRLRenderingWindowTest, aModelThatCannotBeDrawnIsLeftOut) {
    cube.getProperties().setRenderingMode(UnknownRendering);
    testing::internal::CaptureStderr();
    send<VRLModelPropertiesEvent>(&cube);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Unexpected model rendering mode"), std::string::npos);
    EXPECT_FALSE(painter(0).boundingBox().isValid());
    cube.getProperties().setRenderingMode(SurfaceRendering);
    send<VRLModelPropertiesEvent>(&cube);
    EXPECT_NEAR(width(0), 40, 1e-3);
}

TEST_F(VRLRenderingWindowTest, posesAreRecordedChosenAndDeleted) {
    QMenu* select = menu("Select");
    QMenu* remove = menu("Delete");
    ASSERT_TRUE(select != nullptr && remove != nullptr);
    window->updatePoseMenu();
    EXPECT_FALSE(select->isEnabled());
    mediator().setStandardPose2();
    user.thenReject();
    command("pose.record").trigger();
    EXPECT_EQ(stack.getNumPoses(), 0);
    stack.setModified(false);
    for (const char* name : {"left & up", ""}) {
        user.then([name](QWidget& dialog) {
            auto& input = static_cast<QInputDialog&>(dialog);
            EXPECT_EQ(input.labelText(), "Enter pose name:");
            input.setTextValue(name);
            input.accept();
        });
        command("pose.record").trigger();
    }
    EXPECT_EQ(user.seen.back(), "Rendering");
    ASSERT_EQ(stack.getNumPoses(), 2);
    EXPECT_TRUE(stack.isModified());
    EXPECT_EQ(stack.getPose(0).getName(), "left & up");
    EXPECT_EQ(stack.getPose(1).getName(), "Pose 2");
    EXPECT_EQ(stack.getPose(0).getYRotation(), 90);

    mediator().resetPose();
    window->updatePoseMenu();
    EXPECT_TRUE(select->isEnabled() && remove->isEnabled());
    ASSERT_EQ(select->actions().size(), 2);
    EXPECT_EQ(select->actions()[0]->text(), "left && up");
    select->actions()[0]->trigger();
    EXPECT_EQ(window->getCanvas().getPose().getYRotation(), 90);
    stack.setModified(false);
    remove->actions()[0]->trigger();
    ASSERT_EQ(stack.getNumPoses(), 1);
    EXPECT_EQ(stack.getPose(0).getName(), "Pose 2");
    EXPECT_TRUE(stack.isModified());
    window->updatePoseMenu();
    EXPECT_EQ(remove->actions().size(), 1);
    stack.history()->undo();
    ASSERT_EQ(stack.getNumPoses(), 2);
    EXPECT_EQ(stack.getPose(0).getName(), "left & up");
    stack.history()->undo();
    stack.history()->undo();
    EXPECT_EQ(stack.getNumPoses(), 0);
}

TEST_F(VRLRenderingWindowTest, surfacesAreExportedAndPointsTold) {
    QSettings().setValue("exportDirectory", QDir::homePath());
    user.thenReject();
    command("rendering.export").trigger();
    EXPECT_EQ(user.seen.back(), "Select export directory");
    EXPECT_EQ(QSettings().value("exportDirectory").toString(), QDir::homePath());

    user.thenChoose({folder.path()});
    user.thenClick("OK");
    command("rendering.export").trigger();
    EXPECT_EQ(user.seen.back(), "STL export: STL supports only surface objects\n Point models could not be saved");
    EXPECT_EQ(QSettings().value("exportDirectory").toString(), folder.path());
    EXPECT_TRUE(QFile::exists(folder.filePath("small-cube.stl")));
    EXPECT_FALSE(QFile::exists(folder.filePath("small-dots.stl")));

    // The second time the file is there, and the points are not told of.
    user.thenClick("OK");
    mediator().export2AsciiSTL(folder.path());
    EXPECT_EQ(user.seen.back(), "STL export: write error: " + folder.filePath("small-cube.stl").toStdString() +
                                    ":\n\nfile already exists.\n\nExport to STL interrupted.");
    user.thenClick("OK");
    mediator().export2AsciiSTL(folder.filePath("missing"));
    EXPECT_EQ(user.seen.back().find("already exists"), std::string::npos);
    const std::size_t seen = user.seen.size();
    ASSERT_EQ(dots.getNumItems(), 1);
    delete &dots.getItem(0);
    QDir().mkpath(folder.filePath("second"));
    mediator().export2AsciiSTL(folder.filePath("second"));
    EXPECT_EQ(user.seen.size(), seen);
    EXPECT_TRUE(QFile::exists(folder.filePath("second/small-cube.stl")));

    // The format is a type of files in the dialog, and comes up again the next time.
    QDir().mkpath(folder.filePath("scene"));
    user.then([&](QWidget& widget) {
        auto& dialog = dynamic_cast<QFileDialog&>(widget);
        EXPECT_EQ(dialog.nameFilters().size(), 8);
        dialog.selectNameFilter(dialog.nameFilters().back());
        dialog.findChild<QLineEdit*>("fileNameEdit")->setText(folder.filePath("scene"));
        static_cast<QDialog&>(dialog).accept();
    });
    command("rendering.export").trigger();
    QFile scene(folder.filePath("scene/small.glb"));
    ASSERT_TRUE(scene.open(QIODevice::ReadOnly));
    EXPECT_TRUE(scene.readAll().contains("\"name\":\"cube\",\"mesh\":0"));
    user.then([&](QWidget& widget) {
        EXPECT_TRUE(dynamic_cast<QFileDialog&>(widget).selectedNameFilter().startsWith("glTF"));
        static_cast<QDialog&>(widget).reject();
    });
    command("rendering.export").trigger();
}

TEST_F(VRLRenderingWindowTest, snapshotsAreSavedFromMenuAndToolbar) {
    for (const char* name : {"a.png", "b.png"})
        user.thenChoose({folder.filePath(name)});
    command("viewer.snapshot").trigger();
    const auto buttons = window->findChild<VRLRenderingToolbar*>()->findChildren<QToolButton*>();
    ASSERT_EQ(buttons.size(), 6);
    buttons[1]->click();
    EXPECT_EQ(QImage(folder.filePath("a.png")).size(), QImage(folder.filePath("b.png")).size());
    EXPECT_FALSE(QImage(folder.filePath("a.png")).isNull());
    mediator().setStandardPose2();
    buttons[0]->click();
    EXPECT_EQ(window->getCanvas().getPose().getYRotation(), 0);
    buttons[2]->click();
    EXPECT_TRUE(mediator().randomMotion().isActive());
    command("motion.spinning").trigger();
    EXPECT_FALSE(mediator().randomMotion().isActive());
    command("motion.spinning").trigger();
    buttons[3]->click();
    ASSERT_NE(mediator().video().getDialog(), nullptr);
    EXPECT_TRUE(mediator().video().getDialog()->isVisible());
}

TEST_F(VRLRenderingWindowTest, movesThroughTheOpenStacksAndKeepsItsPose) {
    VRLStack& second = *makeRenderingStack().release();
    second.setName("second");
    second.deleteModel(1);
    VRLStackServer::stackServer.addStack(second);
    second.getSlice(3).setAbsolutePosition(230); // the reconstruction does not know yet
    mediator().setStandardPose2();
    const auto buttons = window->findChild<VRLRenderingToolbar*>()->findChildren<QToolButton*>();
    buttons[5]->click();
    EXPECT_EQ(window->windowTitle(), "second");
    EXPECT_EQ(numPainters(), 1);
    EXPECT_TRUE(listsAreAlike());
    EXPECT_NEAR(width(0, 2), 230, 1e-3);
    EXPECT_EQ(window->getCanvas().getPose().getYRotation(), 90);
    buttons[4]->click();
    EXPECT_EQ(mediator().getStack(), &stack);
    // The one that is closed is not the one shown.
    VRLStackServer::stackServer.removeStack(second);
    sendDeletions();
    EXPECT_NE(window, nullptr);
}

TEST_F(VRLRenderingWindowTest, closingTheStackClosesAllItsWindows) {
    QPointer<VRLRenderingWindow> another = new VRLRenderingWindow;
    another->setStack(stack);
    another->show();
    EXPECT_NE(another->getMediator().getPainters()[0].get(), &painter(0));
    VRLStackServer::stackServer.removeStack(stack);
    EXPECT_FALSE(another->isVisible());
    sendDeletions();
    EXPECT_EQ(another, nullptr);
    EXPECT_EQ(window, nullptr);
}

TEST_F(VRLRenderingWindowTest, editsTheModelsOfTheStackShown) {
    user.then([](QWidget& dialog) { static_cast<QDialog&>(dialog).reject(); });
    command("models.edit").trigger();
    EXPECT_EQ(user.seen.back(), "Models for stack \"small\"");
    // A new name of the stack shows at once.
    stack.setName("large");
    send<VRLStackNameEvent>(&stack);
    EXPECT_EQ(window->windowTitle(), "large");
}

TEST_F(VRLRenderingWindowTest, remembersSizeToolbarAndPanel) {
    expectSound(*window, mediator().commands(), renderingCommands());
    QStringList menus;
    for (QAction* entry : window->findChild<QMenuBar*>()->actions())
        menus += entry->text().remove('&');
    EXPECT_EQ(menus, (QStringList{"Rendering", "Edit", "Pose", "Show"}));
    window->resize(900, 700);
    QTest::qWait(20);
    command("show.toolBar").trigger();
    EXPECT_FALSE(window->findChild<VRLRenderingToolbar*>()->isVisible());
    auto* another = new VRLRenderingWindow;
    another->setStack(stack);
    another->show();
    EXPECT_EQ(another->size(), QSize(900, 700));
    EXPECT_FALSE(another->findChild<VRLRenderingToolbar*>()->isVisible());
    command("show.toolBar").trigger();
    EXPECT_TRUE(window->findChild<VRLRenderingToolbar*>()->isVisible());
    EXPECT_TRUE(QSettings().value("renderingWindow/toolBarVisible").toBool());
    auto* panel = window->findChild<ViewerPosePanel*>();
    EXPECT_TRUE(panel->isVisible() && command("show.panel").isChecked());
    command("show.panel").trigger();
    EXPECT_FALSE(panel->isVisible() || command("show.panel").isChecked());
    EXPECT_FALSE(QSettings().value("renderingWindow/panelVisible").toBool());
}

// A surface of 100 levels of 100 vertices takes more than 1 MB in its arrays: one that is kept for each edit shows.
TEST_F(VRLRenderingWindowTest, hundredsOfEditsTakeNoMoreMemory) {
    window->togglePanel();
    window->resize(400, 240);
    cube.getProperties().setQuadMeshHeight(100);
    cube.getProperties().setQuadMeshWidth(100);
    const auto edit = [this](int k) {
        ModelItem& item = cube.getItem(k % cube.getNumItems());
        item.moveVertex(k % 4, point(20 + k % 7, k % 5));
        send<VRLModelItemVertexEvent>(&item);
        if (k % 30 == 3) {
            ModelItem& branch = addItem(cube, stack.getSlice(1), square(10, 40, 0));
            send<VRLModelItemCreateEvent>(&branch);
            branch.detach();
            send<VRLModelItemDeleteEvent>(&branch);
            delete &branch;
        }
        if (k % 10 == 7) {
            cube.getProperties().setSurfaceOpacity(float(k % 200));
            send<VRLModelPropertiesEvent>(&cube);
        }
        if (k % 50 == 9)
            mediator().refresh();
        QCoreApplication::processEvents();
    };
    // The driver takes 70 MB once, with the fourteenth surface that branches, and no more after it.
    constexpr int numBranches = addressSanitizer ? 4 : 16, numEdits = addressSanitizer ? 90 : 300;
    for (int k = 0; k < numBranches; ++k)
        edit(30 * k + 3);
    const long before = heldMemory();
    for (int k = 0; k < numEdits; ++k)
        edit(k);
    EXPECT_LT(heldMemory() - before, 24L << 20);
    EXPECT_TRUE(listsAreAlike());
}

} // namespace vorlen
