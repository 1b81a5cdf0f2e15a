#include "ui/slices/widgetfixture.h"

#include <algorithm>
#include <cmath>

#include "document/modelitem.h"
#include "ui/session/vrlpreferences.h"

namespace vorlen {

/// Pictures of one slice of 40 by 40 dark pixels with items.
class SliceCanvasTest : public WidgetTest {
protected:
    void prepare(int width = 400, int height = 400, float aspect = 1) {
        show(width, height);
        slice = &addSlice(TestImages::uniform(40, 40, 8, 20));
        slice->getPixelCalibration().setAspectRatio(aspect);
        showSlice(*slice);
    }

    Model& newModel(MPrimitive geometry, const QColor& color) {
        Model& model = vorlen::addModel(stack, "model" + std::to_string(stack.getNumModels()), geometry);
        model.getItemProperties().setColor(color.red(), color.green(), color.blue());
        model.getItemProperties().setLineWidth(1);
        return model;
    }

    /// A point set of one vertex with this symbol.
    ModelItem& newPoint(VertexSymbol symbol, float size, bool filled, int x, int y) {
        Model& model = newModel(PolypointPrimitive, Qt::red);
        model.getItemProperties().setVertexSymbol(symbol);
        model.getItemProperties().setPointSize(size);
        model.getItemProperties().setVertexSymbolFilling(filled);
        model.getProperties().setSurfaceOpacity(255);
        return vorlen::addItem(model, *slice, {{x, y}});
    }

    /// The box of the pixels that differ from the plain slice.
    static QRect drawnBox(const QImage& seen, const QImage& plain) {
        QRect box;
        for (int y = 0; y < seen.height(); ++y)
            for (int x = 0; x < seen.width(); ++x)
                if (!isNear(seen.pixel(x, y), plain.pixel(x, y), 40))
                    box |= QRect(x, y, 1, 1);
        return box;
    }

    QRgb colorAt(double x, double y) {
        const QPointF at = canvas->convertToPosition(QPointF(x + 0.5, y + 0.5));
        return picture().pixel(int(at.x()), int(at.y()));
    }

    StackSlice* slice = nullptr;
    const QRgb dark = qRgb(20, 20, 20);
    const QRgb red = qRgb(255, 0, 0);
};

TEST_F(SliceCanvasTest, contoursRunThroughTheCentresOfTheirPixels) {
    for (const float aspect : {1.0f, 2.0f, 0.5f}) {
        prepare(400, 400, aspect);
        newModel(PolygonPrimitive, Qt::red);
        addItem(stack.getModel(stack.getNumModels() - 1), *slice, {{10, 10}, {30, 10}, {30, 25}, {10, 25}});
        for (const float zoom : {0.0f, 8.0f, 13.0f, 20.0f}) {
            if (zoom > 0) {
                zoomTo(zoom);
                canvas->setViewOrigin(QPoint(5, 6));
            }
            // The line is one image pixel wide: it covers pixel 10 and neither 9 nor 11.
            EXPECT_TRUE(isNear(colorAt(10, 15), red)) << aspect << " " << zoom;
            EXPECT_TRUE(isNear(colorAt(15, 10), red)) << aspect << " " << zoom;
            EXPECT_TRUE(isNear(colorAt(9, 15), dark)) << aspect << " " << zoom;
            EXPECT_TRUE(isNear(colorAt(11, 15), dark)) << aspect << " " << zoom;
            EXPECT_TRUE(isNear(colorAt(15, 9), dark)) << aspect << " " << zoom;
            EXPECT_TRUE(isNear(colorAt(15, 11), dark)) << aspect << " " << zoom;
        }
        widget->clear();
    }
}

TEST_F(SliceCanvasTest, polylinesStayOpenAndTheItemsLookGoesFirst) {
    prepare();
    ModelItem& open = addItem(newModel(PolylinePrimitive, Qt::red), *slice, {{5, 5}, {35, 5}, {35, 35}, {5, 35}});
    EXPECT_TRUE(isNear(colorAt(20, 5), red));
    EXPECT_TRUE(isNear(colorAt(5, 20), dark));
    open.getProperties().setColor(0, 0, 255);
    open.getProperties().setLineWidth(4.7f); // 4 pixels
    const QImage seen = picture();
    EXPECT_TRUE(isNear(colorAt(20, 5), qRgb(0, 0, 255)));
    EXPECT_TRUE(isNear(seen.pixel(205, 55 - 18), qRgb(0, 0, 255)));
    EXPECT_TRUE(isNear(seen.pixel(205, 55 - 23), dark));
    // Thinner than a pixel of the screen: a line of one pixel.
    open.getProperties().setLineWidth(0.05f);
    const QImage thin = picture();
    int lit = 0;
    for (int y = 30; y < 80; ++y)
        lit += !isNear(thin.pixel(205, y), dark, 60);
    EXPECT_GE(lit, 1);
    EXPECT_LE(lit, 2);
}

// Outlines that follow on one another are drawn together, symbols and selected outlines are not: the order stays.
TEST_F(SliceCanvasTest, aLaterItemLiesOverAnEarlierOne) {
    prepare();
    const auto cross = [&](const QColor& color, bool across) -> ModelItem& {
        Model& model = newModel(PolylinePrimitive, color);
        return across ? vorlen::addItem(model, *slice, {{10, 20}, {30, 20}})
                      : vorlen::addItem(model, *slice, {{20, 10}, {20, 30}});
    };
    const auto seen = [&] { return QColor(colorAt(20, 20)).name(); };
    cross(Qt::green, true);
    cross(Qt::red, false);
    EXPECT_EQ(seen(), "#ff0000");
    newPoint(CubeSymbol, 3, true, 20, 20);
    EXPECT_NE(seen(), "#ff0000");
    ModelItem& blue = cross(Qt::blue, true);
    EXPECT_EQ(seen(), "#0000ff");
    cross(Qt::yellow, false);
    EXPECT_EQ(seen(), "#ffff00");
    blue.getSelection().set(true); // its marks are far from here
    canvas->update();
    EXPECT_EQ(seen(), "#ffff00");
}

TEST_F(SliceCanvasTest, symbolsHaveTheirShapesAndSizes) {
    prepare();
    const QImage plain = picture();
    const struct {
        VertexSymbol symbol;
        double left, top, right, bottom; // of the outline, in image pixels from the vertex at point size 4
    } cases[] = {{CubeSymbol, -4, -4, 4, 4},
                 {DiamondSymbol, -6, -6, 6, 6},
                 {SphereSymbol, -4, -4, 4, 4},
                 {TetrahedronSymbol, -5, -6, 5, 3}};
    for (const auto& c : cases) {
        ModelItem& item = newPoint(c.symbol, 4, false, 20, 20);
        const QRect box = drawnBox(picture(), plain);
        const double reach = 5; // half a line, and half a pixel of the screen
        EXPECT_NEAR(box.left(), 205 + 10 * c.left - reach, 8) << c.symbol;
        EXPECT_NEAR(box.right(), 205 + 10 * c.right + reach, 8) << c.symbol;
        EXPECT_NEAR(box.bottom(), 205 + 10 * c.bottom + reach, 8) << c.symbol;
        EXPECT_LE(box.top(), 205 + 10 * c.top) << c.symbol; // miter joins of the sharp corners reach further
        // The cross is a line of one pixel between two.
        EXPECT_GT(qRed(picture().pixel(204, 200)) + qRed(picture().pixel(205, 200)), 200) << c.symbol;
        EXPECT_TRUE(isNear(colorAt(21.5, 21.5), dark)) << c.symbol;
        item.getProperties().setVertexSymbolFilling(true);
        EXPECT_TRUE(isNear(colorAt(21.5, 21.5), QColor(Qt::red).darker(200).rgb())) << c.symbol;
        delete &item;
    }
    newPoint(DotSymbol, 9, true, 20, 20);
    EXPECT_EQ(drawnBox(picture(), plain).adjusted(1, 1, -1, -1).size(), QSize(9, 9));
    EXPECT_FALSE(isNear(colorAt(20, 20), dark));
}

TEST_F(SliceCanvasTest, theOpacityOfOneItemDoesNotTouchTheNext) {
    prepare();
    ModelItem& faint = newPoint(CubeSymbol, 6, true, 10, 10);
    faint.getModel()->getProperties().setSurfaceOpacity(0);
    addItem(newModel(PolylinePrimitive, Qt::red), *slice, {{5, 30}, {35, 30}});
    EXPECT_TRUE(isNear(colorAt(10, 10), dark));
    EXPECT_TRUE(isNear(colorAt(20, 30), red));
    faint.getSelection().set(true);
    EXPECT_TRUE(isNear(colorAt(10, 10), qRgb(255, 255, 0), 10) || isNear(colorAt(10, 10), qRgb(0, 0, 0), 10));
}

TEST_F(SliceCanvasTest, aDenseOutlineStaysToBeSeenWhenItIsSelected) {
    prepare();
    std::vector<std::pair<int, int>> points;
    for (int x = 5; x <= 35; ++x)
        points.emplace_back(x, 20);
    points.emplace_back(20, 5);
    ModelItem& item = addItem(newModel(PolygonPrimitive, Qt::red), *slice, points);
    item.getSelection().set(true);
    canvas->update();
    const QImage seen = picture();
    const double zoom = double(canvas->getZoomFactor());
    const int row = int(20.5 * zoom), first = int(7 * zoom), last = int(34 * zoom);
    int numRed = 0;
    for (int x = first; x < last; ++x)
        numRed += isNear(seen.pixel(x, row), red, 60);
    EXPECT_GT(numRed, (last - first) / 2);
    item.getSelection().set(false); // a mark of a vertex alone, and of the ends of some
    for (const int i : {10, 11, 12, 20})
        item.getSelection().set(true, i, false);
    canvas->update();
    const QImage some = picture();
    for (const int x : {15, 17, 25})
        EXPECT_FALSE(isNear(some.pixel(int((x + 0.5) * zoom) + 2, row), red, 60)) << x;
}

TEST_F(SliceCanvasTest, selectedVerticesAreMarkedInPixelsOfTheScreen) {
    prepare();
    ModelItem& item = addItem(newModel(PolygonPrimitive, Qt::red), *slice, {{10, 10}, {30, 10}, {30, 30}});
    item.getSelection().set(true, 0, false);
    item.getSelection().set(true, 1, false);
    for (const float zoom : {0.0f, 12.0f}) {
        if (zoom > 0) {
            zoomTo(zoom);
            canvas->setViewOrigin(QPoint(0, 0));
        }
        const QImage seen = picture();
        const int side = int(canvas->getZoomFactor());
        const QPoint first(10 * side + side / 2, 10 * side + side / 2);
        const QPoint second(30 * side + side / 2, 10 * side + side / 2);
        const QPoint third(30 * side + side / 2, 30 * side + side / 2);
        EXPECT_TRUE(isNear(seen.pixel(first + QPoint(3, 1)), qRgb(255, 255, 0))) << zoom;
        EXPECT_TRUE(isNear(seen.pixel(second + QPoint(-2, -2)), qRgb(255, 255, 255))) << zoom;
        EXPECT_TRUE(isNear(seen.pixel(second + QPoint(3, 3)), qRgb(255, 255, 255))) << zoom;
        EXPECT_TRUE(isNear(seen.pixel(second), qRgb(255, 255, 255))) << zoom;
        EXPECT_TRUE(isNear(seen.pixel(second + QPoint(-1, 0)), qRgb(0, 0, 0))) << zoom;
        EXPECT_TRUE(isNear(seen.pixel(second + QPoint(-3, -3)), qRgb(0, 0, 0))) << zoom;
        EXPECT_TRUE(isNear(seen.pixel(second + QPoint(4, 4)), qRgb(0, 0, 0))) << zoom;
        EXPECT_TRUE(isNear(seen.pixel(third + QPoint(0, -1)), red)) << zoom;
    }
}

TEST_F(SliceCanvasTest, modesShowImagesItemsOrBoth) {
    prepare();
    addItem(newModel(PolylinePrimitive, Qt::red), *slice, {{5, 30}, {35, 30}});
    QSignalSpy modes(mediator, &VRLSliceWidgetMediator::canvasModeChanged);
    const QRgb background = VRLPreferences::getImageCanvasBackgroundColor().rgb();
    EXPECT_EQ(canvas->getMode(), AllgroundMode);
    EXPECT_TRUE(action("Display images and items")->isChecked());
    action("Display items only")->trigger();
    EXPECT_TRUE(isNear(colorAt(20, 30), red));
    EXPECT_TRUE(isNear(colorAt(20, 10), background));
    EXPECT_FALSE(action("Display images and items")->isChecked());
    widget->setBackgroundMode();
    EXPECT_TRUE(action("Display images only")->isChecked());
    EXPECT_TRUE(isNear(colorAt(20, 30), dark));
    widget->setAllgroundMode();
    EXPECT_TRUE(isNear(colorAt(20, 30), red));
    EXPECT_TRUE(isNear(colorAt(20, 10), dark));
    ASSERT_EQ(modes.count(), 3);
    EXPECT_EQ(modes[0][0].value<CanvasMode>(), ForegroundMode);
    EXPECT_EQ(modes[1][0].value<CanvasMode>(), BackgroundMode);
}

// Items at all places around the view, with what reaches into it: leaving out what is not seen must not change a pixel.
TEST_F(SliceCanvasTest, itemsThatReachIntoTheViewAreDrawn) {
    prepare();
    newModel(PolylinePrimitive, Qt::red);
    Model& model = stack.getModel(0);
    zoomTo(20);
    canvas->setViewOrigin(QPoint(10, 10)); // up to 29.2
    const QImage plain = picture();
    ModelItem& line = addItem(model, *slice, {{5, 20}, {9, 20}});
    line.getProperties().setLineWidth(1);
    EXPECT_EQ(drawnBox(picture(), plain), QRect());
    line.getProperties().setLineWidth(4);
    EXPECT_TRUE(drawnBox(picture(), plain).isValid());
    delete &line;
    ModelItem& across = addItem(model, *slice, {{0, 20}, {39, 21}});
    EXPECT_GT(drawnBox(picture(), plain).width(), 350);
    delete &across;
    ModelItem& point = newPoint(DiamondSymbol, 6, true, 4, 20);
    EXPECT_TRUE(drawnBox(picture(), plain).isValid());
    delete &point;
    ModelItem& extreme = addItem(model, *slice, {{-1000000000, -1000000000}, {1000000000, 1000000000}});
    EXPECT_EQ(extreme.getSize(), 2);
    picture();
    addItem(model, *slice, {});
    picture();
}

TEST_F(SliceCanvasTest, theEditorPaintsWhatIsNotOnTheSliceYet) {
    prepare();
    Model& model = newModel(PolylinePrimitive, Qt::red);
    ModelItem extra;
    extra.setModel(&model);
    extra.setSlice(slice);
    extra.setVertices(makeVertices({{5, 30}, {35, 30}}));
    EXPECT_EQ(canvas->getExtraItem(), nullptr);
    canvas->setExtraItem(&extra);
    EXPECT_TRUE(isNear(colorAt(20, 30), red));
    canvas->setExtraItem(nullptr);
    EXPECT_TRUE(isNear(colorAt(20, 30), dark));
    const QLineF line(5, 15, 35, 15);
    canvas->setRubberLine(&line);
    const QImage seen = picture();
    int magenta = 0;
    for (int x = 60; x < 350; ++x)
        magenta += isNear(seen.pixel(x, 155), qRgb(255, 0, 255), 10);
    EXPECT_GT(magenta, 100);
    EXPECT_LT(magenta, 280); // dashes
    canvas->setRubberLine(nullptr);
    EXPECT_TRUE(isNear(colorAt(20, 15), dark));
}

// A window that is grabbed as a whole shows the items too.
TEST_F(SliceCanvasTest, grabbedWindowsHoldTheItems) {
    prepare();
    addItem(newModel(PolylinePrimitive, Qt::red), *slice, {{5, 30}, {35, 30}});
    const QImage grabbed = window.grab().toImage();
    const QPoint at = canvas->mapTo(&window, QPoint(200, 305));
    EXPECT_TRUE(isNear(grabbed.pixel(at), red));
}

} // namespace vorlen
