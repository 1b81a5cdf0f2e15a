#pragma once

#include <functional>
#include <vector>

#include "ui/viewer/viewercamera.h"

namespace vorlen {

enum class VideoPath { Spinning, Random, Animation, Poses, Slices };

/// What a video shows: a camera for each of its frames, by the time at which the frame is seen and not by when it is
/// drawn.
struct VideoScript {
    int numFrames = 0;
    std::function<ViewerCamera(int frame)> camera;
};

/// One turn about the vertical axis of the screen; the last frame leads on to the first.
VideoScript spinningScript(const ViewerCamera& start, int numFrames);

/// What ViewerRandomMotion does in the course of the frames, of which there are so many in a second, with this angle
/// and timeout; the same one for the same seed.
VideoScript randomScript(const ViewerCamera& start, int numFrames, int rate, int angle, int timeout, long seed);

/// From camera to camera, with equal times between them: turned on the shortest way (Shoemake, Animating rotation with
/// quaternion curves, SIGGRAPH 1985) and slowly at each of them, so that the motion has no kinks. Throws ValueError
/// without cameras.
VideoScript posesScript(const std::vector<ViewerCamera>& cameras, int numFrames);

/// The scene is revealed from its first slice to its last.
VideoScript slicesScript(const ViewerCamera& start, int numFrames);

/// A camera that stays, with this done before each frame, by its time in seconds.
VideoScript standingScript(const ViewerCamera& start, int numFrames, int rate, std::function<void(double)> before);

} // namespace vorlen
