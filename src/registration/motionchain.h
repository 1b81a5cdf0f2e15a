#pragma once

#include <vector>

#include "registration/rigidmotion.h"

namespace vorlen {

/// What was found between two sections of a stack: the motion of the source onto the target.
struct MeasuredMotion {
    int target = 0, source = 0; ///< places in the stack
    RigidMotion motion;
    double weight = 1; ///< the greater the surer; above 0
    /// The weight of the angle is this part of it: less for sections that tell little of how they are turned.
    double turnShare = 1;
    /// On the source: the point that the shift was found for. About it a turn leaves the shift as it is.
    PlanePoint middle{0, 0};
};

/// The places of the sections of a stack in one frame, from the motions found between pairs of them.
///
/// One motion for each step would do to chain them, but a bad one would throw off all behind it, and errors would add
/// up. With motions over two and three steps as well there is more than is needed: the places are those for which the
/// weighted sum of the squared disagreements is least, and motions that disagree with the rest lose their weight
/// (iteratively reweighted least squares, with the weights of Geman and McClure 1987).
class MotionChain {
public:
    /// Places of the sections as they are, in one frame; size is how far a section reaches, in the same length unit.
    MotionChain(std::vector<RigidMotion> places, double size);

    /// The section keeps its step: it goes where the one before it goes. The first always stays.
    void keepStep(int section);

    void add(const MeasuredMotion& measured);

    /// Sections that no measured motion connects with one before them keep their step besides.
    void solve();

    const std::vector<RigidMotion>& places() const { return __places; }

    /// Of a measured motion, in their order: the mean distance over a section between it and the places of solve(). A
    /// turn counts as much as it has weight.
    double disagreement(int index) const;

private:
    struct Edge {
        int target, source;
        RigidMotion motion;
        double weight, turnShare;
        PlanePoint middle;

        double turnWeight() const { return weight * turnShare; }
    };

    /// The section that this one goes with, and how it lies on it.
    struct Anchor {
        int leader = 0;
        RigidMotion offset;
    };

    void keepUnconnected();
    std::vector<Anchor> anchors() const;
    /// Where the middle lies by the target, less where it lies by the source.
    static PlanePoint gap(const Edge& edge, const std::vector<RigidMotion>& places);
    double disagreement(const Edge& edge, const std::vector<RigidMotion>& places) const;

    std::vector<RigidMotion> __places;
    double __size;
    std::vector<bool> __keeps;
    std::vector<MeasuredMotion> __measured;
};

} // namespace vorlen
