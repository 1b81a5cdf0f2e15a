#include "snake/snakedriver.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "snake/drawnshapes.h"
#include "snake/snake.h"
#include "support/failures.h"
#include "support/recordingmonitor.h"

namespace vorlen {

namespace {

const Ellipse disc{80.0, 70.0, 30.0, 30.0};

SnakeConfig configOf(float threshold, float regularization, bool adaptive) {
    SnakeConfig config;
    config.setGradThreshold(threshold);
    config.setDistance(50);
    config.setRegMax(regularization);
    config.setRegMin(regularization * 0.5f);
    config.setAdaptive(adaptive);
    return config;
}

template <class T, class U>
void prepare(Snake<T, U>& snake, const PixelMatrix<T>& image, const SnakeConfig& config, const Ellipse& start) {
    snake.setPixelMatrix(image);
    snake.setConfig(config, true);
    snake.setCurve(ellipseCurve<U>(start, 80));
    snake.init();
}

template <class Types>
class SnakeDriverOf : public testing::Test {};
using Precisions = testing::Types<std::pair<float, float>, std::pair<double, double>>;
TYPED_TEST_SUITE(SnakeDriverOf, Precisions);

// Asks the driver to stop after a step.
class Stopper : public RecordingMonitor {
public:
    explicit Stopper(unsigned int step) : __step(step) {}
    using RecordingMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override {
        RecordingMonitor::subjectProgressed(current, total);
        if (current == __step)
            currentSubject()->cancel();
    }

private:
    unsigned int __step;
};

} // namespace

TYPED_TEST(SnakeDriverOf, findsTheBorderOfADiscFromOutsideAndInside) {
    using T = typename TypeParam::first_type;
    using U = typename TypeParam::second_type;
    const PixelMatrix<T> image = drawEllipse<T>(140, 160, disc);
    for (const bool adaptive : {false, true})
        for (const double radius : {42.0, 18.0}) {
            Snake<T, U> snake;
            prepare(snake, image, configOf(7.0f, 1.0f, adaptive), {83.0, 67.0, radius, radius});
            EXPECT_GT(meanDistance(snake.getCurve(), disc), 8.0);
            SnakeDriver<T, U> driver;
            EXPECT_TRUE(driver.run(snake, 1000)) << adaptive << " " << radius;
            EXPECT_LT(meanDistance(snake.getCurve(), disc), 0.45) << adaptive << " " << radius;
            EXPECT_LT(largestDistance(snake.getCurve(), disc), 1.0) << adaptive << " " << radius;
            EXPECT_NEAR(snake.getCurve().getSize(), 2.0 * 3.14159 * 30.0, 3.0);
        }
}

TYPED_TEST(SnakeDriverOf, findsTheBorderOfANoisyEllipse) {
    using T = typename TypeParam::first_type;
    using U = typename TypeParam::second_type;
    const Ellipse ellipse{80.0, 70.0, 48.0, 29.0};
    const PixelMatrix<T> image = drawEllipse<T>(140, 160, ellipse, 12.0);
    for (const bool adaptive : {false, true})
        for (const float regularization : {0.5f, 2.5f}) {
            Snake<T, U> snake;
            prepare(snake, image, configOf(15.0f, regularization, adaptive), {82.0, 68.0, 58.0, 40.0});
            SnakeDriver<T, U> driver;
            driver.run(snake, 1000);
            EXPECT_LT(meanDistance(snake.getCurve(), ellipse), 0.5) << adaptive << " " << regularization;
            EXPECT_LT(largestDistance(snake.getCurve(), ellipse), 1.3) << adaptive << " " << regularization;
        }
}

// The whole loop step by step, on a snake of its own: the same reports, the same parameters, the same curve.
TEST(SnakeDriver, repeatsStepsAdaptsAndReports) {
    const PixelMatrix<double> image = drawEllipse<double>(140, 160, disc, 8.0);
    bool converged = false, adapted = false;
    for (const bool adaptive : {false, true})
        for (const int maximum : {0, 1, 49, 99, 100, 130, 600}) {
            Snake<double, double> snake, byHand;
            SnakeConfig config = configOf(12.0f, 2.5f, adaptive);
            config.setAlpha(1.3f);
            prepare(snake, image, config, {83.0, 67.0, 40.0, 36.0});
            prepare(byHand, image, config, {83.0, 67.0, 40.0, 36.0});

            std::vector<std::string> heard = {"started Starting snake"};
            bool byHandConverged = false;
            float currentAlpha = config.getAlpha(), lastDistance = 0.0f;
            std::vector<double> sizes, previous(50, 0.0);
            SnakeDriver<double, double> driver;
            for (int i = 1; i <= maximum && !byHandConverged; ++i) {
                byHand.runStep();
                heard.push_back(std::to_string(i) + "/" + std::to_string(maximum));
                if (i > 1 && adaptive && byHand.getDataDistance() > lastDistance) {
                    driver.updateConfig(config);
                    const bool renew = std::abs(currentAlpha - config.getAlpha()) >= 0.1f;
                    byHand.setConfig(config, renew);
                    if (renew) {
                        adapted = true;
                        currentAlpha = config.getAlpha();
                        heard.insert(heard.end(), {"text Updating gradient image", "text Gradient image updated"});
                    }
                }
                lastDistance = byHand.getDataDistance();
                sizes.push_back(byHand.getCurve().getSize());
                if (sizes.size() == 50) {
                    double mean = 0.0, variance = 0.0;
                    for (int k = 0; k < 50; ++k)
                        mean += (previous[k] - sizes[k]) / 50.0;
                    for (int k = 0; k < 50; ++k)
                        variance += std::pow(previous[k] - sizes[k] - mean, 2.0) / 50.0;
                    byHandConverged = std::abs(mean) / std::sqrt(variance / 50.0) < 1.96;
                    previous.swap(sizes);
                    sizes.clear();
                }
            }
            heard.push_back(byHandConverged ? "finished The snake has converged"
                                            : "finished The snake has not converged");

            RecordingMonitor monitor;
            driver.addMonitor(monitor);
            EXPECT_EQ(driver.run(snake, maximum), byHandConverged);
            EXPECT_EQ(monitor.heard, heard);
            EXPECT_EQ(snake.getConfig().getAlpha(), config.getAlpha());
            EXPECT_EQ(snake.getConfig().getRegMax(), config.getRegMax());
            EXPECT_EQ(snake.getConfig().getRegMin(), config.getRegMin());
            ASSERT_EQ(snake.getCurve().getSize(), byHand.getCurve().getSize());
            for (int k = 0; k < byHand.getCurve().getSize(); ++k)
                ASSERT_EQ(snake.getCurve()[k], byHand.getCurve()[k]);
            converged = converged || byHandConverged;
        }
    EXPECT_TRUE(converged);
    EXPECT_TRUE(adapted);
}

TEST(SnakeDriver, adaptsDownToAHalfAndUpToTwo) {
    SnakeConfig config;
    config.setRegMax(1.0f);
    config.setRegMin(0.4f);
    config.setAlpha(1.0f);
    const SnakeDriver<float, float> driver;
    driver.updateConfig(config);
    EXPECT_EQ(config.getRegMax(), 0.995f);
    EXPECT_EQ(config.getRegMin(), 0.4f * 0.995f);
    EXPECT_EQ(config.getAlpha(), 1.0f / 0.995f);
    for (int step = 0; step < 1000; ++step)
        driver.updateConfig(config);
    EXPECT_GT(config.getRegMax(), 0.5f);
    EXPECT_LE(config.getRegMax() * 0.995f, 0.5f);
    EXPECT_FLOAT_EQ(config.getRegMin(), 0.4f * config.getRegMax());
    EXPECT_LT(config.getAlpha(), 2.0f);
    EXPECT_GE(config.getAlpha() / 0.995f, 2.0f);
    config.setRegMax(0.3f); // beyond the limits nothing moves
    config.setAlpha(3.0f);
    driver.updateConfig(config);
    EXPECT_EQ(config.getRegMax(), 0.3f);
    EXPECT_EQ(config.getAlpha(), 3.0f);
}

TEST(SnakeDriver, handsOnTheCollapseWithoutEdgesOrOutsideTheImage) {
    PixelMatrix<float> image(90, 80);
    image.setZeros();
    for (const double x : {40.0, -1000.0}) {
        Snake<float, float> snake;
        prepare(snake, image, configOf(7.0f, 1.0f, true), {x, 45.0, 15.0, 15.0});
        SnakeDriver<float, float> driver;
        RecordingMonitor monitor;
        driver.addMonitor(monitor);
        expectFailure<SizeError>([&] { driver.run(snake, 1000000); }, "void Snake::resampleCurve()",
                                 "The snake has collapsed.");
        EXPECT_GT(monitor.heard.size(), 10u); // it shrank step by step
        EXPECT_LT(snake.getCurve().length(), 3.0f);
        EXPECT_EQ(snake.getConfig().getAlpha(), 1.0f); // the distance never grew
    }
}

TEST(SnakeDriver, stopsAfterTheStepInWhichItIsCancelled) {
    const PixelMatrix<float> image = drawEllipse<float>(140, 160, disc);
    Snake<float, float> snake, stepped;
    prepare(snake, image, configOf(7.0f, 1.0f, false), {83.0, 67.0, 40.0, 40.0});
    prepare(stepped, image, configOf(7.0f, 1.0f, false), {83.0, 67.0, 40.0, 40.0});
    SnakeDriver<float, float> driver;
    Stopper stopper(3);
    driver.addMonitor(stopper);
    EXPECT_FALSE(driver.run(snake, 200));
    EXPECT_EQ(stopper.heard, (std::vector<std::string>{"started Starting snake", "1/200", "2/200", "3/200"}));
    stepped.run(3);
    ASSERT_EQ(snake.getCurve().getSize(), stepped.getCurve().getSize());
    for (int k = 0; k < stepped.getCurve().getSize(); ++k)
        EXPECT_EQ(snake.getCurve()[k], stepped.getCurve()[k]);
    driver.reset();
    driver.run(snake, 2);
    EXPECT_EQ(stopper.heard.back(), "finished The snake has not converged");
}

TEST(SnakeDriver, takesTheNumberOfStepsFromTheImage) {
    const PixelMatrix<float> image = drawEllipse<float>(31, 14, {7.0, 15.0, 4.0, 9.0});
    Snake<float, float> snake;
    prepare(snake, image, configOf(7.0f, 1.0f, false), {7.0, 15.0, 4.0, 9.0});
    SnakeDriver<float, float> driver;
    RecordingMonitor monitor;
    driver.addMonitor(monitor);
    EXPECT_FALSE(driver.run(snake, -1));
    EXPECT_EQ(monitor.heard.size(), 47u);
    EXPECT_EQ(monitor.heard[45], "45/45");
    Snake<float, float> unprepared;
    expectFailure<UsageError>([&] { driver.run(unprepared, -1); }, "bool SnakeDriver<T,U>::run(Snake<T,U>&, int)",
                              "The snake has no image");
}

} // namespace vorlen
