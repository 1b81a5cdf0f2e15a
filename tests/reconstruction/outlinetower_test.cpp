#include "reconstruction/outlinetower.h"

#include <cmath>
#include <functional>
#include <memory>
#include <random>

#include <gtest/gtest.h>

#include "reconstruction/modelmorphometry.h"
#include "reconstruction/stackreconstruction.h"
#include "support/documentmaker.h"
#include "support/fixedsource.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

using Outline = std::vector<std::pair<double, double>>;

/// Sections whose pixels are not square, turned and shifted against each other.
std::unique_ptr<Stack> sections(int n, double spacing) {
    auto stack = std::make_unique<Stack>();
    stack->setDefaultSliceSpacing(spacing);
    addSlices(*stack, n);
    for (int i = 0; i < n; ++i) {
        StackSlice& slice = stack->getSlice(i);
        slice.setImageSource(FixedSource(400, 300));
        PixelCalibration calibration;
        calibration.setPixelWidth(0.5F);
        calibration.setPixelHeight(0.75F);
        slice.setPixelCalibration(calibration);
        Registration registration;
        registration.setHorShift(i % 3);
        registration.setRotationAngle(float(i % 4));
        slice.setRegistration(registration);
    }
    return stack;
}

Outline ring(double x, double y, double radius, int n, double waves = 0, double depth = 0) {
    Outline outline;
    for (int k = 0; k < n; ++k) {
        const double angle = 2 * pi * k / n, r = radius * (1 + depth * std::cos(waves * angle));
        outline.emplace_back(x + r * std::cos(angle), y + r * std::sin(angle));
    }
    return outline;
}

Outline rounded(Outline outline) {
    for (auto& [x, y] : outline) {
        x = std::round(x);
        y = std::round(y);
    }
    return outline;
}

Outline reversed(Outline outline) {
    return {outline.rbegin(), outline.rend()};
}

class OutlineTowers : public testing::Test {
protected:
    /// A model on a stack of its own with one outline on each slice, by the slice's number.
    Model& make(int n, const std::function<Outline(int)>& outline, double spacing = 2) {
        stack = sections(n, spacing);
        Model& model = addModel(*stack, "m");
        for (int i = 0; i < n; ++i)
            addItem(model, stack->getSlice(i), {}).setVertices(makeDecimals(outline(i)));
        return model;
    }

    /// Measures both ways, with errors and these ends; false when there is no way without a mesh.
    bool measure(const Model& model, SurfaceEnds ends = {}) {
        const StackReconstruction<double> reconstruction(*stack);
        for (ModelMorphometry* each : {&quick, &full}) {
            each->clear();
            each->setModel(model);
            each->setErrorsWanted(true);
            each->setEnds(ends);
        }
        full.runByMesh(reconstruction);
        return quick.runWithoutMesh(reconstruction, towers);
    }

    void expectSame(const std::string& what) const {
        const auto near = [&](double value, double expected, const char* name) {
            EXPECT_NEAR(value, expected, 1e-9 * (1 + std::fabs(expected))) << what << ": " << name;
        };
        EXPECT_TRUE(full.getCertificate().isSound()) << what;
        EXPECT_EQ(quick.getCertificate().toText(), full.getCertificate().toText()) << what;
        near(quick.getCertificate().volume, full.getCertificate().volume, "volume");
        near(quick.getClosedVolume(), full.getClosedVolume(), "closed volume");
        near(quick.getArea(), full.getArea(), "area");
        near(quick.getAreaWithoutSteps(), full.getAreaWithoutSteps(), "area without steps");
        near(quick.getClosedArea(), full.getClosedArea(), "closed area");
        near(quick.getVolume(), full.getVolume(), "section volume");
        near(quick.getSlabVolume(), full.getSlabVolume(), "slab volume");
        const double rounding = 1e-12 * full.getClosedVolume(); // they are differences
        EXPECT_NEAR(quick.getVolumeError(), full.getVolumeError(), rounding) << what;
        EXPECT_NEAR(quick.getAreaError(), full.getAreaError(), rounding) << what;
        EXPECT_NEAR(quick.getClosedAreaError(), full.getClosedAreaError(), rounding) << what;
        EXPECT_EQ(quick.getNumVertices(), full.getNumVertices()) << what;
        for (int axis = 0; axis < 3; ++axis) {
            near(quick.getIsobarycenter()[axis], full.getIsobarycenter()[axis], "barycentre");
            near(quick.getMainAxesLengths()[axis], full.getMainAxesLengths()[axis], "axes");
            near(quick.getCertificate().centroid[std::size_t(axis)], full.getCertificate().centroid[std::size_t(axis)],
                 "centroid");
        }
    }

    std::unique_ptr<Stack> stack;
    ModelMorphometry quick, full;
    ModelMorphometry::Towers towers;
};

} // namespace

TEST_F(OutlineTowers, measureAsTheirMeshesDo) {
    struct Case {
        const char* name;
        int n;
        std::function<Outline(int)> outline;
        double spacing = 2;
    };
    const Case cases[] = {
        {"tube", 6, [](int) { return ring(150, 100, 40, 24); }},
        {"two", 2, [](int i) { return ring(150, 100, 40 + i, 12); }},
        {"cone", 7, [](int i) { return ring(150 + 5 * i, 100, 60 - 8 * i, 40 - 3 * i); }},
        {"falling", 5, [](int i) { return ring(150, 100, 30 + 4 * i, 17); }, -3},
        {"triangles", 5, [](int i) { return ring(150, 100 + i, 30, 3); }},
        {"star", 6, [](int i) { return ring(150, 120, 60, 60, 5, 0.3 + 0.02 * i); }},
        {"hollow", 5,
         [](int i) {
             return Outline{{50, 50}, {150, 50. + i}, {150, 150}, {130, 150}, {130, 70}, {50, 70}};
         }},
        {"pixels", 6, [](int i) { return rounded(ring(150, 100, 40 + i, 250)); }},
        {"some pixels", 6, [](int i) { return i == 3 ? rounded(ring(150, 100, 40, 250)) : ring(150, 100, 40, 31); }},
        {"directions", 6, [](int i) { return i % 2 == 0 ? ring(150, 100, 40, 20) : reversed(ring(150, 100, 42, 20)); }},
        {"long", 4, [](int i) { return ring(150, 100, 90, 400 + i); }},
        {"empty between", 6, [](int i) { return i == 2 ? Outline{} : ring(150, 100, 30 + i, 20); }},
    };
    using enum SurfaceEnd;
    for (const Case& each : cases)
        for (const SurfaceEnds& ends :
             {SurfaceEnds{}, SurfaceEnds{Flat, NextSection}, SurfaceEnds{NextSection, Flat}}) {
            ASSERT_TRUE(measure(make(each.n, each.outline, each.spacing), ends)) << each.name;
            expectSame(each.name);
        }
}

TEST_F(OutlineTowers, ofAnyShapeAreMeasuredAlikeInTheMemoryOfTheOnesBefore) {
    std::mt19937 random(11);
    const auto any = [&](double least, double most) {
        return std::uniform_real_distribution<double>(least, most)(random);
    };
    int numTowers = 0;
    for (int k = 0; k < 60; ++k) {
        const int most = int(any(4, 90));
        const Model& model = make(int(any(2, 12)), [&](int) {
            const Outline outline =
                ring(any(120, 180), any(100, 150), any(5, 60), int(any(3, most)), int(any(2, 7)), any(0, 0.6));
            return any(0, 1) < 0.3 ? rounded(outline) : outline;
        });
        if (!measure(model))
            continue;
        ++numTowers;
        expectSame(std::to_string(k));
    }
    EXPECT_GT(numTowers, 40);
}

TEST_F(OutlineTowers, areNotMadeOfWhatAMeshHasToBeLookedAtFor) {
    const auto tube = [](int i) { return ring(150, 100, 30 + i, 20); };
    EXPECT_FALSE(measure(make(1, tube)));
    EXPECT_FALSE(measure(make(5, tube, 0))); // all at one height
    EXPECT_FALSE(measure(make(5, tube), {SurfaceEnd::Open, SurfaceEnd::HalfSection}));
    EXPECT_FALSE(measure(make(4, [&](int i) { return i == 1 ? Outline{{100, 100}, {120, 100}} : tube(i); })));
    const auto eight = [](int) { return Outline{{100, 100}, {150, 140}, {150, 100}, {100, 140}}; };
    EXPECT_FALSE(measure(make(4, eight)));

    Model& branching = make(4, tube);
    addItem(branching, stack->getSlice(2), {}).setVertices(makeDecimals(ring(60, 60, 10, 9)));
    EXPECT_FALSE(measure(branching));

    make(5, tube);
    stack->getSlice(2).setAbsolutePosition(40); // up and down again
    stack->getSlice(3).setAbsolutePosition(6);
    EXPECT_FALSE(measure(stack->getModel(0)));

    Model& lines = make(4, tube);
    lines.getProperties().setGeometry(PolylinePrimitive);
    EXPECT_FALSE(measure(lines));
}

// Between an outline and one whose vertices all lie at one place an edge may be there twice.
TEST_F(OutlineTowers, leaveBandsThatShareAnEdgeWithThemselvesToTheMesh) {
    int numLeft = 0;
    for (int n = 3; n < 20; ++n)
        for (const bool turned : {false, true}) {
            const Model& model = make(2, [&](int i) {
                return (i == 0) == turned ? Outline(3, {110, 110}) : ring(110, 110, 20, n);
            });
            if (measure(model)) {
                expectSame(std::to_string(n));
                continue;
            }
            ++numLeft;
            EXPECT_FALSE(full.getCertificate().isSound()) << n;
        }
    EXPECT_GT(numLeft, 0);
}

} // namespace vorlen
