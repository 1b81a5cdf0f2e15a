#include "normalization/densitymapping.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "images/volumes/voxelmatrix.h"
#include "normalization/boundedkerneldensityestimator.h"
#include "normalization/boundedpoissondensityestimator.h"
#include "normalization/histogramdensityestimator.h"
#include "normalization/kerneldensityestimator.h"
#include "normalization/poissondensityestimator.h"
#include "shapes/shape.h"

namespace vorlen {

namespace {

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

std::string nameOf(const Shape<float>& pattern, std::size_t place) {
    return pattern.getName().empty() ? "pattern " + std::to_string(place + 1) : pattern.getName();
}

std::unique_ptr<DensityEstimator<float>> kernelEstimator(const DensitySettings& settings) {
    if (!settings.corrected) {
        auto plain = std::make_unique<KernelDensityEstimator<float>>();
        plain->setKernel(settings.kernel);
        plain->setBandwidth(settings.bandwidth > 0 ? settings.bandwidth : 10.0f);
        return plain;
    }
    auto bounded = std::make_unique<BoundedKernelDensityEstimator<float>>();
    bounded->setKernel(settings.kernel);
    bounded->setBandwidth(settings.bandwidth);
    return bounded;
}

std::unique_ptr<DensityEstimator<float>> estimatorFor(const DensitySettings& settings) {
    if (settings.method == KernelMethod)
        return kernelEstimator(settings);
    if (settings.method == HistogramMethod)
        return std::make_unique<HistogramDensityEstimator<float>>();
    if (!settings.corrected) {
        auto plain = std::make_unique<PoissonDensityEstimator<float>>();
        plain->setNeighbourRank(settings.neighbourRank);
        return plain;
    }
    auto bounded = std::make_unique<BoundedPoissonDensityEstimator<float>>();
    bounded->setNeighbourRank(settings.neighbourRank);
    return bounded;
}

} // namespace

MapLayout DensitySettings::layout() const {
    return method == HistogramMethod || corrected ? MapLayout::Cells : MapLayout::Nodes;
}

DensityMapping::DensityMapping(const DensitySettings& settings, const std::vector<Shape<float>*>& patterns,
                               const std::vector<Shape<float>*>& masks)
    : __settings(settings), __estimator(estimatorFor(settings)) {
    __estimator->setShapes(patterns);
    __estimator->setMaskShapes(masks);
}

Grid<float> DensityMapping::grid(float resolution) const {
    BoundingBox<float> box;
    for (const Shape<float>* pattern : __estimator->getShapes())
        box = box.merge(pattern->boundingBox());
    if (!(resolution > 0))
        resolution = box.isValid() ? box.widths().max() / 100 : 1;
    return gridAround(box, resolution > 0 ? resolution : 1.0f, __settings.layout());
}

double DensityMapping::bytes(const Grid<float>& grid) const {
    return bytes(grid, {0, grid.getSize()[2]});
}

double DensityMapping::bytes(const Grid<float>& grid, const MapPlanes& block) const {
    const Vector<int>& size = grid.getSize();
    return double(sizeof(float)) * size[0] * size[1] * block.count() +
           __estimator->blockBytes(grid.getBoundingBox(), size, block);
}

DensityReport DensityMapping::compute(VoxelMatrix<float>& map, const Grid<float>& grid) {
    map.setSize(grid.getSize());
    __estimator->compute(map, grid.getBoundingBox());
    DensityReport report;
    survey(report, map, 0, grid);
    addNotes(report);
    return report;
}

MapSums DensityMapping::computeBlock(VoxelMatrix<float>& planes, const Grid<float>& grid, const MapPlanes& block) {
    const Vector<int>& size = grid.getSize();
    planes.setSize(size[0], size[1], block.count());
    return __estimator->computeBlock(planes, grid.getBoundingBox(), size, block);
}

void DensityMapping::finish(VoxelMatrix<float>& planes, const Grid<float>& grid, const MapSums& sums) {
    __estimator->finish(planes, grid.getBoundingBox(), grid.getSize(), sums);
}

void DensityMapping::survey(DensityReport& report, const VoxelMatrix<float>& planes, int first,
                            const Grid<float>& grid) const {
    const MapLattice<float> lattice = __estimator->lattice(grid.getBoundingBox(), grid.getSize());
    for (int k = 0; k < planes.getSize3(); ++k) {
        for (int i = 0; i < planes.getSize1(); ++i) {
            const float* const row = planes[k][i].data();
            for (int j = 0; j < planes.getSize2(); ++j) {
                // Of a number and what is none both are the number.
                if (row[j] < report.least || std::isnan(report.least))
                    report.least = row[j];
                if (row[j] > report.greatest || std::isnan(report.greatest))
                    report.greatest = row[j];
                if (__settings.method == HistogramMethod)
                    report.integral += double(row[j]);
            }
        }
        if (__settings.method != HistogramMethod)
            report.integral = lattice.integralWith(report.integral, planes[k], first + k);
    }
}

void DensityMapping::addNotes(DensityReport& report) const {
    const std::vector<Shape<float>*>& patterns = __estimator->getShapes();
    const auto length = [this](double value) {
        return number(value) + (__settings.unit.empty() ? "" : " " + __settings.unit);
    };
    if (__settings.method == HistogramMethod) {
        report.notes.push_back("Sum of the counts: " + number(report.integral));
        return;
    }
    if (const auto* kernel = dynamic_cast<const BoundedKernelDensityEstimator<float>*>(__estimator.get())) {
        for (std::size_t s = 0; s < patterns.size(); ++s) {
            const auto& each = kernel->getReports()[s];
            report.notes.push_back(nameOf(*patterns[s], s) + ": bandwidth " + length(each.bandwidth) + ", " +
                                   std::to_string(each.numPoints) + " of " +
                                   std::to_string(patterns[s]->getNumVertices()) +
                                   " points within, integral before scaling " + number(each.integral));
        }
        report.notes.push_back("Integral: " + number(report.integral) + " (a density integrates to 1)");
        return;
    }
    if (const auto* poisson = dynamic_cast<const BoundedPoissonDensityEstimator<float>*>(__estimator.get())) {
        report.notes.push_back("Mean distance to the point of rank " + std::to_string(poisson->getNeighbourRank()) +
                               ": " + length(poisson->meanDistance()));
        report.notes.push_back("Integral: " + number(report.integral) + " (the points of a pattern within, " +
                               number(poisson->meanNumPoints()) + " on average; before scaling " +
                               number(poisson->integralBefore()) + ")");
        return;
    }
    report.notes.push_back("Integral: " + number(report.integral) + ", not corrected at the faces of the box");
}

void DensityMapping::calibrate(VoxelMatrix<float>& map, const Grid<float>& grid, int unitScale) const {
    VoxelCalibration calibration;
    calibration.setVoxelSize(__estimator->lattice(grid.getBoundingBox(), grid.getSize()).steps());
    calibration.setLengthUnit(LengthUnit(unitScale));
    map.setVoxelCalibration(calibration);
}

} // namespace vorlen
