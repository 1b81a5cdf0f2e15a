#pragma once

#include "progress/progresssubject.h"
#include "snake/snakeconfig.h"

namespace vorlen {

template <class T, class U>
class Snake;

/// Runs a snake to convergence, adapts its parameters when they are asked to, and reports each step.
///
/// The snake has converged when the mean number of its vertices, which measures its length, over 50 steps differs from
/// that over the 50 steps before by less than 1.96 standard errors of the paired differences. So no run converges
/// before step 100, and one whose length is frozen exactly, with no spread to judge by, goes on to the maximum.
///
/// Decision. A driver takes back no wish to stop: reset() comes before a new run, which otherwise ends after its first
/// step.
///
/// Compiled for float with float and double with double.
template <class T, class U>
class SnakeDriver : public ProgressSubject {
public:
    SnakeDriver() = default;
    ~SnakeDriver() override;

    /// Steps of the snake, which init() has prepared; below 0 as many as the image has rows and columns together.
    /// Returns true when the snake has converged, false after the last step and when it was cancelled. The curve of the
    /// last finished step is the snake's in all cases. Throws as Snake::runStep(), among which the SizeError of a snake
    /// that has collapsed, and UsageError when the maximum is to be taken from an image that is not there.
    bool run(Snake<T, U>& snake, int maxIterations);

    /// One adaptation: weaker regularization, down to an upper one of 0.5, and a sharper gradient, up to an alpha of 2.
    void updateConfig(SnakeConfig& config) const;
};

} // namespace vorlen
