#pragma once

#include <memory>
#include <vector>

#include "document/pose.h"

namespace vorlen {

/// An ordered list of poses, deleted with it.
class PoseOwner {
public:
    PoseOwner();
    PoseOwner(const PoseOwner&) = delete;
    PoseOwner& operator=(const PoseOwner&) = delete;
    virtual ~PoseOwner();

    int getNumPoses() const { return int(__poses.size()); }
    Pose& getPose(int i) { return *__poses[std::size_t(i)]; }
    const Pose& getPose(int i) const { return *__poses[std::size_t(i)]; }

    /// Place of the pose in the list; -1 when it is not there.
    int findPose(const Pose& pose) const;

    /// Takes over the pose, which must have been made by new; nothing when it is listed already.
    void addPose(Pose* pose);

    /// The same in front of pose i.
    void addPose(Pose* pose, int i);

    /// Take the pose off the list without deleting it: the caller owns it. The second does nothing when the pose is
    /// not listed.
    void removePose(int i);
    void removePose(Pose& pose);

private:
    std::vector<std::unique_ptr<Pose>> __poses;
};

} // namespace vorlen
