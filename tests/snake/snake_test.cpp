#include "snake/snake.h"

#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "images/filters/derichegradient.h"
#include "numerics/exception.h"
#include "snake/drawnshapes.h"
#include "support/failures.h"
#include "support/vectors.h"

namespace vorlen {

namespace {

struct PlainForce {
    double x, y, distance;
};

// Both searches to their ends, one after the other.
PlainForce plainForce(const PixelMatrix<double>& map, const SnakeConfig& config, double x, double y, double nx,
                      double ny) {
    const int distance = config.getDistance();
    const auto search = [&](double qx, double qy, double dx, double dy, int k) {
        for (; k < distance; ++k, qx += dx, qy += dy) {
            const double ix = std::trunc(qx), iy = std::trunc(qy);
            if (ix < 0 || iy < 0 || ix >= map.getSize2() || iy >= map.getSize1())
                return distance;
            if (map[static_cast<int>(iy)][static_cast<int>(ix)] >= config.getGradThreshold())
                return k;
        }
        return k;
    };
    const int forward = search(x, y, nx, ny, 0);
    const int backward = search(x - nx, y - ny, -nx, -ny, 1);
    if (forward == backward || forward == 0)
        return {0.0, 0.0, double(forward)};
    const double sign = forward < backward ? 0.5 : -0.5;
    return {sign * nx, sign * ny, double(std::min(forward, backward))};
}

PixelMatrix<double> noise(int rows, int columns) {
    std::mt19937 engine(41);
    std::uniform_real_distribution<double> grey(0.0, 255.0);
    PixelMatrix<double> image(rows, columns);
    for (int i = 0; i < rows; ++i)
        for (double& value : image[i])
            value = grey(engine);
    return image;
}

Curve<double> triangle(double size) {
    Curve<double> curve;
    curve.append(vectorOf({10.0, 10.0}));
    curve.append(vectorOf({10.0 + size, 10.0}));
    curve.append(vectorOf({10.0, 10.0 + size}));
    return curve;
}

} // namespace

TEST(Snake, makesAMapOfThinnedEdges) {
    const PixelMatrix<double> image = noise(30, 40);
    Snake<double, double> snake;
    EXPECT_EQ(snake.getImageMatrix(), nullptr);
    EXPECT_EQ(snake.getGradNorm(), nullptr);
    snake.setPixelMatrix(image);
    EXPECT_EQ(snake.getImageMatrix(), &image);
    SnakeConfig config;
    config.setAlpha(0.7f);
    snake.setConfig(config, true);
    EXPECT_EQ(snake.getGradNorm(), nullptr); // there is none to update
    snake.computeGradient();
    DericheGradient<double> gradient(0.7f);
    PixelMatrix<double> expected = image, vertical = image;
    gradient.hGradient(expected);
    gradient.vGradient(vertical);
    gradient.fineNonmaxSuppression(expected, vertical);
    EXPECT_TRUE(*snake.getGradNorm() == expected);
}

TEST(Snake, renewsTheMapOnlyForAnotherAlphaAndOnDemand) {
    const PixelMatrix<double> image = noise(30, 40);
    Snake<double, double> snake;
    snake.setPixelMatrix(image);
    snake.computeGradient();
    const PixelMatrix<double> first = *snake.getGradNorm();
    SnakeConfig config;
    config.setAlpha(1.5f);
    config.setRegMax(3.0f);
    snake.setConfig(config, false);
    EXPECT_EQ(snake.getConfig().getAlpha(), 1.5f);
    EXPECT_EQ(snake.getConfig().getRegMax(), 3.0f);
    EXPECT_TRUE(*snake.getGradNorm() == first);
    snake.setConfig(config, true); // the same alpha as before
    EXPECT_TRUE(*snake.getGradNorm() == first);
    config.setAlpha(1.6f);
    snake.setConfig(config, true);
    EXPECT_FALSE(*snake.getGradNorm() == first);
    const PixelMatrix<double> second = *snake.getGradNorm();
    for (const float alpha : {0.0f, -1.0f, std::numeric_limits<float>::quiet_NaN()}) {
        config.setAlpha(alpha);
        EXPECT_THROW(snake.setConfig(config, true), ValueError);
        EXPECT_EQ(snake.getConfig().getAlpha(), 1.6f);
        EXPECT_TRUE(*snake.getGradNorm() == second);
    }
}

// Positions inside, on and outside the image; unit normals of all directions, and the null normal of a spike.
TEST(Snake, drawsAVertexTowardsTheNearestEdgeOnItsNormal) {
    const PixelMatrix<double> image = noise(23, 31);
    Snake<double, double> snake;
    snake.setPixelMatrix(image);
    snake.computeGradient();
    std::mt19937 engine(2);
    std::uniform_real_distribution<double> x(-6.0, 36.0), y(-6.0, 28.0), angle(0.0, 6.283);
    int drawn = 0;
    for (const float threshold : {0.0f, 5.0f, 20.0f, 60.0f, 1e6f})
        for (const int distance : {-3, 0, 1, 2, 7, 100}) {
            SnakeConfig config;
            config.setGradThreshold(threshold);
            config.setDistance(distance);
            snake.setConfig(config, false);
            Curve<double> curve(2, 200, 200, 200, false);
            for (int k = 0; k < 200; ++k)
                curve[k] = k % 20 < 2 ? vectorOf({5.0, 9.0 + k / 100}) : vectorOf({x(engine), y(engine)});
            snake.setCurve(curve);
            snake.computeForces();
            const Vertices<double> normals = curve.normals(0, 1);
            double sum = 0.0;
            for (int k = 0; k < 200; ++k) {
                const double a = angle(engine);
                for (const Vector<double>& normal :
                     {normals[k], vectorOf({std::cos(a), std::sin(a)}), vectorOf({0.0, 0.0})}) {
                    const PlainForce plain =
                        plainForce(*snake.getGradNorm(), config, curve[k][0], curve[k][1], normal[0], normal[1]);
                    const Vector<double> force = snake.computeForce(curve[k], normal);
                    EXPECT_EQ(force, vectorOf({plain.x, plain.y})) << threshold << " " << distance << " " << k;
                    drawn += plain.x != 0.0;
                }
                sum += plainForce(*snake.getGradNorm(), config, curve[k][0], curve[k][1], normals[k][0], normals[k][1])
                           .distance;
            }
            snake.computeForces(); // takes the mean anew
            EXPECT_NEAR(snake.getDataDistance(), std::max(sum / 200.0, 0.0), 1e-4) << threshold << " " << distance;
        }
    EXPECT_GT(drawn, 500);
}

// A null normal stays on its place, however far it may look.
TEST(Snake, doesNotLookForeverAlongANullNormal) {
    const PixelMatrix<double> image = noise(23, 31);
    Snake<double, double> snake;
    snake.setPixelMatrix(image);
    snake.computeGradient();
    SnakeConfig config;
    config.setGradThreshold(1e6f);
    config.setDistance(std::numeric_limits<int>::max());
    snake.setConfig(config, false);
    EXPECT_EQ(snake.computeForce(vectorOf({4.0, 4.0}), vectorOf({0.0, 0.0})), vectorOf({0.0, 0.0}));
    EXPECT_EQ(snake.computeForce(vectorOf({4.0, 4.0}), vectorOf({1e-30, 0.0})), vectorOf({0.0, 0.0}));
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(snake.computeForce(vectorOf({notANumber, 1e300}), vectorOf({1.0, 0.0})), vectorOf({0.0, 0.0}));
}

// Each row of the system, from the positions before and after.
TEST(Snake, solvesTheMembranesEquations) {
    const PixelMatrix<double> image = noise(40, 40);
    Snake<double, double> snake;
    snake.setPixelMatrix(image);
    SnakeConfig config;
    config.setRegMax(2.5f);
    snake.setConfig(config, false);
    snake.setCurve(ellipseCurve<double>({20.0, 18.0, 15.0, 11.0}, 60));
    snake.init();
    Curve<double> before = snake.getCurve();
    before.detach();
    const Vertices<double> normals = before.normals(0, 1);
    snake.computeForces();
    snake.computeRegularizations();
    snake.computeNewPositions();
    const Curve<double>& after = snake.getCurve();
    const int n = before.getSize();
    ASSERT_EQ(after.getSize(), n);
    bool moved = false;
    for (int k = 0; k < n; ++k) {
        const Vector<double> force = snake.computeForce(before[k], normals[k]);
        for (int axis = 0; axis < 2; ++axis) {
            const double left =
                6.0 * after[k][axis] - 2.5 * after[(k + n - 1) % n][axis] - 2.5 * after[(k + 1) % n][axis];
            EXPECT_NEAR(left, before[k][axis] + force[axis], 1e-10);
            moved = moved || force[axis] != 0.0;
        }
    }
    EXPECT_TRUE(moved);
}

// Without forces a regular polygon is a mode of the membrane: its radius shrinks by 1 + 2 r (1 - cos(2 pi / n)).
TEST(Snake, shrinksACircleWhereThereAreNoEdges) {
    PixelMatrix<double> image(60, 60);
    image.setZeros();
    Snake<double, double> snake;
    snake.setPixelMatrix(image);
    const Ellipse circle{30.0, 30.0, 20.0, 20.0};
    snake.setCurve(ellipseCurve<double>(circle, 90));
    snake.computeGradient();
    snake.computeForces();
    EXPECT_EQ(snake.getDataDistance(), 100.0f);
    snake.computeRegularizations();
    snake.computeNewPositions();
    const double radius = 20.0 / (1.0 + 2.0 * (1.0 - std::cos(2.0 * 3.14159265358979323846 / 90)));
    for (int k = 0; k < 90; ++k)
        EXPECT_NEAR(std::hypot(snake.getCurve()[k][0] - 30.0, snake.getCurve()[k][1] - 30.0), radius, 1e-10);
    EXPECT_THROW(snake.run(1000000), SizeError);
}

TEST(Snake, spacesItsVerticesOnePixelOrALittleMore) {
    Snake<double, double> snake;
    snake.setCurve(triangle(10.0));
    snake.resampleCurve();
    const Curve<double>& curve = snake.getCurve();
    EXPECT_EQ(curve.getSize(), 34); // 20 + 10 sqrt(2), rounded down
    EXPECT_EQ(curve[0], vectorOf({10.0, 10.0}));
    EXPECT_NEAR(curve[0].distance(curve[1]), (20.0 + std::sqrt(200.0)) / 34.0, 1e-12);
}

TEST(Snake, hasCollapsedBelowALengthOfThreePixels) {
    for (const double size : {0.0, 0.5, 0.85}) { // a length of (2 + sqrt(2)) times that
        Snake<double, double> snake;
        snake.setCurve(triangle(size));
        expectFailure<SizeError>([&] { snake.resampleCurve(); }, "void Snake::resampleCurve()",
                                 "The snake has collapsed.");
        EXPECT_EQ(snake.getCurve().getSize(), 3);
    }
    Snake<double, double> snake;
    snake.setCurve(triangle(0.9));
    snake.resampleCurve();
    EXPECT_EQ(snake.getCurve().getSize(), 3);
    snake.setCurve(Curve<double>());
    EXPECT_THROW(snake.resampleCurve(), SizeError);
    for (const double size : {1e300, std::numeric_limits<double>::infinity(), 1e9}) {
        snake.setCurve(triangle(size));
        expectFailure<SizeError>([&] { snake.resampleCurve(); }, "void Snake::resampleCurve()",
                                 "The snake is too long.");
    }
}

TEST(Snake, ownsAClosedCopyOfAPlanarCurve) {
    Curve<double> curve = triangle(10.0);
    curve.setOpen(true);
    Snake<double, double> snake;
    snake.setCurve(curve);
    curve[0][0] = -77.0;
    EXPECT_EQ(snake.getCurve()[0], vectorOf({10.0, 10.0}));
    EXPECT_TRUE(snake.getCurve().isClosed());
    EXPECT_TRUE(curve.isOpen());
    const Curve<double> spatial(3, 4, 4, 4, false);
    EXPECT_THROW(snake.setCurve(spatial), SizeError);
    EXPECT_EQ(snake.getCurve().getSize(), 3);
}

TEST(Snake, refusesToStepUnprepared) {
    Snake<double, double> snake;
    expectFailure<UsageError>([&] { snake.computeGradient(); }, "void Snake::computeGradient()",
                              "The snake has no image");
    snake.setCurve(triangle(10.0));
    expectFailure<UsageError>([&] { snake.runStep(); }, "Vector<U> Snake::computeForce(...)",
                              "The snake has no edge map");
    PixelMatrix<double> image(0, 0);
    snake.setPixelMatrix(image);
    EXPECT_THROW(snake.init(), UsageError);
    image.setZeros(30, 30);
    expectFailure<UsageError>([&] { snake.computeNewPositions(); }, "void Snake::computeNewPositions()",
                              "The snake has no forces for its vertices");
    SnakeConfig config;
    for (const float weight : {-0.1f, std::numeric_limits<float>::quiet_NaN()}) {
        config.setRegMax(weight);
        snake.setConfig(config, true);
        snake.init();
        EXPECT_THROW(snake.runStep(), ValueError);
    }
}

} // namespace vorlen
