#include "ui/viewer/videoscript.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QQuaternion>

#include "numerics/exception.h"
#include "numerics/maths.h"
#include "numerics/matrix.h"
#include "ui/viewer/viewerrandommotion.h"
#include "ui/viewer/viewerspinningmotion.h"

namespace vorlen {

namespace {

QQuaternion quaternionOf(const Vector<float>& rotation) {
    return QQuaternion::fromAxisAndAngle(1, 0, 0, rotation[0]) * QQuaternion::fromAxisAndAngle(0, 1, 0, rotation[1]) *
           QQuaternion::fromAxisAndAngle(0, 0, 1, rotation[2]);
}

Vector<float> rotationOf(const QQuaternion& quaternion) {
    const QMatrix3x3 turned = quaternion.toRotationMatrix();
    Matrix<float> matrix(3, 3);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            matrix[i][j] = turned(i, j);
    Vector<float> angles(3);
    Maths::decomposeRotationMatrix3D(matrix, angles[0], angles[1], angles[2]);
    for (int axis = 0; axis < 3; ++axis)
        angles[axis] = Maths::toDegrees(angles[axis]);
    return angles;
}

/// From 0 to 1, level at both ends.
float eased(float part) {
    return part * part * (3 - 2 * part);
}

ViewerCamera between(const ViewerCamera& from, const ViewerCamera& to, float part) {
    const auto mix = [part](float a, float b) { return a + part * (b - a); };
    ViewerCamera camera = from;
    camera.rotation = rotationOf(QQuaternion::slerp(quaternionOf(from.rotation), quaternionOf(to.rotation), part));
    camera.tx = mix(from.tx, to.tx);
    camera.ty = mix(from.ty, to.ty);
    camera.zoom = std::exp(mix(std::log(from.zoom), std::log(to.zoom)));
    return camera;
}

} // namespace

VideoScript spinningScript(const ViewerCamera& start, int numFrames) {
    return {numFrames, [start, numFrames](int frame) {
                ViewerCamera camera = start;
                camera.rotation =
                    ViewerSpinningMotion::spun(start.rotation, 360 * float(frame) / float(std::max(1, numFrames)));
                return camera;
            }};
}

VideoScript randomScript(const ViewerCamera& start, int numFrames, int rate, int angle, int timeout, long seed) {
    std::vector<Vector<float>> rotations; // after each step
    ViewerRandomMotion motion(nullptr, seed);
    motion.setRotation(start.rotation);
    motion.setAngle(angle);
    const double stepsOfFrame = 1000.0 / rate / std::max(1, timeout);
    const auto numSteps = std::size_t(numFrames * stepsOfFrame) + 2;
    rotations.reserve(numSteps);
    for (std::size_t step = 0; step < numSteps; ++step) {
        rotations.push_back(motion.getRotation());
        motion.step();
    }
    return {numFrames, [start, rotations, stepsOfFrame](int frame) {
                const double time = frame * stepsOfFrame;
                const std::size_t step = std::min(std::size_t(time), rotations.size() - 2);
                ViewerCamera camera = start;
                const float part = float(time - double(step));
                for (int axis = 0; axis < 3; ++axis) {
                    float difference = rotations[step + 1][axis] - rotations[step][axis];
                    if (std::abs(difference) > 180) // half a turn was passed
                        difference -= std::copysign(360.0f, difference);
                    camera.rotation[axis] = rotations[step][axis] + part * difference;
                }
                return camera;
            }};
}

VideoScript posesScript(const std::vector<ViewerCamera>& cameras, int numFrames) {
    if (cameras.empty())
        throw ValueError("VideoScript posesScript(const std::vector<ViewerCamera>&, int)", "There are no poses");
    return {numFrames, [cameras, numFrames](int frame) {
                const std::size_t numWays = cameras.size() - 1;
                if (numWays == 0)
                    return cameras.front();
                const double place = double(numWays) * frame / std::max(1, numFrames - 1);
                const std::size_t way = std::min(std::size_t(place), numWays - 1);
                return between(cameras[way], cameras[way + 1], eased(float(place - double(way))));
            }};
}

VideoScript slicesScript(const ViewerCamera& start, int numFrames) {
    return {numFrames, [start, numFrames](int frame) {
                ViewerCamera camera = start;
                camera.revealed = float(frame + 1) / float(std::max(1, numFrames));
                return camera;
            }};
}

VideoScript standingScript(const ViewerCamera& start, int numFrames, int rate, std::function<void(double)> before) {
    return {numFrames, [start, rate, before = std::move(before)](int frame) {
                before(double(frame) / rate);
                return start;
            }};
}

} // namespace vorlen
