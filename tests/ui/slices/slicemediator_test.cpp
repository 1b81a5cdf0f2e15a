#include "ui/slices/widgetfixture.h"

#include "document/modelitem.h"
#include "editing/actions/vrlmodeldeletionaction.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/stacks/vrlstackserver.h"
#include "ui/imageserver/vrlimageserverdata.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"

namespace vorlen {

class SliceMediatorTest : public WidgetTest {
protected:
    SliceMediatorTest() {
        slice = &addSlice(fourCorners(40, 40), "shown");
        other = &addSlice(fourCorners(40, 40), "other");
        contours = &vorlen::addModel(stack, "contours", PolygonPrimitive);
        points = &vorlen::addModel(stack, "points", PolypointPrimitive);
    }

    int numRecords() const { return int(server.findChildren<VRLImageServerData*>().size()); }

    template <class Event>
    int paintsOf(Event event) {
        return numPaints([&] { VRLEventServer::notifyEvent(event); });
    }

    StackSlice* slice;
    StackSlice* other;
    Model* contours;
    Model* points;
};

TEST_F(SliceMediatorTest, theSliceIsCountedInTheStatusBar) {
    show(100, 100);
    showSlice(*slice);
    EXPECT_EQ(statusBar->getSliceInfo(), "");
    ModelItem& contour = addItem(*contours, *slice, {{1, 1}, {5, 1}, {5, 5}});
    addItem(*contours, *other, {{1, 1}, {5, 1}, {5, 5}});
    mediator->updateSliceInfo();
    EXPECT_EQ(statusBar->getSliceInfo(), "1 contour(s)");
    ModelItem& set = addItem(*points, *slice, {{1, 1}, {5, 1}, {5, 5}});
    VRLModelItemCreateEvent created(&set);
    VRLEventServer::notifyEvent(created);
    EXPECT_EQ(statusBar->getSliceInfo(), "1 contour(s), 3 point(s)");
    VRLEventClient::enableEventBatch(true);
    contour.detach();
    VRLModelItemDeleteEvent deleted(&contour);
    VRLEventServer::notifyEvent(deleted);
    EXPECT_EQ(statusBar->getSliceInfo(), "1 contour(s), 3 point(s)");
    VRLEventClient::enableEventBatch(false);
    EXPECT_EQ(statusBar->getSliceInfo(), "3 point(s)");
    delete &contour;
    VRLModelDeletionAction deletion(stack, *points);
    deletion.apply();
    QTest::qWait(10);
    EXPECT_EQ(statusBar->getSliceInfo(), "");
    deletion.revert();
    EXPECT_EQ(statusBar->getSliceInfo(), "3 point(s)");
    widget->clear();
    EXPECT_EQ(statusBar->getSliceInfo(), "");
}

TEST_F(SliceMediatorTest, everyEventAboutTheSliceRepaintsOnceAndNoOther) {
    show(100, 100);
    showSlice(*slice);
    ASSERT_TRUE(settle());
    ModelItem& here = addItem(*contours, *slice, {{1, 1}, {5, 1}, {5, 5}});
    ModelItem& elsewhere = addItem(*points, *other, {{1, 1}});
    for (const bool concerned : {true, false}) {
        Model* model = concerned ? contours : points;
        ModelItem* item = concerned ? &here : &elsewhere;
        const int n = concerned ? 1 : 0;
        EXPECT_EQ(paintsOf(VRLModelCreateEvent(model)), n);
        EXPECT_EQ(paintsOf(VRLModelDeleteEvent(model)), n);
        EXPECT_EQ(paintsOf(VRLModelPropertiesEvent(model)), n);
        EXPECT_EQ(paintsOf(VRLModelItemCreateEvent(item)), n);
        EXPECT_EQ(paintsOf(VRLModelItemDeleteEvent(item)), n);
        EXPECT_EQ(paintsOf(VRLModelItemVertexEvent(item)), n);
        EXPECT_EQ(paintsOf(VRLModelItemAttributeEvent(item)), n);
        EXPECT_EQ(paintsOf(VRLModelItemSelectEvent(item)), n);
        EXPECT_EQ(paintsOf(VRLModelItemConvertEvent(item, model, model)), n);
        EXPECT_EQ(paintsOf(VRLSliceImageCalibrationEvent(concerned ? slice : other)),
                  1); // the stack sends one about all its slices on
    }
}

TEST_F(SliceMediatorTest, aNewCalibrationFitsTheViewAnew) {
    show(200, 200);
    showSlice(*slice);
    EXPECT_FLOAT_EQ(canvas->getZoomFactor(), 5);
    slice->getPixelCalibration().setAspectRatio(0.5f);
    VRLSliceImageCalibrationEvent event(slice);
    VRLEventServer::notifyEvent(event);
    EXPECT_FLOAT_EQ(canvas->betaHeight(), 0.5f);
    EXPECT_FLOAT_EQ(canvas->getImageProxy().getPixelCalibration().getAspectRatio(), 0.5f);
}

TEST_F(SliceMediatorTest, theShownSliceIsNotReadAgain) {
    show(100, 100);
    showSlice(*slice);
    ASSERT_TRUE(settle());
    const Image* const image = &canvas->getImageProxy().getImage();
    const auto records = server.findChildren<VRLImageServerData*>();
    widget->setSlice(*slice);
    EXPECT_TRUE(canvas->getImageProxy().hasImage());
    EXPECT_EQ(&canvas->getImageProxy().getImage(), image);
    EXPECT_EQ(server.findChildren<VRLImageServerData*>(), records);
    EXPECT_EQ(server.getNumRunning() + server.getNumPending(), 0);
    widget->setSlice(*other);
    EXPECT_EQ(widget->getSlice(), other);
    EXPECT_FALSE(canvas->getImageProxy().hasImage());
}

TEST_F(SliceMediatorTest, zoomAndViewStayFromSliceToSlice) {
    show(116, 116);
    showSlice(*slice);
    zoomTo(10);
    mediator->setViewOrigin(QPoint(7, 9));
    showSlice(*other);
    EXPECT_EQ(canvas->getZoomFactor(), 10);
    EXPECT_EQ(canvas->getViewOrigin(), QPoint(7, 9));
}

// As one holds a key down in the list of slices.
TEST_F(SliceMediatorTest, manyChangesOfTheSliceKeepTheServerSmall) {
    show(100, 100);
    for (int i = 0; i < 6; ++i)
        addSlice(TestImages::ramp(256, 256, 8, 7, i));
    int mostRecords = 0;
    std::size_t mostBytes = 0;
    for (int i = 0; i < 200; ++i) {
        widget->setSlice(stack.getSlice(i % stack.getNumSlices()));
        if (i % 3 == 0)
            QTest::qWait(i % 2);
        mostRecords = std::max(mostRecords, numRecords());
        mostBytes = std::max(mostBytes, server.getNumImageBytes());
    }
    EXPECT_LE(mostRecords, 4);
    EXPECT_LE(mostBytes, std::size_t(4 * 256 * 256 * 4 / 3));
    ASSERT_TRUE(QTest::qWaitFor([this] { return canvas->getImageProxy().hasImage(); }, 20000));
    ASSERT_TRUE(settle());
    QTest::qWait(1);
    EXPECT_EQ(numRecords(), 1);
    EXPECT_EQ(widget->getSlice(), &stack.getSlice(199 % stack.getNumSlices()));
    widget->clear();
    ASSERT_TRUE(settle());
    QTest::qWait(1);
    EXPECT_EQ(numRecords(), 0);
}

TEST_F(SliceMediatorTest, aSliceThatGoesIsForgotten) {
    show(100, 100);
    showSlice(*slice);
    {
        VRLSliceInsertionDeletionAction deletion(*slice);
        deletion.setDeletionMode();
        deletion.setSlicePosition(0);
        deletion.apply();
        EXPECT_EQ(widget->getSlice(), nullptr);
    }
    picture();
    auto* open = new VRLStack;
    VRLStackServer::stackServer.addStack(*open);
    auto* bare = new StackSlice;
    open->addSlice(bare);
    widget->setSlice(*bare);
    VRLStackServer::stackServer.removeStack(*open);
    EXPECT_EQ(widget->getSlice(), nullptr);
    picture();
}

TEST_F(SliceMediatorTest, rootWidgetsShareOneServerAndTellTheirView) {
    auto* first = new VRLRootSliceEditWidget(&window);
    auto* second = new VRLRootSliceEditWidget(&window);
    first->initialize();
    second->initialize();
    EXPECT_EQ(&first->getImageServer(), &second->getImageServer());
    window.layout()->addWidget(first);
    show(100, 100);
    first->setSlice(*other);
    ASSERT_TRUE(QTest::qWaitFor([first] { return first->getCanvas().getImageProxy().hasImage(); }, 20000));
    for (int i = 0; i < 60 && first->getCanvas().getZoomFactor() < 20; ++i)
        first->getMediator().increaseZoomFactor();
    QSignalSpy views(first, &VRLImageWidget::viewChanged);
    first->setViewOrigin(QPoint(3, 4));
    ASSERT_EQ(views.count(), 1);
    EXPECT_EQ(views[0][0].toRect(), first->getCanvas().currentView());
    EXPECT_EQ(first->getCanvas().getViewOrigin(), QPoint(3, 4));
    first->clear();
    delete first;
    delete second;
}

} // namespace vorlen
