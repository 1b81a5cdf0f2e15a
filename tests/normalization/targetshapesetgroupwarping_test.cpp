#include "normalization/targetshapesetgroupwarping.h"

#include <gtest/gtest.h>

#include "normalization/points.h"
#include "normalization/shapesetgroup.h"
#include "numerics/exception.h"
#include "shapes/shapeset.h"
#include "support/recordingmonitor.h"
#include "support/vectors.h"

namespace vorlen {

namespace {

/// x - x^2 along the first axis: folds over where x exceeds a half.
Vector<double> foldedImage(Vector<double> v) {
    v[0] -= v[0] * v[0];
    return v;
}

} // namespace

// Two specimens whose references are the target's before a known map; a structure that is no reference follows it.
TEST(TargetShapeSetGroupWarping, carriesEverySetOnTheTargetAndCountsFolds) {
    Vertices<double> reference1 = randomPoints<double>(3, 30, -1, 1, 1);
    Vertices<double> reference2 = randomPoints<double>(3, 30, -1, 1, 2);
    Vertices<double> follower1 = randomPoints<double>(3, 10, -1, 1, 3);
    Vertices<double> follower2 = randomPoints<double>(3, 12, -1, 1, 4);
    const Vertices<double> before1(imagesOf(follower1, [](const Vector<double>& v) { return v; }));
    const Vertices<double> before2(imagesOf(follower2, [](const Vector<double>& v) { return v; }));
    // Both sets must meet one target: the second's references are moved there by the inverse of an affine map.
    Vertices<double> target = imagesOf(reference1, foldedImage);
    reference2 = imagesOf(target, affineImage<double>);
    ShapeSet<double> set1, set2, targetSet;
    set1.addShape(&follower1, false);
    set1.addShape(nullptr, false);
    set1.addShape(&reference1, true);
    set2.addShape(&follower2, false);
    set2.addShape(nullptr, false);
    set2.addShape(&reference2, true);
    targetSet.addShape(nullptr, false);
    targetSet.addShape(nullptr, false);
    targetSet.addShape(&target, true);
    ShapeSetGroup<double> group;
    group.addShapeSet(set1);
    group.addShapeSet(set2);

    TargetShapeSetGroupWarping<double> warping;
    EXPECT_THROW(warping.apply(group, 2), UsageError);
    warping.setTargetShapeSet(targetSet);
    RecordingMonitor monitor;
    warping.addMonitor(monitor);
    warping.apply(group, 2);
    EXPECT_EQ((std::vector<std::string>{"started ", "1/3", "2/3", "3/3", "finished "}), monitor.heard);

    unsigned int folded = 0; // of set 1, at the positions after the warp
    for (int i = 0; i < target.getSize(); ++i) {
        EXPECT_LT(reference1[i].distance(target[i]), 1e-11);
        EXPECT_LT(reference2[i].distance(target[i]), 1e-11);
        folded += reference1[i][0] > 0.5;
    }
    for (int i = 0; i < before1.getSize(); ++i) {
        EXPECT_LT(follower1[i].distance(foldedImage(before1[i])), 1e-11);
        folded += follower1[i][0] > 0.5;
    }
    for (int i = 0; i < before2.getSize(); ++i)
        EXPECT_LT(affineImage(follower2[i]).distance(before2[i]), 1e-10);
    EXPECT_EQ(30u + 30u + 10u + 12u, warping.numEvaluations());
    EXPECT_EQ(folded, warping.numJacobianErrors());
}

} // namespace vorlen
