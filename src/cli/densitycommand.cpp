#include "cli/commands.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>

#include "cli/commandline.h"
#include "cli/consolemonitor.h"
#include "cli/stackfile.h"
#include "images/volumes/voxelmatrix.h"
#include "normalization/densitymappingmethod.h"
#include "normalization/histogramdensityestimator.h"
#include "normalization/kerneldensityestimator.h"
#include "normalization/poissondensityestimator.h"
#include "numerics/exception.h"
#include "reconstruction/marchingcubes.h"
#include "shapes/boundingbox.h"
#include "shapes/grid.h"

#include <QFile>

namespace vorlen {

namespace {

constexpr double maxNodes = 1e9;

/// Where the name stands among those of the option; nothing, and a word about it, for another name.
std::optional<int> choice(const CommandLine& line, const QString& option, const QStringList& names) {
    const qsizetype place = names.indexOf(line.value(option));
    if (place < 0) {
        line.usageError("--" + option + " takes " + names.join(", ") + ", not '" + line.value(option) + "'");
        return std::nullopt;
    }
    return int(place);
}

/// The numbers given with an option that may stand several times.
std::optional<std::vector<float>> numbers(const CommandLine& line, const QString& option) {
    std::vector<float> result;
    for (const QString& word : line.values(option)) {
        bool good = false;
        result.push_back(word.toFloat(&good));
        if (!good || !std::isfinite(result.back())) {
            line.usageError("--" + option + " takes a number, not '" + word + "'");
            return std::nullopt;
        }
    }
    return result;
}

struct Job {
    DensityMappingMethod method = HistogramMethod;
    DensityKernel kernel = GaussianKernel;
    float bandwidth = 0;
    int rank = 1;
    float resolution = 0; ///< 0: a hundredth of the longest side
    std::vector<float> levels, percentiles;
    std::string base; ///< directory and name of the files
    bool overwrite = false;
    std::vector<std::unique_ptr<Shape<float>>> patterns, masks;
};

std::unique_ptr<DensityEstimator<float>> estimatorFor(const Job& job) {
    if (job.method == PoissonMethod) {
        auto poisson = std::make_unique<PoissonDensityEstimator<float>>();
        poisson->setNeighbourRank(job.rank);
        return poisson;
    }
    if (job.method == KernelMethod) {
        auto kernel = std::make_unique<KernelDensityEstimator<float>>();
        kernel->setKernel(job.kernel);
        kernel->setBandwidth(job.bandwidth);
        return kernel;
    }
    return std::make_unique<HistogramDensityEstimator<float>>();
}

/// The cells of the job's resolution over all patterns. A side without width gets one cell.
Grid<float> gridFor(const Job& job) {
    const char* const where = "Grid<float> gridFor(const Job&)";
    BoundingBox<float> box;
    for (const auto& pattern : job.patterns)
        box = box.merge(pattern->boundingBox());
    const float widest = box.widths().max();
    if (!std::isfinite(widest))
        throw ValueError(where, "a point has no finite coordinates");
    float resolution = job.resolution > 0 ? job.resolution : widest / 100;
    if (!(resolution > 0))
        resolution = 1;
    Vector<float> margins(3);
    double nodes = 1;
    for (int a = 0; a < 3; ++a) {
        margins[a] = box.width(a) > 0 ? 0 : resolution / 2;
        nodes *= std::max(1.0, std::ceil(double(box.width(a)) / resolution));
    }
    if (nodes > maxNodes)
        throw ValueError(where, "the map would have more than a billion elements; give a coarser --resolution");
    box.expand(margins);
    Grid<float> grid;
    grid.setBoundingBox(box);
    grid.adjustToResolution(resolution);
    return grid;
}

std::string surfaceName(const Job& job, std::size_t k) {
    char number[24];
    std::snprintf(number, sizeof number, "-%02zu", k);
    return job.base + number + ".tm";
}

/// From indices of the volume to coordinates: an element of a histogram stands for the centre of its cell, one of the
/// other maps for its node, the first and last of which lie on the faces of the box.
void toCoordinates(TriMesh<float>& surface, const Grid<float>& grid, DensityMappingMethod method) {
    const BoundingBox<float>& box = grid.getBoundingBox();
    Vector<float> steps(3), origin(3);
    for (int a = 0; a < 3; ++a) {
        const int n = grid.getSize()[a];
        const bool cells = method == HistogramMethod;
        steps[a] = cells ? box.width(a) / float(n) : n > 1 ? box.width(a) / float(n - 1) : 0;
        origin[a] = box.min(a) + (cells ? steps[a] / 2 : 0);
    }
    surface.scale(steps);
    surface.translate(origin);
}

int mapDensity(const Job& job) {
    // What cannot be written is told before the work.
    std::vector<std::string> files = {job.base + ".vm"};
    for (std::size_t k = 0; k < job.levels.size() + job.percentiles.size(); ++k)
        files.push_back(surfaceName(job, k));
    for (const std::string& file : files)
        if (!mayWrite(file, job.overwrite))
            return ExitFileError;

    const Grid<float> grid = gridFor(job);
    const std::unique_ptr<DensityEstimator<float>> estimator = estimatorFor(job);
    std::vector<Shape<float>*> patterns, masks;
    for (const auto& pattern : job.patterns)
        patterns.push_back(pattern.get());
    for (const auto& mask : job.masks)
        masks.push_back(mask.get());
    estimator->setShapes(patterns);
    estimator->setMaskShapes(masks);

    VoxelMatrix<float> map;
    map.setSize(grid.getSize());
    ConsoleMonitor terminal;
    estimator->addMonitor(terminal);
    estimator->compute(map, grid.getBoundingBox());
    estimator->removeMonitor(terminal);
    VoxelCalibration calibration;
    calibration.setVoxelSize(grid.resolutions());
    map.setVoxelCalibration(calibration);
    map.save(files.front(), job.overwrite);

    const Vector<float> range = map.range();
    std::cout << "Map of " << map.getSize1() << " x " << map.getSize2() << " x " << map.getSize3()
              << " elements, densities from " << shortNumber(range[0]) << " to " << shortNumber(range[1]) << '\n'
              << files.front() << '\n';

    std::vector<float> levels = job.levels;
    for (const float percentile : job.percentiles)
        levels.push_back(estimator->percentile(map, grid, percentile));
    int status = ExitGood;
    MarchingCubes<float> cubes;
    cubes.addMonitor(terminal);
    for (std::size_t k = 0; k < levels.size(); ++k) {
        TriMesh<float> surface;
        if (std::isfinite(levels[k]))
            surface = cubes.buildMesh(map, levels[k], true);
        if (surface.getNumVertices() == 0) {
            std::cerr << "vorlen-cli: there is no surface at level " << shortNumber(levels[k]) << '\n';
            status = ExitProblems;
            continue;
        }
        toCoordinates(surface, grid, job.method);
        surface.save(surfaceName(job, k), job.overwrite);
        std::cout << surfaceName(job, k) << "  level " << shortNumber(levels[k]) << '\n';
    }
    return status;
}

/// Fills what the command line tells; false, and a word about it, for a wrong usage.
bool readJob(const CommandLine& line, Job& job) {
    const std::optional<int> method = choice(line, "method", {"histogram", "kernel", "poisson"});
    const std::optional<int> kernel =
        method ? choice(line, "kernel", {"gaussian", "uniform", "epanechnikov", "biweight"}) : std::nullopt;
    const std::optional<double> bandwidth = kernel ? line.number("bandwidth", 1e-6, 1e9) : std::nullopt;
    const std::optional<int> rank = bandwidth ? line.integer("rank", 1, 1000000) : std::nullopt;
    const std::optional<double> resolution = rank && line.isSet("resolution") ? line.number("resolution", 1e-6, 1e9)
                                             : rank                           ? std::optional(0.)
                                                                              : std::nullopt;
    const std::optional<std::vector<float>> levels = resolution ? numbers(line, "level") : std::nullopt;
    const std::optional<std::vector<float>> percentiles = levels ? numbers(line, "percentile") : std::nullopt;
    if (!percentiles)
        return false;
    for (const float percentile : *percentiles) {
        if (percentile < 0 || percentile > 100) {
            line.usageError("--percentile takes a number from 0 to 100");
            return false;
        }
    }
    if (line.value("name").isEmpty() || line.value("name").contains('/')) {
        line.usageError("--name takes a file name without a directory");
        return false;
    }
    job.method = DensityMappingMethod(*method);
    job.kernel = DensityKernel(*kernel);
    job.bandwidth = float(*bandwidth);
    job.rank = *rank;
    job.resolution = float(*resolution);
    job.levels = *levels;
    job.percentiles = *percentiles;
    job.base = line.path("output") + "/" + line.path("name");
    job.overwrite = line.isSet("overwrite");
    return true;
}

int readPattern(const std::string& name, std::vector<std::unique_ptr<Shape<float>>>& patterns) {
    std::unique_ptr<Shape<float>> shape(Shape<float>::loadFile(name));
    const ShapeType type = shape->getShapeType();
    if (type != VerticesType && type != VertexStackType) {
        std::cerr << "vorlen-cli: " << name << " is no point pattern\n";
        return ExitProblems;
    }
    if (shape->getNumVertices() == 0 || shape->getSpace() != 3) {
        std::cerr << "vorlen-cli: " << name << " holds no points of space\n";
        return ExitProblems;
    }
    std::cout << name << ": " << shape->getNumVertices() << " points\n";
    patterns.push_back(std::move(shape));
    return ExitGood;
}

} // namespace

int densityCommand(const QStringList& arguments) {
    CommandLine line("density",
                     "Tells where the points of several specimens concentrate: a volume of densities, and surfaces of "
                     "equal density. Each file is the point pattern of one specimen.",
                     "POINTS.vx...", "Point shapes (.vx, .vs) in one space.");
    line.addOutputOptions();
    line.addOption({"name"}, "Name of the files: NAME.vm, and NAME-00.tm and so on for the surfaces.", "name",
                   "density");
    line.addOption({"m", "method"},
                   "histogram: points in each cell; kernel: every point spread over its neighbourhood; "
                   "poisson: from the distances to the nearest points.",
                   "method", "histogram");
    line.addOption({"r", "resolution"},
                   "Size of a cell, in the unit of the points; a hundredth of the longest side by "
                   "default.",
                   "size");
    line.addOption({"k", "rank"}, "For poisson: which nearest point of each pattern counts, 10 by default.", "number",
                   "10");
    line.addOption({"kernel"}, "For kernel: gaussian (by default), uniform, epanechnikov or biweight.", "kernel",
                   "gaussian");
    line.addOption({"b", "bandwidth"}, "For kernel: its width, in the unit of the points; 10 by default.", "width",
                   "10");
    line.addOption({"mask"}, "A closed surface (.qm) outside of which the density is 0; may be given several times.",
                   "file");
    line.addOption({"level"}, "Write the surface at this density; may be given several times.", "density");
    line.addOption({"percentile"},
                   "Write the surface at the density below which so many percent of the points lie; may "
                   "be given several times, and comes behind the levels.",
                   "percent");
    if (const std::optional<int> status = line.parse(arguments))
        return *status;
    Job job;
    if (!readJob(line, job))
        return ExitUsage;

    int status = ExitGood;
    for (const std::string& name : line.files())
        status = std::max(status, guarded("read " + name, [&] { return readPattern(name, job.patterns); }));
    for (const QString& word : line.values("mask")) {
        const std::string name = QFile::encodeName(word).toStdString();
        status = std::max(status, guarded("read " + name, [&] {
                              job.masks.emplace_back(Shape<float>::loadFile(name));
                              return ExitGood;
                          }));
    }
    // A map without one of its patterns would be another map.
    if (status != ExitGood)
        return status;
    if (!line.outputDirectory())
        return ExitFileError;
    return guarded("map the density", [&] { return mapDensity(job); });
}

} // namespace vorlen
