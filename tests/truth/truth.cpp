#include <cmath>
#include <cstdio>

#include "truth/solids.h"

namespace vorlen {

namespace {

void printTable(const Drawing& drawing) {
    std::printf("| Body | Measure | Estimator | Measured | True | Error |\n|---|---|---|---|---|---|\n");
    for (const Solid& solid : knownSolids())
        for (const Truth& truth : measuredAndTrue(solid, drawing))
            std::printf("| %s | %s | %s | %.5g | %.5g | %+.2f%% |\n", solid.name.c_str(), truth.measure.c_str(),
                        truth.estimator.c_str(), truth.measured, truth.truth, 100 * truth.error());
    std::printf("\n");
}

/// The greatest errors of each drawing over all bodies.
void printSummary(const char* const header, const std::vector<std::pair<std::string, Drawing>>& drawings) {
    std::printf(
        "| %s | Volume, closed surface | Volume, sections | Area | Length | Barycentre |\n|---|---|---|---|---|---|\n",
        header);
    for (const auto& [name, drawing] : drawings) {
        std::vector<double> most(5);
        for (const Solid& solid : knownSolids()) {
            const std::vector<Truth> truths = measuredAndTrue(solid, drawing);
            for (std::size_t k = 0; k < most.size(); ++k)
                most[k] = std::max(most[k], std::fabs(truths[k].error()));
        }
        std::printf("| %s |", name.c_str());
        for (const double error : most)
            std::printf(" %.2f%% |", 100 * error);
        std::printf("\n");
    }
    std::printf("\n");
}

int printAll() {
    std::printf("# How accurate the measurements are\n\n"
                "Bodies whose measures are known are drawn on sections, on whole pixels, and measured as users' models "
                "are. `make truth`\nmakes this page. Errors of barycentres are in shares of the body's diameter, all "
                "others in shares of the truth. Each body\nreaches half a section beyond its first and its last one. "
                "Sections are counted through the lowest piece of a body.\n\n"
                "Vertices jump from pixel to pixel. This makes lines longer, and surfaces larger: the more so, the "
                "fewer pixels there are\nto a section's spacing. Volumes do not mind.\n\n"
                "## 50 sections, 500 pixels across the body\n\n");
    printTable({});
    std::printf("## Greatest errors over all bodies\n\n");
    printSummary("Sections", {{"25", {25, 0.002, 1, 0}}, {"50", {50, 0.002, 1, 0}}, {"100", {100, 0.002, 1, 0}}});
    printSummary("Pixels across the body",
                 {{"100", {50, 0.01, 1, 0}}, {"200", {50, 0.005, 1, 0}}, {"500", {50, 0.002, 1, 0}}});
    printSummary("Pixels", {{"turned by 30 degrees", {50, 0.002, 1, 0.5236}},
                            {"twice as high as wide", {50, 0.002, 2, 0}},
                            {"twice as high as wide, turned by 30 degrees", {50, 0.002, 2, 0.5236}}});
    return 0;
}

} // namespace

} // namespace vorlen

int main() {
    return vorlen::printAll();
}
