#include "snake/snakedriver.h"

#include <cmath>

#include "numerics/exception.h"
#include "snake/snake.h"

namespace vorlen {

namespace {

constexpr int blockLength = 50;

// Numbers of vertices of the steps of one block, and of the block before.
class LengthTest {
public:
    LengthTest() : __sizes(blockLength), __previous(blockLength) { __previous.setZeros(); }

    /// Whether the step ends a block and its lengths do not differ from those of the block before.
    bool isSteady(int size) {
        __sizes[__position++] = static_cast<float>(size);
        if (__position < blockLength)
            return false;
        __position = 0;
        __previous -= __sizes;
        const float mean = std::abs(__previous.mean());
        const float standardError = std::sqrt(__previous.var() / static_cast<float>(blockLength));
        __previous = __sizes;
        return standardError > 0.0f && mean / standardError < 1.96f;
    }

private:
    Vector<float> __sizes;
    Vector<float> __previous;
    int __position = 0;
};

} // namespace

template <class T, class U>
SnakeDriver<T, U>::~SnakeDriver() = default;

template <class T, class U>
bool SnakeDriver<T, U>::run(Snake<T, U>& snake, int maxIterations) {
    if (maxIterations < 0) {
        if (!snake.getImageMatrix())
            throw UsageError("bool SnakeDriver<T,U>::run(Snake<T,U>&, int)", "The snake has no image");
        maxIterations = snake.getImageMatrix()->getSize1() + snake.getImageMatrix()->getSize2();
    }
    SnakeConfig config = snake.getConfig();
    float currentAlpha = config.getAlpha();
    float lastDistance = 0.0f;
    LengthTest lengths;

    this->notifyStarted("Starting snake");
    for (int i = 1; i <= maxIterations; ++i) {
        snake.run(1);
        this->notifyProgressed(static_cast<unsigned int>(i), static_cast<unsigned int>(maxIterations));
        if (this->isCanceled())
            return false;
        if (i > 1 && snake.getConfig().isAdaptive() && snake.getDataDistance() > lastDistance) {
            updateConfig(config);
            if (std::abs(currentAlpha - config.getAlpha()) >= 0.1f) {
                this->notifyProgressed("Updating gradient image");
                snake.setConfig(config, true);
                currentAlpha = config.getAlpha();
                this->notifyProgressed("Gradient image updated");
            } else
                snake.setConfig(config, false);
        }
        lastDistance = snake.getDataDistance();
        if (lengths.isSteady(snake.getCurve().getSize())) {
            this->notifyFinished("The snake has converged");
            return true;
        }
    }
    this->notifyFinished("The snake has not converged");
    return false;
}

template <class T, class U>
void SnakeDriver<T, U>::updateConfig(SnakeConfig& config) const {
    constexpr float rate = 0.995f;
    if (config.getRegMax() * rate > 0.5f) {
        config.setRegMax(config.getRegMax() * rate);
        config.setRegMin(config.getRegMin() * rate);
    }
    if (config.getAlpha() / rate < 2.0f)
        config.setAlpha(config.getAlpha() / rate);
}

template class SnakeDriver<float, float>;
template class SnakeDriver<double, double>;

} // namespace vorlen
