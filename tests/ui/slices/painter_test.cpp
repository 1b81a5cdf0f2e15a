#include "ui/slices/vrlpainter.h"

#include <cstdlib>
#include <functional>
#include <limits>

#include <QImage>

#include <gtest/gtest.h>

#include "document/stack.h"
#include "support/documentmaker.h"

namespace vorlen {

namespace {

const QRgb white = qRgb(255, 255, 255);
const QRgb black = qRgb(0, 0, 0);
const QRgb green = qRgb(0, 200, 0);

/// A model of one green item on a slice of 41 x 41 pixels, painted at scale 1.
class Painter : public ::testing::Test {
protected:
    Painter() {
        addSlices(stack, 1);
        converter.setWorld(QRect(0, 0, 41, 41));
        converter.setModel(QRect(0, 0, 41, 41));
    }

    ModelItem& makeItem(MPrimitive geometry, const std::vector<std::pair<int, int>>& points) {
        Model& model = addModel(stack, "m", geometry);
        model.getItemProperties().setColor(0, 200, 0);
        model.getItemProperties().setPointSize(5);
        return addItem(model, stack.getSlice(0), points);
    }

    QImage paint(const ModelItem& item, const std::function<void(VRLPainter&)>& prepare = {}) const {
        QImage picture(81, 81, QImage::Format_RGB32);
        picture.fill(Qt::white);
        VRLPainter painter(&picture);
        painter.setWMConverter(converter);
        if (prepare)
            prepare(painter);
        painter.drawItem(item);
        EXPECT_TRUE(painter.transform().isIdentity());
        return picture;
    }

    /// Box of all pixels that are not white.
    static QRect painted(const QImage& picture) {
        QRect box;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                if (picture.pixel(x, y) != white)
                    box |= QRect(x, y, 1, 1);
        return box;
    }

    static int count(const QImage& picture, QRgb color) {
        int n = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                n += picture.pixel(x, y) == color ? 1 : 0;
        return n;
    }

    Stack stack;
    VRLWMConverter converter;
};

QRect around(int x, int y, int distance) {
    return QRect(x - distance, y - distance, 2 * distance + 1, 2 * distance + 1);
}

} // namespace

TEST_F(Painter, drawsPolygonsClosedAndPolylinesOpenWithoutFilling) {
    const std::vector<std::pair<int, int>> outline{{10, 10}, {30, 10}, {30, 30}, {10, 30}};
    const QImage polygon = paint(makeItem(PolygonPrimitive, outline));
    const QImage polyline = paint(makeItem(PolylinePrimitive, outline));
    EXPECT_EQ(painted(polygon), QRect(10, 10, 21, 21));
    EXPECT_EQ(count(polygon, green), 80);
    EXPECT_EQ(polygon.pixel(20, 20), white);
    EXPECT_EQ(polygon.pixel(10, 20), green);
    EXPECT_EQ(polyline.pixel(10, 20), white);
    EXPECT_EQ(polyline.pixel(30, 20), green);
}

TEST_F(Painter, convertsVerticesAndLineWidths) {
    ModelItem& item = makeItem(PolylinePrimitive, {{5, 10}, {25, 10}});
    item.getProperties().setLineWidth(2.9f); // counts as 2
    converter.setModel(QRect(0, 0, 81, 81)); // positions times 2, lengths times 81 / 41
    const QImage picture = paint(item);
    EXPECT_EQ(picture.pixel(30, 20), green);
    EXPECT_EQ(count(picture.copy(30, 0, 1, 81), green), 3);
    // The caps are square: half a width beyond either end.
    EXPECT_LE(painted(picture).left(), 9);
    EXPECT_GE(painted(picture).right(), 51);

    // No line falls below one pixel.
    converter.setModel(QRect(0, 0, 11, 11));
    const QImage small = paint(item);
    EXPECT_EQ(count(small.copy(4, 0, 1, 81), green), 1);
    EXPECT_EQ(small.pixel(4, 3), green); // 10 * 10 / 40 = 2.5
}

TEST_F(Painter, drawsASymbolAtEachPointFilledWhenAsked) {
    struct Case {
        VertexSymbol symbol;
        int radius;
        QRect box;
    };
    // With radius 5: side 8, half diagonal 6, corners 5 aside and 3 below, diameter 11. With 4: side 7, half diagonal
    // 5, corners 4 aside and 2 below, diameter 9. With 1: side 1, half diagonal 1, corners 1 aside and 1 below.
    for (const Case& c :
         {Case{CubeSymbol, 5, around(20, 20, 4)}, Case{CubeSymbol, 4, around(20, 20, 3)},
          Case{CubeSymbol, 1, around(20, 20, 0)}, Case{DiamondSymbol, 5, around(20, 20, 6)},
          Case{DiamondSymbol, 4, around(20, 20, 5)}, Case{DiamondSymbol, 1, around(20, 20, 1)},
          Case{TetrahedronSymbol, 5, QRect(QPoint(15, 15), QPoint(25, 23))},
          Case{TetrahedronSymbol, 4, QRect(QPoint(16, 16), QPoint(24, 22))}, Case{DotSymbol, 5, around(20, 20, 5)},
          Case{SphereSymbol, 4, around(20, 20, 4)}, Case{SphereSymbol, 1, around(20, 20, 1)}}) {
        SCOPED_TRACE(ModelItemProperties::toString(c.symbol) + " " + std::to_string(c.radius));
        ModelItem& item = makeItem(PolypointPrimitive, {{20, 20}, {60, 60}});
        item.getProperties().setPointSize(float(c.radius));
        item.getProperties().setVertexSymbol(c.symbol);
        item.getProperties().setVertexSymbolFilling(true);
        const QImage filled = paint(item);
        const QRect box = painted(filled.copy(0, 0, 40, 40));
        // The rasteriser may leave the tip of a slanted corner out.
        const int tolerance = c.symbol == TetrahedronSymbol ? 1 : 0;
        EXPECT_TRUE(c.box.contains(box));
        EXPECT_TRUE(box.contains(c.box.adjusted(tolerance, tolerance, -tolerance, 0)));
        EXPECT_EQ(filled.copy(c.box), filled.copy(c.box.translated(40, 40)));
        EXPECT_EQ(filled.pixel(20, 20), green);
        if (c.radius == 1)
            continue;
        item.getProperties().setVertexSymbolFilling(false);
        const QImage outline = paint(item);
        EXPECT_EQ(painted(outline.copy(0, 0, 40, 40)), box);
        EXPECT_EQ(outline.pixel(20, 20), white);
        EXPECT_LT(count(outline, green), count(filled, green));
    }
}

TEST_F(Painter, takesWhatTheItemDoesNotDefineFromItsModelAndThenFromTheDefaults) {
    ModelItem& item = makeItem(PolylinePrimitive, {{5, 10}, {25, 10}});
    item.getProperties().setColor(0, 0, 255);
    EXPECT_EQ(paint(item).pixel(15, 10), qRgb(0, 0, 255));
    item.getProperties().clear();
    EXPECT_EQ(paint(item).pixel(15, 10), green);
    item.getModel()->getItemProperties().clear();
    EXPECT_EQ(paint(item).pixel(15, 10), qRgb(255, 0, 0));

    ModelItem alone;
    alone.setVertices(makeVertices({{5, 10}, {25, 10}}));
    EXPECT_EQ(paint(alone).pixel(15, 10), qRgb(255, 0, 0));
    EXPECT_EQ(painted(paint(ModelItem())), QRect());
}

TEST_F(Painter, turnsAboutTheModelsCentreAndShifts) {
    // Centre (20, 20). The point lies 10 to the right of it; a quarter turn brings it below, on the screen.
    ModelItem& item = makeItem(PolypointPrimitive, {{30, 20}});
    item.getProperties().setVertexSymbol(DiamondSymbol);
    const QRect straight = painted(paint(item));
    EXPECT_EQ(straight, around(30, 20, 6));
    EXPECT_EQ(painted(paint(item, [](VRLPainter& painter) { painter.setTranslation(QPoint(7, -3)); })),
              straight.translated(7, -3));
    const QImage turned = paint(item, [](VRLPainter& painter) {
        painter.setRotation(90);
        painter.setTranslation(QPoint(9, 4));
    });
    EXPECT_LE((painted(turned).center() - QPoint(29, 34)).manhattanLength(), 1);
}

TEST_F(Painter, marksSelectedVerticesWithTwoSquares) {
    ModelItem& item = makeItem(PolylinePrimitive, {{10, 20}, {30, 20}});
    item.getSelection().set(true, 1, true);
    const QImage picture = paint(item);
    const QImage mark = picture.copy(around(30, 20, 4));
    QImage expected(9, 9, QImage::Format_RGB32);
    expected.fill(Qt::white);
    for (int i = 0; i < 9; ++i)
        for (int j = 0; j < 9; ++j) {
            const int distance = std::max(std::abs(i - 4), std::abs(j - 4));
            expected.setPixel(j, i, distance == 3 || distance == 1 ? black : white);
        }
    expected.setPixel(0, 4, green); // the line that leads there
    EXPECT_EQ(mark, expected);
    EXPECT_EQ(count(picture.copy(around(10, 20, 4)), black), 0);
}

TEST_F(Painter, survivesSizesThatAreNoSizes) {
    ModelItem& item = makeItem(PolypointPrimitive, {{20, 20}});
    item.getProperties().setLineWidth(std::numeric_limits<float>::quiet_NaN());
    item.getProperties().setPointSize(-5);
    item.getProperties().setVertexSymbol(SphereSymbol);
    EXPECT_EQ(painted(paint(item)), around(20, 20, 1));
    item.getProperties().setPointSize(std::numeric_limits<float>::infinity());
    paint(item);
}

} // namespace vorlen
