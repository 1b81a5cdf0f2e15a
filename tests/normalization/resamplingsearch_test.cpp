#include "normalization/resamplingsearch.h"

#include <gtest/gtest.h>

#include "normalization/stackmaker.h"
#include "normalization/vrlfusionconfig.h"
#include "numerics/exception.h"
#include "shapes/quadmesh.h"
#include "support/testmeshes.h"

namespace vorlen {

namespace {

using Structure = VRLFusionSurfaceStructure<float>;

/// Levels of a circle of this radius, n vertices each, one above the other.
std::unique_ptr<CurveStack<float>> cylinder(int levels, int n, float radius, float step) {
    auto stack = std::make_unique<CurveStack<float>>(3, levels, n, 0, 0, false);
    for (int l = 0; l < levels; ++l) {
        for (int k = 0; k < n; ++k) {
            const double angle = 2 * 3.14159265358979323846 * k / n;
            (*stack)[l][k] =
                vectorOf<float>({radius * float(std::cos(angle)), radius * float(std::sin(angle)), step * float(l)});
        }
    }
    return stack;
}

std::vector<std::unique_ptr<CurveStack<float>>> cylinders() {
    std::vector<std::unique_ptr<CurveStack<float>>> instances;
    instances.push_back(cylinder(4, 60, 10, 5));
    instances.push_back(cylinder(6, 48, 14, 4));
    return instances;
}

/// The rule told plainly, trial by trial.
float plainError(const std::vector<std::unique_ptr<CurveStack<float>>>& instances, int width, int& height) {
    float greatest = -1;
    for (const auto& instance : instances) {
        const Curve<float> first = instance->level(0).resample(width);
        const double step = first[0].distance(first[1]);
        const double depth = (*instance)[instance->getHeight() - 1][0][2];
        const int h = std::max(2, int(std::floor(depth / step + 0.5)));
        const float error = instance->resamplingError(instance->resample(h, width)).max();
        if (error > greatest) {
            greatest = error;
            height = h;
        }
    }
    return greatest;
}

} // namespace

TEST(ResamplingSearch, errorFromSizesIsTheGreatestOverTheInstances) {
    const auto instances = cylinders();
    ResamplingSearch<float> search(cylinders());
    Structure structure;
    EXPECT_THROW(search.computeErrorFromValues(structure), SizeError);
    for (const auto& [height, width] : {std::pair(2, 3), std::pair(7, 20), std::pair(30, 100)}) {
        structure.setResamplingHeight(height);
        structure.setResamplingWidth(width);
        search.computeErrorFromValues(structure);
        float expected = 0;
        for (const auto& instance : instances) {
            expected = std::max(expected, instance->resamplingError(instance->resample(height, width)).max());
        }
        EXPECT_EQ(expected, structure.getResamplingError());
        EXPECT_GT(expected, 0);
    }
    structure.setResamplingHeight(100000);
    structure.setResamplingWidth(100000);
    EXPECT_THROW(search.computeErrorFromValues(structure), SizeError);
}

TEST(ResamplingSearch, sizesFromAnErrorAreThoseWhereTheErrorPassesIt) {
    const auto instances = cylinders();
    for (const float wanted : {8.0f, 3.0f, 1.0f, 0.4f}) {
        ResamplingSearch<float> search(cylinders());
        Structure structure;
        structure.setResamplingError(wanted);
        search.computeValuesFromError(structure);
        const int width = structure.getResamplingWidth();
        int height = 0;
        EXPECT_EQ(plainError(instances, width, height), structure.getResamplingError());
        EXPECT_EQ(height, structure.getResamplingHeight());
        int ignored = 0;
        const float here = structure.getResamplingError();
        // The bisection ends between a width that is good enough and one that is not.
        if (here <= wanted) {
            EXPECT_TRUE(width == 3 || plainError(instances, width - 1, ignored) > wanted);
        } else {
            EXPECT_LE(plainError(instances, width + 1, ignored), wanted);
        }
    }
}

TEST(ResamplingSearch, refusesWhatNoGridReachesAndStaysBounded) {
    EXPECT_THROW(ResamplingSearch<float>({}), SizeError);
    std::vector<std::unique_ptr<CurveStack<float>>> empty;
    empty.push_back(std::make_unique<CurveStack<float>>());
    EXPECT_THROW(ResamplingSearch<float>(std::move(empty)), SizeError);

    ResamplingSearch<float> search(cylinders());
    Structure structure;
    structure.setResamplingHeight(9);
    for (const float bad : {0.0f, -1.0f, std::numeric_limits<float>::quiet_NaN()}) {
        structure.setResamplingError(bad);
        EXPECT_THROW(search.computeValuesFromError(structure), ValueError);
    }
    structure.setResamplingError(1e-9f);
    EXPECT_THROW(search.computeValuesFromError(structure), MathError);
    EXPECT_EQ(9, structure.getResamplingHeight());

    // A structure that begins as a point has no step there.
    std::vector<std::unique_ptr<CurveStack<float>>> pointed;
    pointed.push_back(cylinder(5, 12, 10, 3));
    for (int k = 0; k < 12; ++k) {
        (*pointed[0])[0][k] = vectorOf<float>({0, 0, -3});
    }
    ResamplingSearch<float> fromPoint(std::move(pointed));
    structure.setResamplingError(20);
    fromPoint.computeValuesFromError(structure);
    EXPECT_EQ(5, structure.getResamplingHeight());
    EXPECT_LE(structure.getResamplingWidth(), 4);
}

TEST(VRLFusionConfig, sharedStructuresAreThePolygonModelsThatAllStacksHave) {
    const auto a = specimenStack("a"), b = specimenStack("b");
    addModel(*a, "lonely");
    addItem(addModel(*a, "empty elsewhere"), a->getSlice(0), {{0, 0}, {1, 0}, {0, 1}});
    addModel(*b, "empty elsewhere");
    addItem(addModel(*a, "of another kind"), a->getSlice(0), {{0, 0}, {1, 0}, {0, 1}});
    addItem(addModel(*b, "of another kind", PolylinePrimitive), b->getSlice(0), {{0, 0}, {1, 0}, {0, 1}});
    // One more contour, of more vertices, in the second stack.
    std::vector<std::pair<int, int>> ring;
    for (int k = 0; k < 31; ++k) {
        ring.emplace_back(k, k * (30 - k));
    }
    addItem(b->getModel(b->findModel("core")), b->getSlice(6), ring);

    const auto structures = VRLFusionConfig<float>::sharedStructures({a.get(), b.get()});
    ASSERT_EQ(2u, structures.size());
    EXPECT_EQ("body", structures[0].getName());
    EXPECT_EQ(7, structures[0].getResamplingHeight());
    EXPECT_EQ(24, structures[0].getResamplingWidth());
    EXPECT_EQ("core", structures[1].getName());
    EXPECT_EQ(6, structures[1].getResamplingHeight());
    EXPECT_EQ(31, structures[1].getResamplingWidth());
    EXPECT_FALSE(structures[1].isReference());
    EXPECT_LT(structures[1].getResamplingError(), 0);
    EXPECT_TRUE(VRLFusionConfig<float>::sharedStructures({}).empty());

    const auto instances = VRLFusionConfig<float>::surfaceStructureInstances({a.get(), b.get()}, "core");
    ASSERT_EQ(2u, instances.size());
    EXPECT_EQ(5, instances[0]->getHeight());
    EXPECT_EQ(6, instances[1]->getHeight());
    EXPECT_EQ(10, (*instances[0])[0][0][2]);
    EXPECT_EQ(1u, VRLFusionConfig<float>::surfaceStructureInstances({a.get(), b.get()}, "empty elsewhere").size());
    EXPECT_TRUE(VRLFusionConfig<float>::surfaceStructureInstances({a.get(), b.get()}, "spots").empty());
}

} // namespace vorlen
