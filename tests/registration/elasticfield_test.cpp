#include "registration/elasticfield.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "registration/sheetrelaxation.h"

namespace vorlen {

namespace {

/// A field over 200 by 100 of which each node goes where this says.
template <class Way>
ElasticField fieldOf(const Way& way) {
    ElasticField field(200, 100, 20);
    for (int row = 0; row < field.rows(); ++row)
        for (int column = 0; column < field.columns(); ++column)
            field.setWay(row, column, way(field.node(row, column)));
    return field;
}

TEST(ElasticField, goesThroughItsNodesAndIsUndoneByItsInverse) {
    const ElasticField field = fieldOf([](PlanePoint at) {
        return PlanePoint{5 * std::sin(at.y / 25), 4 * std::cos(at.x / 40)};
    });
    ASSERT_EQ(field.columns(), 11);
    ASSERT_EQ(field.rows(), 6);
    EXPECT_EQ(field.node(0, 0).x, -100);
    EXPECT_EQ(field.node(5, 10).y, 50);
    const PlanePoint node = field.node(2, 3);
    EXPECT_NEAR(field.way(node).x, 5 * std::sin(node.y / 25), 1e-12);
    EXPECT_NEAR(field.way({17, 13}).x, 5 * std::sin(13 / 25.0), 0.15);  // between nodes
    EXPECT_NEAR(field.way({400, 13}).y, field.way({100, 13}).y, 1e-12); // beyond
    for (const PlanePoint& at : {PlanePoint{0, 0}, {-93, 41}, {77, -20}, {130, 70}}) {
        const PlanePoint back = field.after(field.before(at));
        EXPECT_NEAR(back.x, at.x, 1e-3);
        EXPECT_NEAR(back.y, at.y, 1e-3);
    }
    EXPECT_GT(field.leastArea(), 0.9);
    EXPECT_FALSE(field.isNull());
    EXPECT_TRUE(ElasticField().isNull());
    EXPECT_EQ(ElasticField().after({3, 4}).y, 4);
}

TEST(ElasticField, tellsFoldsAndRefusesGridsOfNoUse) {
    // Pressed together to a half along x, and turned inside out.
    EXPECT_NEAR(fieldOf([](PlanePoint at) { return PlanePoint{-0.5 * at.x, 0}; }).leastArea(), 0.5, 1e-9);
    EXPECT_LT(fieldOf([](PlanePoint at) { return PlanePoint{-1.5 * at.x, 0}; }).leastArea(), 0);
    EXPECT_THROW(ElasticField(0, 10, 1), ValueError);
    EXPECT_THROW(ElasticField(10, 10, 0), ValueError);
    EXPECT_THROW(ElasticField(1e6, 1e6, 1), ValueError);
    EXPECT_THROW(ElasticField(10, std::numeric_limits<double>::quiet_NaN(), 1), ValueError);
    EXPECT_THROW(ElasticField(10, 10, 2, 3, {{0, 0}}), SizeError);
}

// Each of two free sheets goes half of the way; one that is held makes the other go all of it.
TEST(SheetRelaxation, sharesTheWayUnlessASheetIsHeldAndDropsBadTies) {
    for (const bool held : {false, true}) {
        SheetRelaxation sheets;
        sheets.addSheet(5, 7);
        sheets.addSheet(5, 7);
        if (held)
            sheets.hold(0);
        for (int row = 0; row < 5; ++row)
            for (int column = 0; column < 7; ++column) {
                const bool bad = row == 2 && column % 3 == 0;
                sheets.tie({1, double(row), double(column)}, {0, double(row), double(column)},
                           bad ? PlanePoint{-40, 35} : PlanePoint{4, -2}, 1);
            }
        sheets.relax(1);
        const double share = held ? 1 : 0.5;
        for (const int column : {0, 3, 6}) { // also where the ties are bad
            EXPECT_NEAR(sheets.way(1, 2, column).x, 4 * share, 0.1);
            EXPECT_NEAR(sheets.way(1, 2, column).y, -2 * share, 0.1);
            EXPECT_NEAR(sheets.way(0, 2, column).x, held ? 0 : -2, 0.1);
        }
    }
}

// What is tied at its border alone runs on evenly between.
TEST(SheetRelaxation, bridgesWhatNothingIsKnownOf) {
    SheetRelaxation sheets;
    sheets.addSheet(3, 11);
    sheets.addSheet(2, 2);
    sheets.hold(1);
    for (int row = 0; row < 3; ++row) {
        sheets.tie({0, double(row), 0}, {1, 0, 0}, {0, 0}, 1);
        sheets.tie({0, double(row), 10}, {1, 0, 0}, {10, 0}, 1);
    }
    sheets.relax(100);
    for (int column = 1; column < 10; ++column) {
        EXPECT_GT(sheets.way(0, 1, column).x, sheets.way(0, 1, column - 1).x);
        EXPECT_NEAR(sheets.way(0, 1, column).x, column, 1.2);
    }
}

} // namespace

} // namespace vorlen
