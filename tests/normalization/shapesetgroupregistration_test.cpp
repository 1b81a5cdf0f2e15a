#include <gtest/gtest.h>

#include "normalization/globalshapesetgroupregistration.h"
#include "normalization/shapemaker.h"
#include "normalization/shapesetgroup.h"
#include "normalization/shapesetregistration.h"
#include "normalization/targetshapesetgroupregistration.h"
#include "numerics/exception.h"
#include "support/failures.h"
#include "support/recordingmonitor.h"

namespace vorlen {

namespace {

/// Sets of a group, which they outlive.
template <class T>
struct Specimens {
    std::vector<std::unique_ptr<OwnedSet<T>>> sets;
    ShapeSetGroup<T> group;

    void add(std::unique_ptr<OwnedSet<T>> set) {
        group.addShapeSet(*set);
        sets.push_back(std::move(set));
    }

    QuadMesh<T>& mesh(int set, int rank) { return dynamic_cast<QuadMesh<T>&>(*(*sets[std::size_t(set)])[rank]); }
};

/// Copies of the specimen, jittered, moved and turned; sigma is the noise of each coordinate.
template <class T>
Specimens<T> jitteredCopies(int n, double sigma, unsigned int seed, bool caps = false) {
    std::mt19937 random(seed);
    Specimens<T> result;
    for (int i = 0; i < n; ++i) {
        auto set = specimen<T>(6, 16, caps);
        const Motion<T> motion = randomMotion<T>(random, 1, 100);
        for (int k = 0; k < 3; ++k) {
            if (k != 1) {
                auto& mesh = dynamic_cast<QuadMesh<T>&>(*(*set)[k]);
                jitter(mesh, sigma, random);
                turn(mesh, int(random() % 16));
                if (caps) {
                    mesh.buildCaps();
                }
            }
            move(*(*set)[k], motion);
        }
        result.add(std::move(set));
    }
    return result;
}

/// The registration with averages formed set by set, in the plainest way: the means of the error at each stage.
template <class T>
std::vector<float> plainRegistration(Specimens<T>& specimens, int sweeps) {
    const int n = int(specimens.sets.size());
    std::vector<ShapeSet<T>> references;
    for (int i = 0; i < n; ++i) {
        references.push_back(specimens.group[i].referenceShapeSet());
    }
    for (int i = 2; i < n; ++i) {
        references[i].matchSurfaces(references[1]);
    }
    const auto error = [&] {
        double sum = 0;
        int count = 0;
        for (int i = 0; i < n; ++i) {
            for (int j = i + 1; j < n; ++j) {
                for (const float distance : references[i].rmsDistances(references[j])) {
                    sum += distance;
                    ++count;
                }
            }
        }
        return float(sum / count);
    };
    std::vector<float> means = {error()};
    for (int s = 0; s < sweeps; ++s) {
        for (int i = 0; i < n; ++i) {
            ShapeSetGroup<T> others;
            for (int j = 0; j < n; ++j) {
                if (j != i) {
                    others.addShapeSet(references[j]);
                }
            }
            ShapeSet<T> average = others.average();
            references[i].matchSurfaces(average);
            ShapeSetRegistration<T>().apply(specimens.group[i], average);
            average.clear();
        }
        means.push_back(error());
    }
    return means;
}

} // namespace

TEST(ShapeSetGroupRegistration, errorType1RunsPairByPairOverTheReferences) {
    auto specimens = jitteredCopies<float>(4, 2, 9);
    const Vector<float> errors = ShapeSetGroupRegistration<float>::errorType1(specimens.group);
    ASSERT_EQ(12, errors.getSize());
    int next = 0;
    double sum = 0, squares = 0;
    for (int i = 0; i < 4; ++i) {
        for (int j = i + 1; j < 4; ++j) {
            for (int k : {0, 2}) {
                const float distance = specimens.mesh(i, k).rmsDistance(specimens.mesh(j, k));
                EXPECT_NEAR(distance, errors[next++], 1e-5f * distance);
                sum += distance;
                squares += double(distance) * distance;
            }
        }
    }
    const double mean = sum / 12, variance = (squares - 12 * mean * mean) / 11;
    EXPECT_NEAR(mean, ShapeSetGroupRegistration<float>::mean(errors), 1e-5 * mean);
    EXPECT_NEAR(std::sqrt(variance / 12), ShapeSetGroupRegistration<float>::sem(errors), 1e-4 * mean);
    EXPECT_EQ(0, ShapeSetGroupRegistration<float>::sem(vectorOf<float>({3})));
    EXPECT_EQ(0, ShapeSetGroupRegistration<float>::mean(Vector<float>()));

    ShapeSetGroup<float> twice = specimens.group;
    twice.addShapeSet(*specimens.sets[2]);
    EXPECT_THROW(ShapeSetGroupRegistration<float>::errorType1(twice), ValueError);
    const auto wider = specimen<float>(6, 17);
    specimens.group.addShapeSet(*wider);
    EXPECT_THROW(ShapeSetGroupRegistration<float>::errorType1(specimens.group), SizeError);
}

TEST(GlobalRegistration, takesTheCourseOfTheRegistrationThatFormsEachAverageAnew) {
    for (const int n : {2, 3, 5}) {
        for (const bool caps : {false, true}) {
            auto specimens = jitteredCopies<double>(n, 1.2, 40 + n, caps);
            auto plain = jitteredCopies<double>(n, 1.2, 40 + n, caps);
            GlobalShapeSetGroupRegistration<double> registration;
            registration.apply(specimens.group);
            ASSERT_TRUE(registration.isConverged());
            std::vector<float> means, sems;
            registration.getDynamics(means, sems);
            ASSERT_GE(means.size(), 2u);
            ASSERT_EQ(means.size(), sems.size());
            const std::vector<float> expected = plainRegistration(plain, int(means.size()) - 1);
            for (std::size_t k = 0; k < means.size(); ++k) {
                EXPECT_NEAR(expected[k], means[k], 1e-6 * expected[k]);
            }
            for (int i = 0; i < n; ++i) {
                EXPECT_LT(greatestDifference(coordinatesOf(plain.mesh(i, 2)), coordinatesOf(specimens.mesh(i, 2))),
                          1e-6);
            }
        }
    }
}

// The mean of n copies of one shape with noise lies sigma / sqrt(n) from it, each along three axes.
TEST(GlobalRegistration, convergesOnTheTrueMeanOfJitteredCopies) {
    const int n = 16;
    const double sigma = 0.8;
    auto specimens = jitteredCopies<float>(n, sigma, 77, true);
    GlobalShapeSetGroupRegistration<float> registration;
    registration.apply(specimens.group);
    ASSERT_TRUE(registration.isConverged());
    std::vector<float> means, sems;
    registration.getDynamics(means, sems);
    EXPECT_LT(means.size(), 12u);
    // Two noisy copies differ by sqrt(2) sigma along each axis.
    EXPECT_NEAR(std::sqrt(6.0) * sigma, means.back(), 0.05);
    for (std::size_t k = 1; k < means.size(); ++k) {
        // The sweeps lower the squared distances; their roots may go up a little on the way.
        EXPECT_LE(means[k], means[k - 1] * 1.01f);
    }
    OwnedSet<float> mean(specimens.group.average());
    EXPECT_FALSE(mean.isReference(1));
    const auto truth = specimen<float>(6, 16, true);
    ShapeSetRegistration<float>().apply(mean, *truth);
    for (int k : {0, 2}) {
        EXPECT_NEAR(std::sqrt(3.0 / n) * sigma, mean[k]->rmsDistance(*(*truth)[k]), 0.06);
    }
    // The followers were not jittered, and came along.
    EXPECT_LT(mean[1]->rmsDistance(*(*truth)[1]), 0.5);
}

TEST(GlobalRegistration, tellsTheMotionOfEachSet) {
    auto specimens = jitteredCopies<float>(4, 0.5, 21);
    const auto untouched = jitteredCopies<float>(4, 0.5, 21);
    GlobalShapeSetGroupRegistration<float> registration;
    registration.apply(specimens.group);
    for (int i = 0; i < 4; ++i) {
        const Motion<float> motion = {registration.getRotationMatrices()[i], registration.getTranslationVectors()[i]};
        EXPECT_LT(rotationDefect(motion.rotation), 1e-5);
        Shape<float>& follower = *(*untouched.sets[i])[1];
        move(follower, motion);
        EXPECT_LT(greatestDifference(coordinatesOf(follower), coordinatesOf(*(*specimens.sets[i])[1])), 1e-3);
    }
}

TEST(GlobalRegistration, endsAfterOneSweepOfAGroupThatIsInRegister) {
    Specimens<float> alike;
    for (int i = 0; i < 3; ++i) {
        alike.add(specimen<float>());
    }
    const std::vector<float> before = coordinatesOf(alike.mesh(1, 0));
    GlobalShapeSetGroupRegistration<float> registration;
    registration.apply(alike.group);
    std::vector<float> means, sems;
    registration.getDynamics(means, sems);
    ASSERT_EQ(2u, means.size());
    ASSERT_EQ(2u, sems.size());
    EXPECT_EQ(0, means[0]);
    EXPECT_NEAR(0, means[1], 1e-12);
    EXPECT_LT(greatestDifference(before, coordinatesOf(alike.mesh(1, 0))), 1e-12);
}

TEST(GlobalRegistration, bringsTwoSetsTogetherAndEndsAtTheRoundingOfTheirCoordinates) {
    auto specimens = jitteredCopies<float>(2, 0, 4);
    GlobalShapeSetGroupRegistration<float> registration;
    registration.apply(specimens.group);
    EXPECT_TRUE(registration.isConverged());
    std::vector<float> means, sems;
    registration.getDynamics(means, sems);
    EXPECT_LT(means.size(), 8u);
    EXPECT_LT(means.back(), 1e-4f);
    // Set 0 goes first, and set 1 finds it there.
    EXPECT_LT(greatestDifference(coordinatesOf(*(*specimens.sets[0])[1]), coordinatesOf(*(*specimens.sets[1])[1])),
              1e-3);
    EXPECT_NEAR(1, registration.getRotationMatrices()[1][0][0], 1e-5);
    EXPECT_GT(registration.getTranslationVectors()[0].norm(), 1);
}

TEST(GlobalRegistration, reportsSetBySetInSpansOfSweeps) {
    auto specimens = jitteredCopies<float>(3, 0.5, 8);
    RecordingMonitor monitor;
    GlobalShapeSetGroupRegistration<float> registration;
    registration.addMonitor(monitor);
    registration.apply(specimens.group);
    std::vector<float> means, sems;
    registration.getDynamics(means, sems);
    const int sweeps = int(means.size()) - 1;
    ASSERT_EQ(std::size_t(3 * sweeps + 2), monitor.heard.size());
    EXPECT_EQ("started ", monitor.heard.front());
    EXPECT_EQ("finished ", monitor.heard.back());
    for (int k = 0; k < 3 * sweeps; ++k) {
        const int span = 5; // ceil(sqrt(3)) + 3
        const int limit = (k / 3 / span + 1) * span;
        EXPECT_EQ(std::to_string(k) + "/" + std::to_string(3 * limit), monitor.heard[std::size_t(k + 1)]);
    }
}

TEST(GlobalRegistration, refusesReferencesThatAreNoClosedSurfacesAndGroupsOfOne) {
    const char* place = "void GlobalShapeSetGroupRegistration<T>::apply(ShapeSetGroup<T>&)";
    GlobalShapeSetGroupRegistration<double> registration;
    auto specimens = jitteredCopies<double>(3, 0, 1);
    specimens.sets[2]->add(std::make_unique<Vertices<double>>(3, 2, 2, 2), true);
    const std::vector<double> before = coordinatesOf(specimens.mesh(0, 0));
    expectFailure<UsageError>([&] { registration.apply(specimens.group); }, place,
                              "At least some references are not quadrangular surfaces");
    EXPECT_EQ(before, coordinatesOf(specimens.mesh(0, 0)));

    auto one = jitteredCopies<double>(1, 0, 1);
    EXPECT_THROW(registration.apply(one.group), UsageError);

    auto uneven = jitteredCopies<double>(2, 0, 1);
    uneven.mesh(1, 2).buildCaps();
    EXPECT_THROW(registration.apply(uneven.group), ProgramError);
    EXPECT_EQ(before, coordinatesOf(uneven.mesh(0, 0)));
}

TEST(TargetRegistration, bringsAllSetsToTheTemplateOfTheGroupWhichStays) {
    auto specimens = jitteredCopies<double>(4, 0, 31);
    const std::vector<double> before = coordinatesOf(specimens.mesh(2, 0));
    RecordingMonitor monitor;
    TargetShapeSetGroupRegistration<double> registration;
    EXPECT_THROW(registration.apply(specimens.group), UsageError);
    registration.setTargetShapeSet(*specimens.sets[2]);
    registration.addMonitor(monitor);
    for (int run = 0; run < 2; ++run) {
        registration.apply(specimens.group);
        std::vector<float> means, sems;
        registration.getDynamics(means, sems);
        ASSERT_EQ(2u, means.size());
        ASSERT_EQ(2u, sems.size());
        EXPECT_TRUE(run == 1 || means[0] > 1);
        EXPECT_LT(means[1], 1e-9f);
    }
    EXPECT_EQ(before, coordinatesOf(specimens.mesh(2, 0)));
    EXPECT_EQ(0, rotationDefect(registration.getRotationMatrices()[2]));
    EXPECT_EQ(vectorOf<double>({0, 0, 0}), registration.getTranslationVectors()[2]);
    for (int i = 0; i < 4; ++i) {
        EXPECT_LT(greatestDifference(coordinatesOf(*(*specimens.sets[2])[1]), coordinatesOf(*(*specimens.sets[i])[1])),
                  1e-9);
    }
    ASSERT_EQ(12u, monitor.heard.size());
    EXPECT_EQ((std::vector<std::string>{"started ", "1/4", "2/4", "3/4", "4/4", "finished "}),
              std::vector<std::string>(monitor.heard.begin(), monitor.heard.begin() + 6));
}

TEST(TargetRegistration, takesReferencesOfAnyShapeAndATemplateFromOutside) {
    std::mt19937 random(6);
    OwnedSet<float> target;
    auto cloud = std::make_unique<Vertices<float>>(3, 30, 30, 30);
    for (int i = 0; i < 30; ++i) {
        (*cloud)[i].setZeros();
    }
    jitter(*cloud, 10, random);
    target.add(std::make_unique<Vertices<float>>(*cloud), true);
    Specimens<float> specimens;
    for (int i = 0; i < 3; ++i) {
        auto set = std::make_unique<OwnedSet<float>>();
        auto copy = std::make_unique<Vertices<float>>(*cloud);
        copy->detach();
        move(*copy, motionOf<float>(i, 0.5 * i, -i, 10 * i, 5, 100));
        set->add(std::move(copy), true);
        specimens.add(std::move(set));
    }
    TargetShapeSetGroupRegistration<float> registration;
    registration.setTargetShapeSet(target);
    registration.apply(specimens.group);
    for (int i = 0; i < 3; ++i) {
        EXPECT_LT((*specimens.sets[std::size_t(i)])[0]->rmsDistance(*target[0]), 1e-4f);
    }
}

} // namespace vorlen
