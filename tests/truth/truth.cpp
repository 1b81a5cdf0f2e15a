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

/// Tables of one way to set vertices: all bodies at 50 sections, and the greatest errors as sections and pixels change.
void printVertices(DrawnVertices vertices) {
    const auto drawing = [vertices](int sections, double pixel, double aspect = 1, double angle = 0) {
        return Drawing{sections, pixel, aspect, angle, vertices};
    };
    std::printf("### 50 sections, 500 pixels across the body\n\n");
    printTable(drawing(50, 0.002));
    std::printf("### Greatest errors over all bodies\n\n");
    printSummary("Sections", {{"25", drawing(25, 0.002)}, {"50", drawing(50, 0.002)}, {"100", drawing(100, 0.002)}});
    printSummary("Pixels across the body",
                 {{"100", drawing(50, 0.01)}, {"200", drawing(50, 0.005)}, {"500", drawing(50, 0.002)}});
    printSummary("Pixels", {{"turned by 30 degrees", drawing(50, 0.002, 1, 0.5236)},
                            {"twice as high as wide", drawing(50, 0.002, 2)},
                            {"twice as high as wide, turned by 30 degrees", drawing(50, 0.002, 2, 0.5236)}});
}

int printAll() {
    std::printf("# How accurate the measurements are\n\n"
                "Bodies whose measures are known are drawn on sections and measured as users' models are. `make "
                "truth` makes this page.\nErrors of barycentres are in shares of the body's diameter, all others in "
                "shares of the truth. Each body reaches half a\nsection beyond its first and its last one. Sections "
                "are counted through the lowest piece of a body. Outlines have a\nvertex every four pixels, but at "
                "most 64 of them, which takes up to 0.16%% of the area within.\n\n"
                "## Vertices on whole pixels\n\n"
                "Vertices jump from pixel to pixel. This makes lines longer, and surfaces larger: the more so, the "
                "fewer pixels there are\nto a section's spacing. Volumes do not mind.\n\n");
    printVertices(DrawnVertices::WholePixels);
    std::printf("## Vertices at decimal pixels\n\n"
                "As the snake, thresholds, smoothing and zoomed drawing set them.\n\n");
    printVertices(DrawnVertices::Decimals);
    return 0;
}

} // namespace

} // namespace vorlen

int main() {
    return vorlen::printAll();
}
