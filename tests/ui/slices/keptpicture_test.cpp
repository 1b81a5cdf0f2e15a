#include "ui/slices/widgetfixture.h"

#include <random>

#include "document/modelitem.h"
#include "ui/session/vrlpreferences.h"
#include "ui/tools/vrlsliceeditwidgetmediatorcreationdelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorselectiondelegate.h"

namespace vorlen {

namespace {

/// Where two pictures differ, and by how much at most; empty where they are equal.
std::string difference(const QImage& a, const QImage& b) {
    if (a.size() != b.size())
        return "sizes";
    QRect box;
    int most = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            if (a.pixel(x, y) != b.pixel(x, y)) {
                box |= QRect(x, y, 1, 1);
                const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
                most = std::max({most, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                                 std::abs(qBlue(p) - qBlue(q))});
            }
    return most == 0 ? std::string()
                     : "by " + std::to_string(most) + " from (" + std::to_string(box.left()) + ", " +
                           std::to_string(box.top()) + ") to (" + std::to_string(box.right()) + ", " +
                           std::to_string(box.bottom()) + ")";
}

} // namespace

/// Two editors of one slice, of which the second keeps no picture.
class KeptPictureTest : public WidgetTest {
protected:
    void SetUp() override {
        plainWindow.initialize();
        plainWindow.setImageServer(server);
        plainWindow.setFixedSize(300, 200);
        plain = &plainWindow.getCanvas();
        plain->setKeepingPicture(false);
        plainWindow.show();
        show(300, 200);
        slice = &addSlice(TestImages::ramp(300, 200, 8));
        polygon = &addModel(stack, "Polygon");
        dots = &addModel(stack, "Dots", PolypointPrimitive);
        dots->getItemProperties().setColor(0, 120, 255);
        dots->getItemProperties().setPointSize(6);
        dots->getItemProperties().setVertexSymbol(CubeSymbol);
        dots->getItemProperties().setVertexSymbolFilling(true);
        dots->getProperties().setSurfaceOpacity(128);
        first = &addItem(*polygon, *slice, {{20, 20}, {20, 60}, {60, 60}, {60, 20}});
        second = &addItem(*polygon, *slice, {{50, 50}, {50, 90}, {90, 95}, {95, 50}});
        points = &addItem(*dots, *slice, {{200, 150}, {220, 150}, {224, 154}});
        show(*slice);
    }

    void TearDown() override { plainWindow.clear(); }

    using WidgetTest::show;
    void show(StackSlice& shown) {
        plainWindow.setSlice(shown);
        showSlice(shown);
        ASSERT_TRUE(QTest::qWaitFor([this] { return plain->getImageProxy().hasImage(); }, 20000));
        ASSERT_TRUE(settle());
        QTest::qWait(20);
    }

    QImage plainPicture() { return plain->grabFramebuffer().convertToFormat(QImage::Format_RGB32); }

    void both(const std::function<void(VRLSliceEditWidgetCanvas&)>& change) {
        change(*canvas);
        change(*plain);
    }

    /// After the change the kept picture is that of the other canvas, and neither is that of before. Where the change
    /// is one of a part, not all of the canvas is painted.
    void expectSeen(const std::string& what, bool part, const std::function<void()>& change) {
        const QImage before = picture();
        EXPECT_EQ(difference(before, plainPicture()), "") << "before " << what;
        change();
        const QImage after = picture();
        EXPECT_NE(after, before) << what;
        EXPECT_EQ(difference(after, plainPicture()), "") << what;
        if (part) {
            EXPECT_NE(painted, QRegion(canvas->rect())) << what;
        }
    }
    /// The same, with what the paint painted.
    QImage picture() {
        const QImage seen = WidgetTest::picture();
        painted = canvas->lastPainted();
        return seen;
    }

    VRLSliceEditWidget plainWindow;
    VRLSliceEditWidgetCanvas* plain = nullptr;
    StackSlice* slice = nullptr;
    Model* polygon = nullptr;
    Model* dots = nullptr;
    ModelItem* first = nullptr;
    ModelItem* second = nullptr;
    ModelItem* points = nullptr;
    QRegion painted;
};

TEST_F(KeptPictureTest, changesOfItemsAreSeenAndPaintedWhereTheyAre) {
    picture();
    picture();
    EXPECT_TRUE(painted.isEmpty()); // nothing has changed
    expectSeen("a moved vertex", true, [&] { first->moveVertex(2, point(75, 70)); });
    expectSeen("an appended vertex", true, [&] { first->appendVertex(point(30, 10)); });
    expectSeen("a removed vertex", true, [&] { first->removeVertex(4); });
    expectSeen("new vertices", true, [&] { second->setVertices(makeVertices({{55, 52}, {60, 90}, {92, 60}})); });
    expectSeen("a selection", true, [&] { second->getSelection().set(true); });
    expectSeen("another selection", true, [&] { second->getSelection().set(false, 1, false); });
    expectSeen("the selection of two at a distance", true, [&] {
        second->getSelection().set(false);
        points->getSelection().set(true);
    });
    expectSeen("the order of the vertices", true, [&] {
        points->setVertices(makeVertices({{224, 154}, {220, 150}, {200, 150}}));
        points->getSelection().set(true, 0, true);
    });
    expectSeen("the colour of an item", true, [&] { first->getProperties().setColor(0, 255, 0); });
    expectSeen("the line width of an item", true, [&] { first->getProperties().setLineWidth(5); });
    expectSeen("the colour of a model", true, [&] { polygon->getItemProperties().setColor(255, 0, 255); });
    expectSeen("the symbols of a model", true, [&] { dots->getItemProperties().setVertexSymbol(DiamondSymbol); });
    expectSeen("the filling", true, [&] { dots->getItemProperties().setVertexSymbolFilling(false); });
    dots->getItemProperties().setVertexSymbolFilling(true);
    expectSeen("the opacity of a model", true, [&] { dots->getProperties().setSurfaceOpacity(30); });
    expectSeen("the point size of a model", true, [&] { dots->getItemProperties().setPointSize(12); });
    expectSeen("the geometry of a model", true, [&] { polygon->getProperties().setGeometry(PolylinePrimitive); });
    expectSeen("another model", true, [&] {
        second->setModel(dots);
        second->attachToModel();
    });
    ModelItem* added = nullptr;
    expectSeen("a new item", true, [&] { added = &addItem(*polygon, *slice, {{250, 20}, {270, 40}, {280, 20}}); });
    expectSeen("a deleted item", true, [&] { delete first; });
    expectSeen("an item put in place of another", true, [&] {
        delete added;
        addItem(*polygon, *slice, {{250, 20}, {270, 50}, {280, 20}});
    });
    expectSeen("the order of painting", true, [&] {
        points->setVertices(makeVertices({{60, 70}, {70, 70}}));
        points->detachFromSlice();
        points->attachToSlice();
    });
}

TEST_F(KeptPictureTest, changesOfTheViewAreSeen) {
    expectSeen("a zoom", false, [&] {
        both([](VRLSliceEditWidgetCanvas& each) {
            each.setBestFitMode(false, true);
            each.setZoomFactor(3);
        });
    });
    expectSeen("another place", false,
               [&] { both([](VRLSliceEditWidgetCanvas& each) { each.setViewOrigin(QPoint(21, 13)); }); });
    expectSeen("the contrast", false,
               [&] { both([](VRLSliceEditWidgetCanvas& each) { each.setBlackAndWhite(0.1f, 0.5f); }); });
    for (const CanvasMode mode : {BackgroundMode, ForegroundMode, AllgroundMode})
        expectSeen("a mode", false, [&] { both([mode](VRLSliceEditWidgetCanvas& each) { each.setMode(mode); }); });
    expectSeen("an item while there is no image", true, [&] {
        both([](VRLSliceEditWidgetCanvas& each) { each.setMode(ForegroundMode); });
        picture();
        first->moveVertex(2, point(40, 40));
    });
    both([](VRLSliceEditWidgetCanvas& each) { each.setMode(AllgroundMode); });
    expectSeen("the shape of the pixels", false, [&] {
        PixelCalibration calibration;
        calibration.setAspectRatio(0.5f);
        both([&](VRLSliceEditWidgetCanvas& each) { each.getImageProxy().setPixelCalibration(calibration); });
    });
    const QColor background = VRLPreferences::getImageCanvasBackgroundColor();
    both([](VRLSliceEditWidgetCanvas& each) { each.setZoomFactor(0.4f); });
    expectSeen("the background", false,
               [&] { VRLPreferences::setImageCanvasBackgroundColor(background == Qt::red ? Qt::blue : Qt::red); });
    VRLPreferences::setImageCanvasBackgroundColor(background);
    expectSeen("another image", false, [&] {
        Image image = TestImages::ramp(300, 200, 8);
        for (int y = 0; y < 200; ++y)
            for (int x = 0; x < 300; ++x)
                image.getPixels()[y][x] = static_cast<unsigned char>(x ^ y);
        static Image kept = image; // in the proxies for as long as these live
        both([](VRLSliceEditWidgetCanvas& each) {
            each.getImageProxy().clearImage();
            each.getImageProxy().setImage(kept);
        });
    });
    expectSeen("no image, and a notice", false, [&] {
        both([](VRLSliceEditWidgetCanvas& each) {
            each.getImageProxy().clearImage();
            each.setNotice("There is no image.");
        });
    });
    expectSeen("an item beside a notice", false, [&] { second->getSelection().set(true); });
    expectSeen("another slice", false, [&] { show(addSlice(TestImages::uniform(300, 200, 8, 90))); });
    expectSeen("another size", false, [&] {
        plainWindow.setFixedSize(260, 180);
        widget->setFixedSize(260, 180);
        QTest::qWait(50);
    });
}

// What is being made lies on top of the kept picture, and leaves it when it goes.
TEST_F(KeptPictureTest, whatIsBeingMadePaintsNothingAnew) {
    const QImage before = picture();
    ModelItem extra;
    extra.setModel(polygon);
    extra.setSlice(slice);
    both([&](VRLSliceEditWidgetCanvas& each) { each.setExtraItem(&extra); });
    for (int i = 0; i < 20; ++i) {
        extra.appendVertex(point(40 + 3 * i, 30 + 7 * (i % 5)));
        EXPECT_EQ(difference(picture(), plainPicture()), "") << i;
        EXPECT_TRUE(painted.isEmpty());
    }
    extra.getProperties().setColor(255, 255, 255);
    extra.removeVertex(3);
    EXPECT_EQ(difference(picture(), plainPicture()), "");
    QLineF line(10, 100, 200, 20);
    both([&](VRLSliceEditWidgetCanvas& each) { each.setRubberLine(&line); });
    EXPECT_EQ(difference(picture(), plainPicture()), "");
    line.setP2(QPoint(100, 150)); // moved in place
    EXPECT_EQ(difference(picture(), plainPicture()), "");
    EXPECT_TRUE(painted.isEmpty());
    both([&](VRLSliceEditWidgetCanvas& each) {
        each.setRubberLine(nullptr);
        each.setExtraItem(nullptr);
    });
    EXPECT_EQ(picture(), before);
}

// A long mixture, so that faults of parts that were painted at different times would add up.
TEST_F(KeptPictureTest, manyChangesInARowLeaveThePictureThatOnePaintMakes) {
    std::mt19937 random(20261125);
    const auto below = [&random](int n) { return int(random() % unsigned(n)); };
    int parts = 0;
    for (int i = 0; i < 300; ++i) {
        const int n = slice->getNumItems();
        ModelItem* const item = n > 0 ? &slice->getItem(below(n)) : nullptr;
        const int choice = below(12);
        if (item == nullptr || (choice == 0 && n < 40)) {
            addItem(below(3) == 0 ? *dots : *polygon, *slice,
                    {{below(300), below(200)}, {below(300), below(200)}, {below(300), below(200)}});
        } else if (choice == 1) {
            delete item;
        } else if (choice < 5 && item->getSize() > 0) {
            item->moveVertex(below(item->getSize()), point(below(320) - 10, below(220) - 10));
        } else if (choice < 7) {
            item->getSelection().set(below(2) == 0);
        } else if (choice < 9) {
            item->getProperties().setColor(below(256), below(256), below(256));
        } else if (choice == 9) {
            item->getProperties().setLineWidth(float(below(7)));
        } else if (choice == 10 && below(4) == 0) {
            const float zoom = float(1 + below(4)) / 2;
            const QPoint origin(below(300), below(200));
            both([&](VRLSliceEditWidgetCanvas& each) {
                each.setBestFitMode(false, true);
                each.setZoomFactor(zoom);
                each.setViewOrigin(origin);
            });
        } else {
            item->appendVertex(point(below(300), below(200)));
        }
        ASSERT_EQ(difference(picture(), plainPicture()), "") << i << " " << choice;
        parts += painted != QRegion(canvas->rect());
    }
    EXPECT_GT(parts, 200);
}

// Leaving out vertices within half a pixel of the screen moves no line by more, so that little of the picture changes.
TEST_F(KeptPictureTest, aContourOfManyVerticesLooksLikeItself) {
    StackSlice& large = addSlice(TestImages::uniform(3000, 2000, 8, 20));
    ModelItem* const coarse = &addItem(*polygon, large);
    ModelItem fine(*coarse);
    for (int i = 0; i < 4000; ++i)
        fine.appendVertex(point(int(1500 + 900 * std::cos(i * 0.00157)), int(1000 + 900 * std::sin(i * 0.00157))));
    coarse->setVertices(fine.getVertices());
    show(large);
    const QImage seen = picture();
    int wrong = 0;
    for (int i = 0; i < 360; ++i) { // the circle, and nothing beside it
        const double zoom = double(canvas->getZoomFactor());
        const auto lit = [&](double radius) {
            const QRgb pixel = seen.pixel(int((1500.5 + radius * std::cos(i * 0.01745)) * zoom),
                                          int((1000.5 + radius * std::sin(i * 0.01745)) * zoom));
            return qRed(pixel) > 60;
        };
        wrong += !lit(900) && !lit(905) && !lit(895);
        wrong += lit(930) || lit(870);
    }
    EXPECT_LE(wrong, 4);
    // A contour smaller than a pixel is seen as one.
    coarse->setVertices(makeVertices({{600, 600}, {601, 600}, {602, 601}, {601, 602}, {600, 601}}));
    const QImage dot = picture();
    const double zoom = double(canvas->getZoomFactor());
    int brightest = 0;
    for (int y = -1; y <= 1; ++y)
        for (int x = -1; x <= 1; ++x)
            brightest = std::max(brightest, qRed(dot.pixel(int(601 * zoom) + x, int(601 * zoom) + y)));
    EXPECT_GT(brightest, 60);
}

// A stroke in the editor repaints no item; a click repaints the two items that change.
TEST_F(KeptPictureTest, theEditorPaintsOnlyWhatItChanges) {
    picture();
    const auto send = [&](QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons buttons) {
        QMouseEvent event(type, QPointF(at), canvas->mapToGlobal(QPointF(at)), button, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(canvas, &event);
    };
    mediator->findChild<VRLSliceEditWidgetMediatorCreationDelegate*>()->activate("Polygon");
    send(QEvent::MouseButtonPress, QPoint(120, 120), Qt::LeftButton, Qt::LeftButton);
    for (int i = 1; i < 10; ++i) {
        send(QEvent::MouseMove, QPoint(120 + 5 * i, 120 + i * i), Qt::NoButton, Qt::LeftButton);
        EXPECT_NE(picture(), QImage());
        EXPECT_TRUE(painted.isEmpty());
    }
    mediator->findChild<VRLSliceEditWidgetMediatorCreationDelegate*>()->cancel();
    mediator->findChild<VRLSliceEditWidgetMediatorSelectionDelegate*>()->selectItemsNearPosition(point(20, 40), false);
    const QImage selected = picture();
    EXPECT_FALSE(painted.isEmpty());
    EXPECT_TRUE(painted.boundingRect().right() < 100 && painted.boundingRect().bottom() < 100);
    EXPECT_EQ(difference(selected, plainPicture()), "");
    widget->clear();
}

} // namespace vorlen
