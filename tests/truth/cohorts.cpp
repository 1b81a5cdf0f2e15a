// Registers 200 made cohorts and tells how their landmarks spread, beside a direct fit of the landmarks themselves;
// fails when a specimen ends turned over.

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "normalization/cohortregistration.h"
#include "support/madecohort.h"

using namespace vorlen;

namespace {

struct Kind {
    const char* name;
    double asymmetry, tilt, turn;
    bool otherEnd, incomplete;
};

struct Tally {
    int cohorts = 0, turnedOver = 0, above = 0;
    double worst = 0, sum = 0;
};

void tally(const CohortRecipe& recipe, std::uint64_t seed, Tally& tally) {
    std::vector<SpecimenSurfaces> surfaces;
    std::vector<std::vector<MadeSpecimen::Point>> landmarks;
    for (int i = 0; i < recipe.specimens; ++i) {
        const MadeSpecimen specimen(recipe, seed, i);
        ShapeSet<float> set;
        set.addShape(specimen.surface(false).release(), true);
        if (recipe.core)
            set.addShape(specimen.surface(true).release(), true);
        surfaces.emplace_back(set, true);
        set.clear();
        landmarks.emplace_back();
        for (int k = 0; k < 100; ++k)
            landmarks.back().push_back(specimen.landmark(k));
    }
    CohortRegistration registration(surfaces);
    registration.align(0);
    registration.registerJointly();
    const double direct = directSpread(landmarks);
    for (std::size_t i = 0; i < landmarks.size(); ++i)
        for (auto& place : landmarks[i])
            place = registration.getPoses()[i](place);
    const double ratio = landmarkSpread(landmarks) / direct;
    ++tally.cohorts;
    tally.sum += ratio;
    tally.worst = std::max(tally.worst, ratio);
    tally.above += ratio > 1.2 ? 1 : 0;
    // Half a turn brings landmarks about the size of the body away.
    tally.turnedOver += ratio * direct > 20 ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    const int each = argc > 1 ? std::atoi(argv[1]) : 50;
    const Kind kinds[] = {{"tilted to 25, turned to 180 degrees", 0.06, 25, 180, false, false},
                          {"the same, every second from the other end", 0.06, 25, 180, true, false},
                          {"the same, every third without a quarter", 0.06, 25, 180, true, true},
                          {"nearly symmetrical, tilted to 6, turned to 10", 0.03, 6, 10, false, false}};
    std::printf("| Cohorts of five | Number | Turned over | Spread / direct fit, mean | Worst | Above 1.2 |\n");
    std::printf("|---|---|---|---|---|---|\n");
    int turnedOver = 0;
    for (const Kind& kind : kinds) {
        Tally result;
        for (int seed = 1; seed <= each; ++seed) {
            CohortRecipe recipe;
            recipe.asymmetry = kind.asymmetry;
            recipe.tilt = kind.tilt;
            recipe.turn = kind.turn;
            recipe.otherEnd = kind.otherEnd;
            recipe.incomplete = kind.incomplete;
            tally(recipe, std::uint64_t(seed), result);
        }
        std::printf("| %s | %d | %d | %.3f | %.3f | %d |\n", kind.name, result.cohorts, result.turnedOver,
                    result.sum / result.cohorts, result.worst, result.above);
        turnedOver += result.turnedOver;
    }
    return turnedOver == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
