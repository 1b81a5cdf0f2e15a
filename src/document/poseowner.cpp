#include "document/poseowner.h"

namespace vorlen {

PoseOwner::PoseOwner() = default;

PoseOwner::~PoseOwner() = default;

int PoseOwner::findPose(const Pose& pose) const {
    for (int i = 0; i < getNumPoses(); ++i)
        if (__poses[std::size_t(i)].get() == &pose)
            return i;
    return -1;
}

void PoseOwner::addPose(Pose* pose) {
    if (findPose(*pose) < 0)
        __poses.emplace_back(pose);
}

void PoseOwner::addPose(Pose* pose, int i) {
    if (findPose(*pose) >= 0)
        return;
    __poses.reserve(__poses.size() + 1); // from here on nothing fails, and the pose has one owner
    __poses.emplace(__poses.begin() + i, pose);
}

void PoseOwner::removePose(int i) {
    // The caller owns it from here.
    static_cast<void>(__poses[std::size_t(i)].release());
    __poses.erase(__poses.begin() + i);
}

void PoseOwner::removePose(Pose& pose) {
    const int i = findPose(pose);
    if (i >= 0)
        removePose(i);
}

} // namespace vorlen
