#include "ui/slices/outlinebatch.h"

#include <algorithm>
#include <cmath>
#include <random>

#include <QColor>
#include <QPolygonF>
#include <QTransform>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

bool isCovered(const OutlineBatch& batch, const QPointF& at) {
    const auto& corners = batch.corners();
    const auto& indexes = batch.indexes();
    for (std::size_t i = 0; i + 2 < indexes.size(); i += 3) {
        double least = 0, greatest = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const OutlineBatch::Corner &a = corners[indexes[i + k]], &b = corners[indexes[i + (k + 1) % 3]];
            const double side = double(b.x - a.x) * (at.y() - double(a.y)) - double(b.y - a.y) * (at.x() - double(a.x));
            least = std::min(least, side);
            greatest = std::max(greatest, side);
        }
        if (least == 0 || greatest == 0)
            return true;
    }
    return false;
}

double distance(const QPointF& at, const QPointF& a, const QPointF& b) {
    const QPointF way = b - a;
    const double length = QPointF::dotProduct(way, way);
    const double t = length > 0 ? std::clamp(QPointF::dotProduct(at - a, way) / length, 0.0, 1.0) : 0;
    const QPointF rest = at - (a + t * way);
    return std::hypot(rest.x(), rest.y());
}

double distance(const QPointF& at, const QPolygonF& line, bool closed) {
    double least = 1e9;
    for (qsizetype i = 0; i + (closed ? 0 : 1) < line.size(); ++i)
        least = std::min(least, distance(at, line[i], line[(i + 1) % line.size()]));
    return least;
}

} // namespace

// By brute force: a place is covered exactly where it lies no farther than half the width from the line, but for a
// tenth of a pixel.
TEST(OutlineBatch, coversWhatLiesWithinHalfTheWidthOfTheLine) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> place(20, 80), anywhere(0, 100);
    for (const double width : {1.0, 3.0, 14.0})
        for (int run = 0; run < 12; ++run) {
            QPolygonF line;
            if (run == 0)
                for (int i = 0; i < 60; ++i) // many short pieces, and one that goes straight back
                    line << QPointF(50 + 30 * std::cos(i * 0.1), 50 + 30 * std::sin(i * 0.1));
            else
                for (int i = 0; i < 2 + run / 2; ++i)
                    line << QPointF(place(random), place(random));
            line << line.last(); // twice the same
            OutlineBatch batch;
            batch.add(line, true, width, QTransform::fromScale(1, 0.5), Qt::red); // pixels that are not square
            for (int i = 0; i < 3000; ++i) {
                const QPointF at(anywhere(random), anywhere(random));
                const double far = distance(at, line, true);
                if (std::abs(far - width / 2) > 0.15) {
                    ASSERT_EQ(isCovered(batch, QPointF(at.x(), at.y() / 2)), far < width / 2)
                        << width << ", run " << run << ": " << at.x() << ", " << at.y();
                }
            }
        }
}

TEST(OutlineBatch, keepsOpenLinesOpenAndPointsToBeSeen) {
    OutlineBatch batch;
    batch.add(QPolygonF({{10, 10}, {30, 10}, {30, 30}}), false, 4, QTransform(), QColor(1, 2, 3));
    EXPECT_FALSE(isCovered(batch, QPointF(20, 20))); // on the way back to the first
    EXPECT_TRUE(isCovered(batch, QPointF(8.5, 11.5)));
    EXPECT_FALSE(isCovered(batch, QPointF(7.5, 10)));
    EXPECT_TRUE(isCovered(batch, QPointF(31.5, 31.5)));
    EXPECT_EQ(batch.corners()[0].blue, 3);
    EXPECT_EQ(batch.corners()[0].opacity, 255);
    for (const bool closed : {true, false}) {
        OutlineBatch one;
        one.add(QPolygonF(QList<QPointF>{{5, 5}, {5, 5}}), closed, 2, QTransform(), Qt::red);
        EXPECT_TRUE(isCovered(one, QPointF(5.9, 4.1)));
        EXPECT_FALSE(isCovered(one, QPointF(6.1, 5)));
    }
    OutlineBatch none;
    none.add(QPolygonF(), true, 2, QTransform(), Qt::red);
    EXPECT_TRUE(none.isEmpty());
}

} // namespace vorlen
